#include "client/show/ItemMime.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "archive/Uuid.h"
#include "base/LogNull.h"
#include "base/OwnedPtr.h"
#include "mime/MailHeader.h"
#include "mime/header/CkContentType.h"
#include "mime/header/CkEmailAddress.h"
#include "mime/header/ContentDisposition.h"
#include "mime/header/MailDate.h"
#include "mime/tree/ContentTypeTable.h"
#include "mime/tree/MimeMessage2.h"

namespace client {
namespace {

using Entity = mail::OwnedPtr<mail::MimeMessage2>;

// Every body is base64, in which no boundary can stand.
Entity MakePart(const std::string& type, const std::string& name, std::string_view bytes) {
  Entity part = mail::makeOwned<mail::MimeMessage2>();
  if (part == nullptr) throw std::bad_alloc();
  mail::LogNull log;
  mail::_ckContentType value;
  value.load(type, log);
  (void)value.m_name.setString(name);
  part->setContentType(value, log);
  part->setEncoding("base64", log);
  mail::DataBuffer body;
  if (!body.append(bytes)) throw std::bad_alloc();
  part->setBodyInCharset(std::move(body));
  return part;
}

Entity MakeMultipart(const std::string& type, std::vector<Entity> parts) {
  if (parts.size() == 1) return std::move(parts.front());
  Entity whole = mail::makeOwned<mail::MimeMessage2>();
  if (whole == nullptr) throw std::bad_alloc();
  mail::LogNull log;
  whole->setContentType(type, log);
  whole->setBoundary("----=_" + type.substr(type.find('/') + 1), log);
  for (Entity& part : parts) {
    if (!whole->parts().append(std::move(part))) throw std::bad_alloc();
  }
  return whole;
}

// As the client called it, else by its name; a text would be said to be in a charset.
std::string TypeOf(const mailbox::AttachmentInfo& file) {
  if (!file.contentType.empty()) return file.contentType;
  const std::string extension = file.name.substr(file.name.rfind('.') + 1);
  const std::string type(mail::contentTypeOfExtension(extension));
  return type.empty() || type.starts_with("text/") ? "application/octet-stream" : type;
}

Entity MakeFile(const mailbox::AttachmentInfo& file, bool inText, std::string_view bytes) {
  mail::LogNull log;
  Entity part = MakePart(TypeOf(file), file.name, bytes);
  mail::ContentDisposition disposition;
  (void)disposition.m_type.setString(inText ? "inline" : "attachment");
  (void)disposition.m_fileName.setString(file.name);
  mail::StringBuffer value;
  disposition.emit(value);
  part->setHeaderField("Content-Disposition", value.view(), log);
  if (!file.contentId.empty()) {
    part->setHeaderField("Content-ID", "<" + file.contentId + ">", log);
  }
  return part;
}

Entity MakeBody(mailbox::Store& store, const mailbox::ItemInfo& item) {
  const char* const type = item.bodyType == "HTML" ? "text/html" : "text/plain";
  std::vector<Entity> page, all;
  page.push_back(MakePart(std::string(type) + "; charset=utf-8", "", item.body));
  std::vector<Entity> files;
  for (const mailbox::AttachmentInfo& file : store.Attachments(item.id)) {
    const bool inText =
        !file.contentId.empty() && item.body.find("cid:" + file.contentId) != std::string::npos;
    store.WithAttachment(file.id, [&](std::string_view bytes) {
      (inText ? page : files).push_back(MakeFile(file, inText, bytes));
    });
  }
  all.push_back(MakeMultipart("multipart/related", std::move(page)));
  for (Entity& file : files) all.push_back(std::move(file));
  return MakeMultipart("multipart/mixed", std::move(all));
}

std::string AddressField(const std::vector<mailbox::Address>& list) {
  mail::LogNull log;
  mail::StringBuffer text;
  for (const mailbox::Address& one : list) {
    mail::_ckEmailAddress address;
    (void)address.m_friendlyName.setString(one.name);
    (void)address.m_address.setString(one.address);
    if (!text.isEmpty()) (void)text.append(", ");
    address.emit(text, /*nCodePage=*/0, log);
  }
  return std::string(text.view());
}

std::vector<mailbox::Address> ListOf(const std::optional<mailbox::Address>& one) {
  return one ? std::vector{*one} : std::vector<mailbox::Address>{};
}

std::string DateField(const std::string& date) {
  const auto seconds = mail::parseMailDate(date);
  if (!seconds) return "";
  return fmt::format("{:%a, %d %b %Y %H:%M:%S} +0000", fmt::gmtime(*seconds));
}

std::string BytesOf(const mail::MimeMessage2& entity) {
  mail::LogNull log;
  mail::DataBuffer bytes;
  entity.getMimeBytes(bytes, log);
  return std::string(bytes.view());
}

using HeadFields = std::vector<std::pair<const char*, std::string>>;
HeadFields FieldsOf(const mailbox::ItemInfo& item) {
  return {{"From", AddressField(ListOf(item.from))},
          {"Sender", AddressField(ListOf(item.sender))},
          {"To", AddressField(item.to)},
          {"Cc", AddressField(item.cc)},
          {"Bcc", AddressField(item.bcc)},
          {"Subject", item.subject},
          {"Date", DateField(item.sent.empty() ? item.received : item.sent)},
          {"Message-ID", item.messageId},
          {"Importance", item.importance == "Normal" ? "" : item.importance}};
}

void SetFields(mail::MimeMessage2& root, const HeadFields& fields) {
  mail::LogNull log;
  for (const auto& [name, value] : fields) {
    if (!value.empty()) root.setHeaderField(name, value, log);
  }
}

// The fields as lines of a header; empty where none has a value.
std::string HeadText(const HeadFields& fields) {
  if (std::ranges::all_of(fields, [](const auto& field) { return field.second.empty(); }))
    return "";
  const Entity head = mail::makeOwned<mail::MimeMessage2>();
  if (head == nullptr) throw std::bad_alloc();
  SetFields(*head, fields);
  const std::string text = BytesOf(*head);
  return text.substr(0, text.find("\r\n\r\n") + 2);
}

// The files beside an item, as parts behind the one that is there.
std::string PartsBehind(mailbox::Store& store, const mailbox::ItemInfo& item,
                        const std::string& delimiter) {
  std::string parts;
  for (const mailbox::AttachmentInfo& file : store.Attachments(item.id)) {
    store.WithAttachment(file.id, [&](std::string_view bytes) {
      parts += delimiter + "\r\n" + BytesOf(*MakeFile(file, /*inText=*/false, bytes));
    });
  }
  return parts;
}

}  // namespace

std::string ItemMime(mailbox::Store& store, const mailbox::ItemInfo& item) {
  const Entity root = MakeBody(store, item);
  mail::LogNull log;
  root->setHeaderField("MIME-Version", "1.0", log);
  SetFields(*root, FieldsOf(item));
  return BytesOf(*root);
}

std::string WithHead(mailbox::Store& store, const mailbox::ItemInfo& item, std::string mime) {
  const bool isOfSomebody = item.from || !item.to.empty() || !item.subject.empty();
  if (!isOfSomebody) return mime;
  const HeadFields fields = FieldsOf(item);
  const mail::MailHeader header(mime);
  const bool hasHead = std::ranges::any_of(
      fields, [&](const auto& field) { return !header.fields().valueOf(field.first).empty(); });
  if (hasHead) return mime;
  const std::string head = HeadText(fields);
  const std::string boundary = "----=_" + mail::newUuid();
  const std::string delimiter = "\r\n--" + boundary;
  const std::string files = PartsBehind(store, item, delimiter);
  if (files.empty()) return head + mime;
  return head + "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\"" + boundary +
         "\"\r\n" + delimiter + "\r\n" + mime + files + delimiter + "--\r\n";
}

}  // namespace client
