#include "client/EmailJson.h"

#include <string>
#include <string_view>

#include "mime/base/LogNull.h"
#include "mime/email/EmailBodies.h"
#include "platform/Sha256.h"

namespace client {
namespace {

using nlohmann::ordered_json;

std::string FieldText(const mail::Email2& email, std::string_view name) {
  const mail::MimeField* const field = email.header().find(name);
  return field != nullptr ? std::string(field->value().view()) : std::string();
}

ordered_json Addresses(const mail::Email2& email, std::string_view name) {
  mail::LogNull log;
  mail::ExtPtrArrayOf<mail::_ckEmailAddress> addresses;
  mail::_ckEmailAddress::loadList(FieldText(email, name), addresses, log);
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

ordered_json Attachments(const mail::Email2& email) {
  mail::LogNull log;
  ordered_json result = ordered_json::array();
  for (const mail::Email2* file : mail::filesOf(email, log)) {
    result.push_back({{"filename", std::string(FileNameOf(*file))},
                      {"type", std::string(file->type().view())},
                      {"size", file->body().getSize()},
                      {"sha256", platform::Sha256Hex(file->body().view())}});
  }
  return result;
}

}  // namespace

ordered_json EmailJson(const mail::Email2& email) {
  mail::LogNull log;
  const ordered_json from = Addresses(email, "from");
  ordered_json result;
  result["subject"] = FieldText(email, "subject");
  result["from"] = from.empty() ? ordered_json(nullptr) : from[0];
  for (const char* name : {"to", "cc", "bcc"}) result[name] = Addresses(email, name);
  result["date"] = FieldText(email, "date");
  result["message_id"] = FieldText(email, "message-id");
  result["has_html"] = mail::findAlternative(email, "text/html", log) != nullptr;
  result["attachments"] = Attachments(email);
  return result;
}

}  // namespace client
