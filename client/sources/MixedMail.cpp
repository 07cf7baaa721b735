#include "client/sources/MixedMail.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "base/LogNull.h"
#include "client/sources/FilesBeside.h"
#include "client/sources/LineDecoding.h"
#include "client/sources/Names.h"
#include "mime/MailHeader.h"
#include "mime/header/CkContentType.h"
#include "mime/tree/ContentTypeTable.h"
#include "platform/Sha256.h"

namespace client {
namespace {

// A mail in two: the fields that tell of its content, with their line ends, and the others.
struct Divided {
  std::string content;
  std::string others;
  std::string_view body;
  bool hasVersion = false;  // MIME-Version
};

std::size_t LineEnd(std::string_view text, std::size_t from) {
  const std::size_t end = text.find('\n', from);
  return end == std::string_view::npos ? text.size() : end + 1;
}

// A length that a store noted is none any more.
Divided DividedAt(std::string_view mail) {
  Divided divided;
  std::size_t at = 0;
  while (at < mail.size()) {
    std::size_t next = LineEnd(mail, at);
    const std::string_view line = mail.substr(at, next - at);
    if (::mail::trimmed(line).empty()) {
      at = next;
      break;
    }
    while (next < mail.size() && ::mail::isBlankOrTab(mail[next])) next = LineEnd(mail, next);
    const std::string_view field = mail.substr(at, next - at);
    const bool isOfContent = ::mail::beginsWithNoCase(field, "Content-");
    if (!::mail::beginsWithNoCase(field, "Content-Length")) {
      (isOfContent ? divided.content : divided.others) += field;
    }
    divided.hasVersion = divided.hasVersion || ::mail::beginsWithNoCase(field, "MIME-Version:");
    at = next;
  }
  divided.body = mail.substr(at);
  return divided;
}

::mail::_ckContentType TypeIn(std::string_view fields) {
  ::mail::_ckContentType type;
  ::mail::LogNull log;
  type.load(::mail::MailHeader(fields).text("Content-Type"), log);
  return type;
}

bool LacksItsParts(const Divided& mail) {
  const ::mail::_ckContentType type = TypeIn(mail.content);
  if (!type.isMultipart()) return false;
  const std::string boundary = "--" + std::string(type.m_boundary.view());
  return boundary.size() == 2 || ::mail::findBytes(mail.body, boundary) == std::string_view::npos;
}

// Of a body that nothing true is known of.
std::string FieldsOfText(std::string_view body, std::string_view lineEnd) {
  const std::string_view text = ::mail::trimmed(body.substr(0, 1024));
  const bool isHtml = ::mail::beginsWithNoCase(text, "<x-html>") ||
                      ::mail::beginsWithNoCase(text, "<html") ||
                      ::mail::beginsWithNoCase(text, "<!DOCTYPE html");
  std::string_view charset = "us-ascii";
  if (std::ranges::any_of(body, [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
    charset = ToUtf8(body, {}) == body ? "utf-8" : "windows-1252";
  }
  return fmt::format("Content-Type: text/{}; charset={}{}Content-Transfer-Encoding: {}{}",
                     isHtml ? "html" : "plain", charset, lineEnd,
                     charset == "us-ascii" ? "7bit" : "8bit", lineEnd);
}

std::string_view TypeOf(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  const std::string_view type =
      dot == std::string_view::npos ? "" : ::mail::contentTypeOfExtension(name.substr(dot + 1));
  // A mail must not be in base64.
  const bool isPlain =
      !type.empty() && !type.starts_with("message/") && !type.starts_with("multipart/");
  return isPlain ? type : "application/octet-stream";
}

// "; filename=\"name.doc\"", or as RFC 2231 has it where that is beyond ASCII.
std::string Parameter(std::string_view attribute, std::string_view name) {
  const auto isPlain = [](char c) { return c > ' ' && c < 0x7F; };
  if (std::ranges::all_of(name, [&](char c) { return c == ' ' || isPlain(c); })) {
    return fmt::format("; {}=\"{}\"", attribute, name);
  }
  constexpr std::string_view kSpecial = " *'()<>@,;:\\\"/[]?=%";
  std::string text = fmt::format("; {}*=UTF-8''", attribute);
  for (const char c : name) {
    if (isPlain(c) && kSpecial.find(c) == std::string_view::npos) {
      text += c;
    } else {
      text += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
  }
  return text;
}

}  // namespace

MixedMail::MixedMail(std::string_view mail) : m_lineEnd(LineEndOf(mail)) {
  const std::string hash = platform::Sha256Hex(mail);
  m_boundary = "=_" + hash.substr(0, 32);
  m_innerBoundary = "=_" + hash.substr(32);
  Divided divided = DividedAt(mail);
  m_content = LacksItsParts(divided) ? FieldsOfText(divided.body, m_lineEnd) : divided.content;
  if (!m_content.empty() && !m_content.ends_with('\n')) m_content += m_lineEnd;
  m_fields = std::move(divided.others);
  if (!m_fields.empty() && !m_fields.ends_with('\n')) m_fields += m_lineEnd;
  if (!divided.hasVersion) m_fields += "MIME-Version: 1.0" + m_lineEnd;
  m_body = divided.body;
}

bool MixedMail::IsPage() const { return TypeIn(m_content).m_type.equalsIgnoreCase("text/html"); }

void MixedMail::Show(std::string_view name, std::string_view bytes, std::string_view link) {
  constexpr std::string_view kCid = "cid:";
  if (m_whole.empty()) Begin(/*isRelated=*/true);
  const bool isCid = link.starts_with(kCid);
  const std::string field = isCid ? fmt::format("Content-ID: <{}>", link.substr(kCid.size()))
                                  : fmt::format("Content-Location: {}", link);
  AddPart(m_innerBoundary, name, field + m_lineEnd + "Content-Disposition: inline", bytes);
}

void MixedMail::Attach(std::string_view name, std::string_view bytes) {
  if (m_whole.empty()) Begin(/*isRelated=*/false);
  EndPictures();
  AddPart(m_boundary, name, "Content-Disposition: attachment", bytes);
}

std::string MixedMail::Finish() && {
  EndPictures();
  AddLine(fmt::format("--{}--", m_boundary));
  return std::move(m_whole);
}

void MixedMail::Begin(bool isRelated) {
  m_isRelated = isRelated;
  m_whole = std::move(m_fields);
  AddLine(fmt::format("Content-Type: multipart/mixed; boundary=\"{}\"", m_boundary));
  AddLine();
  AddLine("--" + m_boundary);
  if (isRelated) {
    AddLine(fmt::format("Content-Type: multipart/related; type=\"text/html\";{} boundary=\"{}\"",
                        m_lineEnd, m_innerBoundary));
    AddLine();
    AddLine("--" + m_innerBoundary);
  }
  m_whole += m_content;
  AddLine();
  AddLine(m_body);
}

void MixedMail::AddPart(std::string_view boundary, std::string_view name, std::string_view fields,
                        std::string_view bytes) {
  const std::string shown = FileName(name);
  AddLine(fmt::format("--{}", boundary));
  AddLine(fmt::format("Content-Type: {}{}", TypeOf(shown), Parameter("name", shown)));
  AddLine("Content-Transfer-Encoding: base64");
  AddLine(fmt::format("{}{}", fields, Parameter("filename", shown)));
  AddLine();
  AppendBody(bytes, "base64", m_lineEnd, m_whole);
}

void MixedMail::EndPictures() {
  if (m_isRelated) AddLine(fmt::format("--{}--", m_innerBoundary));
  m_isRelated = false;
}

void MixedMail::AddLine(std::string_view line) { m_whole.append(line).append(m_lineEnd); }

}  // namespace client
