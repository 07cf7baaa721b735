#include "client/sources/EudoraToc.h"

#include <algorithm>
#include <string_view>

#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::string_view kMbx = ".mbx";
constexpr std::size_t kHead = 104;              // bytes
constexpr std::size_t kOfMail = 218;            // bytes
constexpr std::size_t kStateAt = 12;            // of them
constexpr std::uint64_t kMostBytes = 64 << 20;  // a list of 300,000 mails

enum State : unsigned char { kUnread, kRead, kReplied, kForwarded };

std::uint32_t NumberAt(std::string_view bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[i]);
  return number;
}

}  // namespace

EudoraToc::EudoraToc(std::string_view list) {
  list.remove_prefix(std::min(kHead, list.size()));
  for (; list.size() >= kOfMail; list.remove_prefix(kOfMail)) {
    m_states.emplace(NumberAt(list), static_cast<unsigned char>(list[kStateAt]));
  }
}

EudoraToc TocBeside(const std::string& mbox) {
  if (!EndsWithNoCase(mbox, kMbx)) return EudoraToc({});
  const std::string name = mbox.substr(0, mbox.size() - kMbx.size());
  for (const char* const ending : {".toc", ".TOC"}) {
    try {
      return EudoraToc(ReadFileRange(name + ending, 0, kMostBytes));
    } catch (const SourceError&) {  // then what the mails themselves say is all
    }
  }
  return EudoraToc({});
}

void EudoraToc::AddState(std::uint64_t offset, StateFields& fields) const {
  const auto found = m_states.find(offset);
  if (found == m_states.end()) return;
  fields.read = found->second != kUnread;
  fields.state.answered = fields.state.answered || found->second == kReplied;
  fields.state.forwarded = fields.state.forwarded || found->second == kForwarded;
}

}  // namespace client
