#include "client/run/MailKey.h"

#include <algorithm>

#include "platform/CString.h"
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
  return std::string(kHashPrefix).append(contentHash);
}

std::string RepeatedKey(std::string_view key, std::string_view contentHash) {
  return std::string(key).append(" ").append(kHashPrefix).append(contentHash);
}

}  // namespace client
