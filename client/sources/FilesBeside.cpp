#include "client/sources/FilesBeside.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "client/sources/Names.h"
#include "mime/encoding/ContentCoding.h"

namespace client {
namespace {

// A text that was encoded, with CR LF behind each line.
void AppendEncoded(std::string_view text, std::string_view lineEnd, std::string& mail) {
  if (lineEnd != "\n") {
    mail += text;
    return;
  }
  std::ranges::copy_if(text, std::back_inserter(mail), [](char c) { return c != '\r'; });
}

// In pieces that are encoded one after the other: a file is not held three times.
void AppendBase64(std::string_view bytes, std::string_view lineEnd, std::string& mail) {
  constexpr std::size_t kPiece = 57 * 1024;  // whole lines
  const ::mail::ContentCoding coding;
  ::mail::DataBuffer text;
  mail.reserve(mail.size() + bytes.size() / 57 * (76 + lineEnd.size()) + 80);
  for (; !bytes.empty(); bytes.remove_prefix(std::min(kPiece, bytes.size()))) {
    text.weakClear();
    if (!coding.encodeBase64(bytes.substr(0, kPiece), text)) throw std::bad_alloc();
    AppendEncoded(text.view(), lineEnd, mail);
  }
}

void AppendText(std::string_view bytes, std::string_view lineEnd, std::string& mail) {
  if (lineEnd == "\n") {
    mail += bytes;
    return;
  }
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\n' && (i == 0 || bytes[i - 1] != '\r')) mail += '\r';
    mail += bytes[i];
  }
}

}  // namespace

std::optional<std::string> FilesBeside::Read(const std::string& path, Links links,
                                             const std::string& name) {
  try {
    const OpenedFile file = OpenSourceFile(path, links);
    if (file.size > m_room) throw ReadError("too large");
    std::string bytes = ReadRange(file, 0, file.size);
    m_room -= bytes.size();
    return bytes;
  } catch (const ReadError& error) {
    NoteMissing(name, error.Reason());
    return std::nullopt;
  }
}

void FilesBeside::NoteMissing(std::string_view name, std::string reason) {
  m_missing.push_back({WithoutForbiddenControls(name), std::move(reason)});
}

std::string_view LineEndOf(std::string_view mail) {
  const std::size_t end = mail.find('\n');
  return end != std::string_view::npos && end > 0 && mail[end - 1] == '\r' ? "\r\n" : "\n";
}

void AppendBody(std::string_view bytes, std::string_view encoding, std::string_view lineEnd,
                std::string& mail) {
  if (encoding == "base64") return AppendBase64(bytes, lineEnd, mail);
  if (encoding != "quoted-printable") return AppendText(bytes, lineEnd, mail);
  ::mail::DataBuffer text;
  if (!::mail::ContentCoding().encodeQuotedPrintable(bytes, text)) throw std::bad_alloc();
  AppendEncoded(text.view(), lineEnd, mail);
}

}  // namespace client
