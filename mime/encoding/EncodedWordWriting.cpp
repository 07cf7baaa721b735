#include "mime/encoding/ContentCoding.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/encoding/EncodedWordCharset.h"
#include "mime/encoding/HexDigits.h"
#include "platform/Base64.h"

// Writing header values as encoded words. A long value is cut by characters, not by the length of
// what they become: every word then stands on its own in any charset, those with shift sequences
// among them.
namespace mail {
namespace {

constexpr std::size_t kUnitsOfQ = 50;       // of UTF-16, in one word
constexpr std::size_t kCharactersOfB = 18;  // likewise

using Pieces = std::vector<std::string>;

// How a charset's text is cut: by way of which form of Unicode, and where.
struct Cutting {
  unsigned nPage;      // of that form
  std::size_t nWidth;  // of its units, in bytes
  std::size_t nUnits;  // in one piece
};

constexpr Cutting kCuttingOfQ = {code_page::kUtf16, 2, kUnitsOfQ};
constexpr Cutting kCuttingOfB = {code_page::kUtf32, 4, kCharactersOfB};

bool isContinuation(char ch) { return (ch & 0xC0) == 0x80; }

// UTF-8 needs no other form: its characters are counted as units of that form where they stand.
Pieces cutUtf8(std::string_view strValue, const Cutting& cutting) {
  Pieces arrPieces;
  std::size_t nStart = 0, nUnits = 0;
  for (std::size_t n = 0; n < strValue.size(); ++n) {
    if (isContinuation(strValue[n])) continue;
    const bool bPair = static_cast<unsigned char>(strValue[n]) >= 0xF0 && cutting.nWidth == 2;
    const std::size_t nMore = bPair ? 2 : 1;
    if (nUnits + nMore > cutting.nUnits) {
      arrPieces.emplace_back(strValue.substr(nStart, n - nStart));
      nStart = n;
      nUnits = 0;
    }
    nUnits += nMore;
  }
  arrPieces.emplace_back(strValue.substr(nStart));
  return arrPieces;
}

// Bytes of the first piece; the two halves of a pair of UTF-16 stay together.
std::size_t pieceSize(std::string_view strUnits, const Cutting& cutting) {
  const std::size_t nBytes = cutting.nUnits * cutting.nWidth;
  if (nBytes >= strUnits.size()) return strUnits.size();
  const bool bHalf = cutting.nWidth == 2 && (strUnits[nBytes - 1] & 0xFC) == 0xD8;
  return bHalf ? nBytes - 2 : nBytes;
}

// Nothing when a byte would be lost on the way.
std::optional<Pieces> cut(std::string_view strValue, unsigned nPage, const Cutting& cutting,
                          LogBase& log) {
  if (nPage == code_page::kUtf8) return cutUtf8(strValue, cutting);
  if (strValue.starts_with("%PDF-1")) return std::nullopt;  // which is never converted
  EncodingConvert objConvert;
  DataBuffer units, piece;
  if (!objConvert.EncConvert(nPage, cutting.nPage, strValue.data(), strValue.size(), units, log) ||
      objConvert.m_hadErrors) {
    return std::nullopt;
  }
  Pieces arrPieces;
  for (auto strUnits = units.view(); !strUnits.empty();) {
    const std::size_t nBytes = pieceSize(strUnits, cutting);
    piece.weakClear();
    if (!objConvert.EncConvert(cutting.nPage, nPage, strUnits.data(), nBytes, piece, log) ||
        objConvert.m_hadErrors) {
      return std::nullopt;
    }
    arrPieces.emplace_back(piece.view());
    strUnits.remove_prefix(nBytes);
  }
  return arrPieces;
}

Pieces piecesOf(std::string_view strValue, unsigned nPage, const Cutting& cutting,
                ContentCoding::Folding nFolding, LogBase& log) {
  if (nFolding == ContentCoding::Folding::kSeveralWords &&
      strValue.size() >= ContentCoding::kShortValue) {
    if (auto arrPieces = cut(strValue, nPage, cutting, log)) return std::move(*arrPieces);
  }
  return {std::string(strValue)};
}

bool isBlank(std::string_view str) { return str.find_first_not_of(" \t") == str.npos; }

// Whether it may stand in a header of that charset without a B word.
bool isSafe(std::string_view strValue, unsigned nPage) {
  const std::string_view strUnsafe = code_page::isIso2022(nPage) ? "\r\n\x1B[$" : "\r\n";
  return std::none_of(strValue.begin(), strValue.end(), [&](char ch) {
    return (ch & 0x80) != 0 || strUnsafe.find(ch) != strUnsafe.npos;
  });
}

bool standsForItselfInQ(unsigned char ch) {
  return (ch >= 33 && ch <= 126) && ch != '=' && ch != '?' && ch != '_';
}

std::string qText(std::string_view strBytes, bool bHideCommas) {
  std::string strText(3 * strBytes.size() + 1, '\0');
  char* pOut = strText.data();
  for (const char ch : strBytes) {
    if (ch == ' ') {
      *pOut++ = '_';
    } else if (standsForItselfInQ(static_cast<unsigned char>(ch)) && !(bHideCommas && ch == ',')) {
      *pOut++ = ch;
    } else {
      pOut = hex::putEscape(ch, pOut);
    }
  }
  strText.resize(static_cast<std::size_t>(pOut - strText.data()));
  return strText;
}

// Appends the words; fnText makes the text of one from its bytes.
template <class Text>
bool putWords(const Pieces& arrPieces, std::string_view strCharset, char chEncoding,
              StringBuffer& strOut, Text fnText) {
  const std::string strStart = "=?" + std::string(strCharset) + '?' + chEncoding + '?';
  std::string strWords;
  for (const auto& strPiece : arrPieces) {
    if (!strWords.empty()) strWords += "\r\n ";
    strWords += strStart;
    strWords += fnText(strPiece);
    strWords += "?=";
  }
  return strOut.append(strWords);
}

// The charset of a value: its name as it is written, and its page (utf-8 if it is unknown).
struct Charset {
  explicit Charset(std::string_view str)
      : strName(str.empty() ? "utf-8" : str), nPage(encoded_words::pageOf(strName)) {
    if (nPage == 0) nPage = code_page::kUtf8;
  }
  std::string_view strName;
  unsigned nPage;
};

}  // namespace

bool ContentCoding::encodeQWord(std::string_view strValue, std::string_view strCharset,
                                Folding nFolding, StringBuffer& strOut, LogBase& log) const {
  if (isBlank(strValue)) return strOut.append(strValue);
  const Charset charset(strCharset);
  const auto arrPieces = piecesOf(strValue, charset.nPage, kCuttingOfQ, nFolding, log);
  return putWords(arrPieces, charset.strName, 'Q', strOut,
                  [&](std::string_view str) { return qText(str, m_bAddressMode); });
}

bool ContentCoding::encodeBWord(std::string_view strValue, std::string_view strCharset,
                                Folding nFolding, StringBuffer& strOut, LogBase& log) const {
  const Charset charset(strCharset);
  if (isBlank(strValue) || isSafe(strValue, charset.nPage)) return strOut.append(strValue);
  const auto arrPieces = piecesOf(strValue, charset.nPage, kCuttingOfB, nFolding, log);
  return putWords(arrPieces, charset.strName, 'B', strOut,
                  [](std::string_view str) { return platform::Base64Encode(str); });
}

}  // namespace mail
