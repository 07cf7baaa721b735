#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"

namespace mail {

// The transfer encodings of MIME: base64 and quoted-printable for bodies (RFC 2045), encoded words
// for headers (RFC 2047). The bodies of the methods lie in a file for each family:
// Base64Coding.cpp, QuotedPrintable.cpp, EncodedWordReading.cpp and EncodedWordWriting.cpp.
//
// Every operation appends to its output, takes time linear in its input whatever that holds, and
// does not throw. Decoding has no error: what is malformed is read as well as it goes. False means
// want of memory (or an output past 4 GiB) and nothing else; what was appended until then may
// stay. Inputs must not lie in the output, unless said otherwise.
class ContentCoding {
 public:
  static constexpr unsigned kDefaultLineLength = 76;  // characters
  // An encoded word below this many bytes is never parted.
  static constexpr std::size_t kShortValue = 61;

  // Whether a header value may become several encoded words, joined by CR LF and a blank.
  enum class Folding : std::uint8_t { kOneWord, kSeveralWords };
  // Whether quoted-printable decoding reads "=00" 4 hexadecimal digits ";" as the reference
  // "&#decimal;", which is what a common broken converter meant by it.
  enum class ZeroReferences : std::uint8_t { kRead, kKeep };

  // --- Base64. ---
  // Lines of m_nLineLength characters, each with CR LF behind it, the last one too; no bytes give
  // nothing. Pieces whose length is a multiple of 3 / 4 of the line length (57 bytes by default)
  // may be encoded one after the other, and give what the whole gives.
  bool encodeBase64(std::string_view strBytes, StringBuffer& strOut) const;
  bool encodeBase64(std::string_view strBytes, DataBuffer& out) const;
  // Characters outside the alphabet are passed over; the first "=" or NUL ends the data. A group
  // that lacks characters gives the whole bytes that it holds.
  static bool decodeBase64(std::string_view strText, DataBuffer& out);

  // --- Quoted-printable. ---
  // Lines of m_nLineLength characters at most. CR LF is a line end, lone CR and LF are bytes. A "."
  // and a "From " at the start of a line are hidden from mail transports. Pieces that end behind a
  // CR LF may be encoded one after the other.
  bool encodeQuotedPrintable(std::string_view strBytes, StringBuffer& strOut) const;
  bool encodeQuotedPrintable(std::string_view strBytes, DataBuffer& out) const;
  // The first NUL ends the text. Line ends become CR LF, blanks in front of them vanish.
  static bool decodeQuotedPrintable(std::string_view strText, DataBuffer& out,
                                    ZeroReferences nReferences = ZeroReferences::kRead);

  // --- Encoded words. ---
  // What stands between "?Q?" and "?=": "_" is a blank, "=XX" (either case) a byte, anything else
  // stands for itself.
  static bool decodeQ(std::string_view strText, DataBuffer& out);

  // A header value in the charset of that name (none: utf-8) as "=?charset?Q?…?=" or
  // "=?charset?B?…?=". With kSeveralWords a value of kShortValue bytes or more is cut between
  // characters into words that stand on their own: after at most 50 units of UTF-16 for Q, after 18
  // characters for B. Bytes that mean nothing in the charset keep the value in one word, so that
  // none is lost. A value of blanks and tabs alone is copied as it stands, and with B one that
  // needs no encoding (7-bit without CR and LF; for iso-2022 also without ESC, "[" and "$"). With
  // m_bAddressMode Q hides commas. The value must be unfolded by the caller.
  bool encodeQWord(std::string_view strValue, std::string_view strCharset, Folding nFolding,
                   StringBuffer& strOut, LogBase& log) const;
  bool encodeBWord(std::string_view strValue, std::string_view strCharset, Folding nFolding,
                   StringBuffer& strOut, LogBase& log) const;

  // Replaces the encoded words of a value by their text in UTF-8, in place. Blanks and tabs between
  // two words vanish; a word without an end stays, with all behind it. Words in a charset that is
  // unknown give their bytes as they are, and "invalidQCharset" or "invalidBCharset" with the name
  // goes to the log; so do words in utf-8, which are not checked. The bytes of neighbours in one
  // charset are put together before they are converted, since some mailers cut a character in two.
  // False for want of memory, and the value is as it was.
  static bool QB_DecodeToUtf8(StringBuffer& strValue, LogBase& log);

  unsigned m_nLineLength = kDefaultLineLength;  // 0: no limit; quoted-printable takes 1 to 3 as 4
  bool m_bAddressMode = false;
};

}  // namespace mail
