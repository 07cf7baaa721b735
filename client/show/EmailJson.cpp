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
  mail::_ckEmailAddress::loadList(email.header().valueOf(name), addresses, log);
  ordered_json result = ordered_json::array();
  for (std::size_t n = 0; n < addresses.getSize(); ++n) {
    result.push_back({{"name", std::string(addresses.at(n)->m_friendlyName.view())},
                      {"address", std::string(addresses.at(n)->m_address.view())}});
  }
  return result;
}

ordered_json File(const mail::ShownNode& shown) {
  const mail::Email2& file = *shown.objPlaced.pNode;
  return {{"filename", std::string(mail::fileNameOf(file))},
          {"type", mail::listedType(shown)},
          {"size", file.body().getSize()},
          {"sha256", platform::Sha256Hex(file.body().view())}};
}

}  // namespace

ordered_json EmailJson(const mail::Email2& email) {
  const ordered_json from = Addresses(email, "from");
  ordered_json result;
  result["subject"] = email.header().valueOf("subject");
  result["from"] = from.empty() ? ordered_json(nullptr) : from[0];
  for (const char* name : {"to", "cc", "bcc"}) result[name] = Addresses(email, name);
  result["date"] = email.header().valueOf("date");
  result["message_id"] = email.header().valueOf("message-id");
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
