#include "client/sources/LineDecoding.h"

#include "base/LogNull.h"
#include "charset/CharsetNames.h"
#include "charset/EncodingConvert.h"
#include "mime/encoding/ContentCoding.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr unsigned kUtf8 = 65001;
constexpr unsigned kWestern = 1252;  // of bytes that are no UTF-8 and name no charset

bool IsQuotedPrintable(const ContentLine& line) {
  return line.Has("ENCODING", "QUOTED-PRINTABLE") || line.Has("TYPE", "QUOTED-PRINTABLE");
}

bool IsBase64Line(std::string_view line) {
  return !line.empty() && line.find_first_not_of(
                              "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuv"
                              "wxyz0123456789+/= \t") == std::string_view::npos;
}

std::string Base64Bytes(std::string_view text) {
  mail::DataBuffer bytes;
  mail::ContentCoding::decodeBase64(text, bytes);
  return std::string(bytes.view());
}

std::string QuotedPrintableBytes(std::string_view text) {
  mail::DataBuffer bytes;
  mail::ContentCoding::decodeQuotedPrintable(text, bytes);
  std::string decoded;
  for (char c : bytes.view()) {
    if (c != '\r') decoded += c;
  }
  return decoded;
}

// Properties whose value is no text where it is encoded.
bool IsFile(const ContentLine& line) {
  return line.name == "PHOTO" || line.name == "ATTACH" || line.name == "LOGO" ||
         line.name == "SOUND" || line.name == "KEY";
}

// A photo as "data:image/jpeg;base64,…".
bool TakeDataAddress(ContentLine& line) {
  if (!IsFile(line)) return false;
  if (UpperAscii(line.value.substr(0, 5)) != "DATA:") return false;
  const std::size_t comma = line.value.find(',');
  if (comma == std::string::npos) return false;
  if (UpperAscii(line.value.substr(0, comma)).find(";BASE64") == std::string::npos) return false;
  line.value = Base64Bytes(std::string_view(line.value).substr(comma + 1));
  line.parameters.push_back({"ENCODING", "B"});
  return true;
}

}  // namespace

std::string ToUtf8(std::string_view bytes, std::string_view charset) {
  mail::StringBuffer name;
  name.append(charset);
  auto page = charset.empty() ? 0u : static_cast<unsigned>(mail::nameToCodePage(name));
  if (page == 0 || page == kUtf8 || !mail::EncodingConvert::converts(page)) {
    if (platform::IsValidUtf8(bytes)) return std::string(bytes);
    page = kWestern;
  }
  mail::LogNull log;
  mail::DataBuffer utf8;
  mail::EncodingConvert convert;
  convert.convertText(page, kUtf8, bytes.data(), bytes.size(), utf8, log);
  if (platform::IsValidUtf8(utf8.view())) return std::string(utf8.view());
  // Halves of pairs, which charsets made of UTF-16 can name, are no characters.
  return platform::Utf16ToUtf8(platform::Utf8ToUtf16(utf8.view()));
}

bool HoldsBytes(const ContentLine& line) {
  return line.Has("ENCODING", "B") || line.Has("ENCODING", "BASE64") || line.Has("TYPE", "BASE64");
}

void DecodeLine(ContentLineReader& reader, ContentLine& line) {
  for (ContentLine::Parameter& parameter : line.parameters) {
    if (!platform::IsValidUtf8(parameter.value)) parameter.value = ToUtf8(parameter.value, "");
  }
  if (IsQuotedPrintable(line)) {
    while (line.value.ends_with('=') && !reader.AtEnd()) {
      line.value.append("\r\n").append(reader.PeekRaw());
      reader.SkipRaw();
    }
    line.value = ToUtf8(QuotedPrintableBytes(line.value), line.Value("CHARSET"));
  } else if (HoldsBytes(line)) {
    while (IsBase64Line(reader.PeekRaw())) {
      line.value += reader.PeekRaw();
      reader.SkipRaw();
    }
    if (!TakeDataAddress(line)) line.value = Base64Bytes(line.value);
    if (!IsFile(line)) line.value = ToUtf8(line.value, line.Value("CHARSET"));
  } else if (!TakeDataAddress(line)) {
    line.value = ToUtf8(line.value, line.Value("CHARSET"));
  }
}

}  // namespace client
