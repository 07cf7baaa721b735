#include "client/run/MailKey.h"

#include <algorithm>

#include "ews/FindItems.h"
#include "platform/CString.h"
#include "platform/Sha256.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr std::string_view kHashPrefix = "sha256:";
constexpr std::string_view kPlace = " place:";  // no content key ends with one
constexpr size_t kHashLength = 64;
constexpr std::string_view kDigits = "0123456789abcdef";

bool CanServe(const CString& id) {
  if (id.IsEmpty() || id.GetLength() > static_cast<int>(kMaxKey)) return false;
  if (id.Find(u"MessageID : ") >= 0) return false;
  return std::none_of(id.View().begin(), id.View().end(), [](char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == u'\'' || unit >= 0xFFFE;
  });
}

}  // namespace

std::string MailKey(std::string_view messageId, std::string_view contentHash) {
  // The engine trims the line by the framework's white space, so the same is done here: the key
  // that is looked for must be the key that was written.
  CString id = CString::FromUtf8(messageId);
  id.Trim();
  if (platform::IsValidUtf8(messageId) && CanServe(id)) return id.ToUtf8();
  return MadeKey(contentHash);
}

std::string MadeKey(std::string_view contentHash) {
  return std::string(kHashPrefix).append(contentHash);
}

std::string RepeatedKey(std::string_view key, std::string_view contentHash) {
  return std::string(key).append(" ").append(kHashPrefix).append(contentHash);
}

std::string ContentKey(std::string_view idKey, std::string_view contentHash) {
  const std::string made = MadeKey(contentHash);
  return idKey == made ? made : RepeatedKey(idKey, contentHash);
}

std::string PlaceKey(std::string_view key, std::string_view placeHash) {
  return std::string(key).append(kPlace).append(placeHash);
}

std::string_view SharedKey(std::string_view key) {
  constexpr size_t kLength = kPlace.size() + kHashLength;
  if (key.size() <= kLength) return key;
  const std::string_view end = key.substr(key.size() - kLength);
  const bool isPlace = end.starts_with(kPlace) &&
                       end.find_first_not_of(kDigits, kPlace.size()) == std::string_view::npos;
  return isPlace ? key.substr(0, key.size() - kLength) : key;
}

std::string_view IdInKey(std::string_view key) {
  if (key.starts_with(kHashPrefix)) return {};
  return key.substr(0, key.find(RepeatedKey("", "")));
}

std::string_view HashInKey(std::string_view key) {
  key = SharedKey(key);
  if (key.size() < kHashPrefix.size() + kHashLength) return {};
  const std::string_view hash = key.substr(key.size() - kHashLength);
  const bool isHash = key.substr(0, key.size() - kHashLength).ends_with(kHashPrefix) &&
                      hash.find_first_not_of(kDigits) == std::string_view::npos;
  return isHash ? hash : std::string_view();
}

std::string KeyOnItem(std::string_view key) {
  if (CString::FromUtf8(key).GetLength() <= ews::kLongestFoundText) return std::string(key);
  const std::string_view shared = SharedKey(key);
  return MadeKey(platform::Sha256Hex(shared)).append(key.substr(shared.size()));
}

}  // namespace client
