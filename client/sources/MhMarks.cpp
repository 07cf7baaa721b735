#include "client/sources/MhMarks.h"

#include <algorithm>

namespace client {
namespace {

constexpr std::size_t kWord = 4;            // bytes
constexpr std::uint32_t kMostForms = 0xFF;  // a larger number of a form is one in other byte order

std::uint32_t WordAt(std::string_view bytes, std::size_t at, bool isLittle) {
  std::uint32_t word = 0;
  for (std::size_t i = 0; i < kWord; ++i) {
    const std::size_t next = isLittle ? kWord - 1 - i : i;
    word = word << 8 | static_cast<unsigned char>(bytes[at + next]);
  }
  return word;
}

}  // namespace

MhMarks::MhMarks(std::string_view bytes) {
  if (bytes.size() < kWord) return;
  const bool isLittle = WordAt(bytes, 0, /*isLittle=*/true) <= kMostForms;
  for (std::size_t at = kWord; at + 2 * kWord <= bytes.size(); at += 2 * kWord) {
    const std::uint64_t mail = WordAt(bytes, at, isLittle);
    m_last = std::max(m_last, mail);
    m_flags[mail] = WordAt(bytes, at + kWord, isLittle);  // what is marked later stands behind
  }
}

bool MhMarks::Has(std::uint64_t mail, Flag flag) const {
  const auto found = m_flags.find(mail);
  return found != m_flags.end() && (found->second & flag) != 0;
}

}  // namespace client
