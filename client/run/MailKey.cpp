#include "client/run/MailKey.h"

#include <algorithm>

#include "ews/FindItems.h"
#include "platform/CString.h"
#include "platform/Sha256.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr std::string_view kHashPrefix = "sha256:";

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

std::string_view BaseOfMadeKey(std::string_view key) {
  constexpr size_t kLength = kHashPrefix.size() + 64;
  const bool more = key.starts_with(kHashPrefix) && key.size() > kLength && key[kLength] == ' ';
  return more ? key.substr(0, kLength) : key;
}

std::string_view IdInKey(std::string_view key) {
  if (key.starts_with(kHashPrefix)) return {};
  return key.substr(0, key.find(RepeatedKey("", "")));
}

std::string KeyOnItem(std::string_view key) {
  if (CString::FromUtf8(key).GetLength() <= ews::kLongestFoundText) return std::string(key);
  return MadeKey(platform::Sha256Hex(key));
}

}  // namespace client
