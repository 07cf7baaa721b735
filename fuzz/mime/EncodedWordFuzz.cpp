// Values with words in utf-8 alone read as a plain reader reads them, any value is read within
// bounds, and words that were written read back as the text they were made of. Numbered pieces and
// percent-encoded values run along.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/LogNull.h"
#include "charset/EncodingConvert.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/encoding/ParameterPieces.h"
#include "tests/support/NaiveCoding.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

std::string Convert(unsigned from, unsigned to, std::string_view text) {
  mail::EncodingConvert converter;
  mail::LogNull log;
  mail::DataBuffer out;
  (void)converter.EncConvert(from, to, text.data(), text.size(), out, log);
  return std::string(out.view());
}

std::string Decode(std::string_view value) {
  mail::LogNull log;
  mail::StringBuffer text(value);
  Require(mail::ContentCoding::QB_DecodeToUtf8(text, log));
  return std::string(text.view());
}

// In utf-8, which the cut must not change.
void RoundTrip(bool q, std::string_view text) {
  const std::string value = Convert(1200, 65001, Convert(65001, 1200, text));
  if (value.find_first_of(std::string_view("\0=", 2)) != value.npos) return;
  mail::LogNull log;
  mail::StringBuffer out;
  const mail::ContentCoding coding;
  const auto folding = mail::ContentCoding::Folding::kSeveralWords;
  Require(q ? coding.encodeQWord(value, "utf-8", folding, out, log)
            : coding.encodeBWord(value, "utf-8", folding, out, log));
  if (!out.view().starts_with("=?")) {
    Require(out.view() == value);
    return;
  }
  std::string words(out.view());
  std::erase(words, '\r');
  std::erase(words, '\n');
  Require(Decode(words) == value);
}

// Every word names utf-8: "=?" becomes the start of a word of that charset, and no other is there.
void Compare(std::string_view text) {
  std::string value;
  for (std::size_t n = 0; n < text.size(); ++n) {
    const bool start = text.substr(n).starts_with("=?");
    if (start && n + 2 < text.size() && text[n + 2] == 'u') {
      value += "=?utf-8?";
      n += 2;
    } else if (text[n] != '?' || text.substr(n).starts_with("?=") ||
               (n > 0 && (text[n - 1] == 'Q' || text[n - 1] == 'B'))) {
      value += text[n];
    }
  }
  for (std::size_t at = 0; (at = value.find("=?", at)) != value.npos; at += 2) {
    if (value.compare(at, 8, "=?utf-8?") != 0) return;
  }
  while (value.ends_with('\0')) value.pop_back();
  std::string expected = naive::DecodeWords(value);
  while (expected.ends_with('\0')) expected.pop_back();
  Require(Decode(value) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  // A byte may become a character of four bytes in some charset.
  Require(Decode(text).size() <= 4 * text.size() + 16);
  Compare(text);
  RoundTrip(data[0] % 2 == 0, text);
  mail::LogNull log;
  mail::StringBuffer value(text), decoded;
  if (joinNumberedPieces(value, "name")) Require(value.getSize() <= text.size() + 16);
  mail::ParameterPieces pieces;
  pieces.add("name*", text);
  Require(pieces.decode(decoded, log));
  return 0;
}
