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

bool LacksItsParts(const Divided& mail) {
  ::mail::_ckContentType type;
  ::mail::LogNull log;
  type.load(::mail::MailHeader(mail.content).text("Content-Type"), log);
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

MixedMail::MixedMail(std::string_view mail)
    : m_lineEnd(LineEndOf(mail)), m_boundary("=_" + platform::Sha256Hex(mail).substr(0, 32)) {
  const Divided divided = DividedAt(mail);
  m_mail = divided.others;
  if (!m_mail.empty() && !m_mail.ends_with('\n')) m_mail += m_lineEnd;
  if (!divided.hasVersion) m_mail += "MIME-Version: 1.0" + m_lineEnd;
  m_mail += fmt::format("Content-Type: multipart/mixed; boundary=\"{}\"{}{}--{}{}", m_boundary,
                        m_lineEnd, m_lineEnd, m_boundary, m_lineEnd);
  m_mail += LacksItsParts(divided) ? FieldsOfText(divided.body, m_lineEnd) : divided.content;
  if (!m_mail.ends_with('\n')) m_mail += m_lineEnd;
  m_mail.append(m_lineEnd).append(divided.body).append(m_lineEnd);
}

void MixedMail::Attach(std::string_view name, std::string_view bytes) {
  const std::string shown = FileName(name);
  m_mail += fmt::format(
      "--{}{}Content-Type: {}{}{}Content-Transfer-Encoding: base64{}Content-Disposition: "
      "attachment{}{}{}",
      m_boundary, m_lineEnd, TypeOf(shown), Parameter("name", shown), m_lineEnd, m_lineEnd,
      Parameter("filename", shown), m_lineEnd, m_lineEnd);
  AppendBody(bytes, "base64", m_lineEnd, m_mail);
}

std::string MixedMail::Finish() && {
  m_mail += fmt::format("--{}--{}", m_boundary, m_lineEnd);
  return std::move(m_mail);
}

}  // namespace client
