#include "client/show/EmailText.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <string_view>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "base/LogNull.h"
#include "client/show/Columns.h"
#include "client/show/EmailJson.h"
#include "client/show/OutputText.h"
#include "mime/email/EmailLayout.h"

namespace client {
namespace {

using nlohmann::ordered_json;

std::string AddressText(const ordered_json& address) {
  mail::_ckEmailAddress person;
  (void)person.m_friendlyName.setString(address["name"].get<std::string>());
  (void)person.m_address.setString(address["address"].get<std::string>());
  mail::StringBuffer text;
  person.emitReadable(text);
  return std::string(text.view());
}

std::string AddressesText(const ordered_json& addresses) {
  std::string text;
  for (const ordered_json& address : addresses) {
    text.append(text.empty() ? "" : ", ").append(AddressText(address));
  }
  return text;
}

std::string FilesText(const ordered_json& files) {
  constexpr std::size_t kWidestName = 40;  // columns; longer ones stand out
  const auto nameOf = [](const ordered_json& file) {
    const std::string name = file["filename"];
    return name.empty() ? std::string("(no name)") : OneLine(name);
  };
  std::size_t nameWidth = 0;
  for (const ordered_json& file : files) {
    nameWidth = std::max(nameWidth, std::min(WidthOf(nameOf(file)), kWidestName));
  }
  std::string text;
  for (const ordered_json& file : files) {
    const std::string type = file["type"];
    std::string line = "  ";
    AppendWrapped(nameOf(file), 4, line);
    PadTo(2 + nameWidth, line);
    AppendWrapped(
        fmt::format("  {}, {}", type.empty() ? "(no type)" : OneLine(type), SizeText(file["size"])),
        4, line);
    text += line + "\n";
  }
  return text;
}

}  // namespace

void AppendField(std::string_view label, const std::string& text, std::string& out) {
  constexpr std::size_t kLabel = 9;  // columns; longer ones stand out
  if (text.empty()) return;
  out += fmt::format("{:<{}} ", label, kLabel - 1);
  AppendWrapped(OneLine(text), kLabel, out);
  out += "\n";
}

std::string ReadableLines(std::string_view text) {
  std::string lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\n\t"), text.size());
    std::string_view piece = text.substr(0, end);
    const bool tab = end < text.size() && text[end] == '\t';
    if (!tab && piece.ends_with('\r')) piece.remove_suffix(1);
    lines.append(OneLine(piece)).append(tab ? "\t" : "\n");
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  if (lines.ends_with('\t')) lines.back() = '\n';
  return lines;
}

std::string ReadableHead(const ordered_json& json) {
  std::string out;
  AppendField("Subject:", json["subject"], out);
  if (!json["from"].is_null()) AppendField("From:", AddressText(json["from"]), out);
  AppendField("To:", AddressesText(json["to"]), out);
  AppendField("Cc:", AddressesText(json["cc"]), out);
  AppendField("Bcc:", AddressesText(json["bcc"]), out);
  AppendField("Date:", json["date"], out);
  if (!json["attachments"].empty()) out += "Attachments:\n" + FilesText(json["attachments"]);
  return out.empty() ? "(neither subject nor people)\n" : out;
}

namespace {

// The plain texts of the mail, one behind the other.
std::string BodyText(const mail::Email2& email) {
  mail::LogNull log;
  std::string out;
  bool html = false;
  for (const mail::ShownNode& shown : mail::layOut(email, log)) {
    html = html || shown.nRole == mail::Role::kHtml;
    if (shown.nRole != mail::Role::kText) continue;
    mail::DataBuffer room;
    const std::string_view text = mail::readableText(*shown.objPlaced.pNode, room, log);
    if (!mail::trimmed(text).empty()) out += ReadableLines(text);
  }
  if (!out.empty()) return out;
  return html ? "(HTML text only: --html shows it)\n" : "(no text)\n";
}

}  // namespace

std::string ReadableMail(const mail::Email2& email) {
  return ReadableHead(EmailJson(email)) + "\n" + BodyText(email);
}

std::optional<mail::StringBuffer> HtmlOfMail(const mail::Email2& email) {
  mail::LogNull log;
  for (const mail::ShownNode& shown : mail::layOut(email, log)) {
    if (shown.nRole != mail::Role::kHtml) continue;
    mail::DataBuffer room;
    mail::StringBuffer html;
    const bool taken =
        mail::appendHtml(mail::readableText(*shown.objPlaced.pNode, room, log), html);
    if (!taken) throw std::bad_alloc();
    return html;
  }
  return std::nullopt;
}

}  // namespace client
