#include "client/show/EmailJson.h"

#include <string>
#include <string_view>

#include "base/LogNull.h"
#include "mime/email/EmailLayout.h"
#include "platform/Sha256.h"

namespace client {
namespace {

using nlohmann::ordered_json;

ordered_json Addresses(const mail::Email2& email, std::string_view name) {
  mail::LogNull log;
  mail::ExtPtrArrayOf<mail::_ckEmailAddress> addresses;
  mail::_ckEmailAddress::loadList(mail::fieldOf(email, name), addresses, log);
  ordered_json result = ordered_json::array();
  for (std::size_t n = 0; n < addresses.getSize(); ++n) {
    result.push_back({{"name", std::string(addresses.at(n)->m_friendlyName.view())},
                      {"address", std::string(addresses.at(n)->m_address.view())}});
  }
  return result;
}

// Of the disposition, else of the type; may be empty.
std::string_view FileNameOf(const mail::Email2& file) {
  return file.fileName().isEmpty() ? file.name().view() : file.fileName().view();
}

ordered_json File(const mail::ShownNode& shown) {
  const mail::Email2& file = *shown.objPlaced.pNode;
  return {{"filename", std::string(FileNameOf(file))},
          {"type", mail::listedType(shown)},
          {"size", file.body().getSize()},
          {"sha256", platform::Sha256Hex(file.body().view())}};
}

}  // namespace

ordered_json EmailJson(const mail::Email2& email) {
  const ordered_json from = Addresses(email, "from");
  ordered_json result;
  result["subject"] = mail::fieldOf(email, "subject");
  result["from"] = from.empty() ? ordered_json(nullptr) : from[0];
  for (const char* name : {"to", "cc", "bcc"}) result[name] = Addresses(email, name);
  result["date"] = mail::fieldOf(email, "date");
  result["message_id"] = mail::fieldOf(email, "message-id");
  result["has_html"] = false;
  result["attachments"] = ordered_json::array();
  mail::LogNull log;
  for (const mail::ShownNode& shown : mail::layOut(email, log)) {
    if (shown.nRole == mail::Role::kHtml) result["has_html"] = true;
    if (shown.nRole == mail::Role::kFile) result["attachments"].push_back(File(shown));
  }
  return result;
}

}  // namespace client
