#include "client/run/TargetIndex.h"

#include <charconv>

#include "client/run/MailKey.h"
#include "pipeline/SeriesSaving.h"
#include "platform/Sha256.h"

namespace client {
namespace {

constexpr std::int64_t kSizeless = -1;

std::uint64_t Number(std::string_view hexadecimal) {
  std::uint64_t number = 0;
  std::from_chars(hexadecimal.data(), hexadecimal.data() + hexadecimal.size(), number, 16);
  return number;
}

// What no answer can carry is lost on the way, or stands as a replacement there.
CString WithoutControls(const CString& text) {
  std::u16string kept(text.View());
  std::erase_if(kept, [](char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit >= 0xFFFD;
  });
  return kept;
}

// Servers give long texts cut. Items that are alike and have no id share the key of the first but
// for what keeps them apart: any of them stands for any other.
std::string Comparable(std::string_view text) {
  const CString whole = WithoutControls(CString::FromUtf8(SharedKey(text)));
  return whole.Left(ews::kLongestFoundText).ToUtf8();
}

}  // namespace

TargetIndex::Digest TargetIndex::DigestOf(std::string_view text) {
  const std::string comparable = Comparable(text);
  if (comparable.empty()) return {};
  // A mail that was made to collide would be taken for another and never sent.
  const std::string hash = platform::Sha256Hex(comparable);
  return {Number(std::string_view(hash).substr(0, 16)),
          Number(std::string_view(hash).substr(16, 16))};
}

void TargetIndex::Add(const ews::FoundItem& item, ById byId) {
  const CString mark = UnfinishedKey(CString());
  const bool isUnfinished = item.strKey.View().starts_with(mark.View());
  const CString key = isUnfinished ? item.strKey.Mid(mark.GetLength()) : item.strKey;
  const Entry entry{DigestOf(key.ToUtf8()), DigestOf(item.strMessageId.ToUtf8()),
                    item.nSize.value_or(kSizeless),
                    item.strMessageId.GetLength() >= ews::kLongestFoundText, isUnfinished};
  const std::size_t number = m_entries.size();
  if (entry.key != Digest{} && !isUnfinished) m_byKey.emplace(entry.key, entry.size, number);
  if (entry.id != Digest{} && (entry.key == Digest{} || byId == ById::kYes)) {
    m_byId.emplace(entry.id, entry.size, number);
  }
  m_entries.push_back(entry);
  m_taken.push_back(false);
}

std::optional<std::size_t> TargetIndex::Nearest(const Order& order, const Digest& digest,
                                                std::int64_t size) {
  const auto above = order.lower_bound({digest, size, 0});
  const bool hasAbove = above != order.end() && std::get<0>(*above) == digest;
  if (above != order.begin()) {
    const auto below = std::prev(above);
    const bool hasBelow = std::get<0>(*below) == digest;
    if (hasBelow && (!hasAbove || size - std::get<1>(*below) < std::get<1>(*above) - size)) {
      return std::get<2>(*below);
    }
  }
  if (!hasAbove) return std::nullopt;
  return std::get<2>(*above);
}

std::optional<std::size_t> TargetIndex::Take(std::string_view key, std::string_view messageId,
                                             std::int64_t size) {
  std::optional<std::size_t> number;
  if (!key.empty()) number = Nearest(m_byKey, DigestOf(key), size);
  if (!number && !messageId.empty()) number = Nearest(m_byId, DigestOf(messageId), size);
  if (number) Remove(*number);
  return number;
}

void TargetIndex::Remove(std::size_t number) {
  const Entry& entry = m_entries[number];
  m_byKey.erase({entry.key, entry.size, number});
  m_byId.erase({entry.id, entry.size, number});
  m_taken[number] = true;
  if (entry.key != Digest{}) m_takenKeys.emplace(entry.key, entry.size, number);
  if (entry.id != Digest{}) m_takenIds.emplace(entry.id, entry.size, number);
}

std::vector<std::size_t> TargetIndex::Left() const {
  std::vector<std::size_t> left;
  for (std::size_t i = 0; i < m_taken.size(); ++i) {
    if (!m_taken[i]) left.push_back(i);
  }
  return left;
}

std::optional<std::size_t> TargetIndex::TwinOf(std::size_t number) const {
  const Entry& entry = m_entries[number];
  const bool keyless = entry.key == Digest{};
  if (keyless && entry.id == Digest{}) return std::nullopt;
  const auto& taken = keyless ? m_takenIds : m_takenKeys;
  const Digest& digest = keyless ? entry.id : entry.key;
  const bool bySize = keyless && entry.isIdCut;
  const auto twin = taken.lower_bound({digest, bySize ? entry.size : kSizeless, 0});
  if (twin == taken.end() || std::get<0>(*twin) != digest) return std::nullopt;
  if (bySize && std::get<1>(*twin) != entry.size) return std::nullopt;
  return std::get<2>(*twin);
}

TargetIndex::Digest TargetIndex::NameOf(std::size_t number) const {
  const Entry& entry = m_entries[number];
  return entry.key != Digest{} ? entry.key : entry.id;
}

std::optional<std::int64_t> TargetIndex::SizeOf(std::size_t number) const {
  const std::int64_t size = m_entries[number].size;
  return size == kSizeless ? std::nullopt : std::optional(size);
}

}  // namespace client
