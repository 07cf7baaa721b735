#include "mime/encoding/ParameterPieces.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/DataBuffer.h"
#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "mime/encoding/CleanConversion.h"
#include "mime/encoding/EncodedWordCharset.h"
#include "mime/encoding/HexDigits.h"

namespace mail {
namespace {

// Cuts the text up to the next ";" outside quotes off the front, without that ";".
std::string_view takeSegment(std::string_view& strRest) {
  bool bQuoted = false;
  std::size_t n = 0;
  for (; n < strRest.size() && (bQuoted || strRest[n] != ';'); ++n) {
    if (bQuoted && strRest[n] == '\\') ++n;
    if (n < strRest.size() && strRest[n] == '"') bQuoted = !bQuoted;
  }
  n = std::min(n, strRest.size());
  const auto strSegment = strRest.substr(0, n);
  strRest.remove_prefix(std::min(n + 1, strRest.size()));
  return strSegment;
}

// The number of "NAME*12", or nothing; one of more than nine digits is no piece's.
std::optional<unsigned> pieceNumber(std::string_view strParameter, std::string_view strName) {
  if (!beginsWithNoCase(strParameter, strName)) return std::nullopt;
  strParameter.remove_prefix(strName.size());
  if (strParameter.size() < 2 || strParameter.size() > 10 || strParameter[0] != '*') {
    return std::nullopt;
  }
  unsigned nNumber = 0;
  for (const char ch : strParameter.substr(1)) {
    if (ch < '0' || ch > '9') return std::nullopt;
    nNumber = nNumber * 10 + static_cast<unsigned>(ch - '0');
  }
  return nNumber;
}

std::string_view withoutQuotes(std::string_view str) {
  if (!str.starts_with('"')) return str;
  str.remove_prefix(1);
  if (str.ends_with('"')) str.remove_suffix(1);
  return str;
}

// The number in the name of a piece: 12 of "NAME*12*"; 0 where there is none.
unsigned numberOfPiece(std::string_view strParameter) {
  if (strParameter.ends_with('*')) strParameter.remove_suffix(1);
  return pieceNumber(strParameter, strParameter.substr(0, strParameter.find('*'))).value_or(0);
}

template <class T>
void sortByNumber(std::vector<T>& arrPieces) {
  std::stable_sort(arrPieces.begin(), arrPieces.end(),
                   [](const T& a, const T& b) { return a.nNumber < b.nNumber; });
}

struct Piece {
  unsigned nNumber;
  std::string_view strValue;  // what its quotes held, escapes and all
};

std::optional<Piece> pieceOf(std::string_view strSegment, std::string_view strName) {
  const auto nEquals = strSegment.find('=');
  if (nEquals == strSegment.npos) return std::nullopt;
  const auto nNumber = pieceNumber(trimmed(strSegment.substr(0, nEquals)), strName);
  if (!nNumber) return std::nullopt;
  return Piece{*nNumber, withoutQuotes(trimmed(strSegment.substr(nEquals + 1)))};
}

// Undoes "%XX"; a "%" with anything else behind it stays.
void appendDecoded(std::string_view str, std::string& strOut) {
  for (std::size_t n = 0; n < str.size(); ++n) {
    const int nByte =
        str[n] == '%' && str.size() - n >= 3 ? hex::byteOf(str[n + 1], str[n + 2]) : -1;
    if (nByte >= 0) n += 2;
    strOut += nByte >= 0 ? static_cast<char>(nByte) : str[n];
  }
}

// Cuts "charset'language'" off the front and returns the charset; nothing when it is not there.
std::string_view takeCharset(std::string_view& strValue) {
  const auto nFirst = strValue.find('\'');
  if (nFirst == strValue.npos) return {};
  const auto nSecond = strValue.find('\'', nFirst + 1);
  if (nSecond == strValue.npos) return {};
  const auto strCharset = strValue.substr(0, nFirst);
  strValue.remove_prefix(nSecond + 1);
  return strCharset;
}

// Whether the bytes are UTF-8 under the label of a page that cannot hold them.
bool isMislabelledUtf8(unsigned nPage, std::string_view strBytes) {
  if (nPage == 0 || nPage == code_page::kUtf8 || byte_search::is7bit(strBytes) ||
      !byte_search::isUtf8(strBytes))
    return false;
  LogNull log;
  return !convertsCleanly(nPage, code_page::kUtf8, strBytes, log);
}

}  // namespace

bool joinNumberedPieces(StringBuffer& strValue, std::string_view strName) {
  std::vector<Piece> arrPieces;
  std::string strBefore, strAfter;  // the segments around the first piece
  for (auto strRest = strValue.view(); !strRest.empty();) {
    const bool bFirst = strRest.data() == strValue.view().data();
    const auto strSegment = takeSegment(strRest);
    if (const auto piece = pieceOf(strSegment, strName)) {
      arrPieces.push_back(*piece);
      if (arrPieces.size() == 1 && !bFirst) strBefore += "; ";
      continue;
    }
    auto& strTo = arrPieces.empty() ? strBefore : strAfter;
    if (!bFirst) strTo += ';';
    strTo += strSegment;
  }
  sortByNumber(arrPieces);
  if (arrPieces.empty() || arrPieces.front().nNumber != 0) return false;
  std::string strJoined = std::move(strBefore);
  strJoined.append(strName).append("=\"");
  for (const auto& piece : arrPieces) strJoined += piece.strValue;
  strJoined.append("\"").append(strAfter);
  return strValue.setString(strJoined);
}

bool isPieceOf(std::string_view strParameter, std::string_view strName) {
  return beginsWithNoCase(strParameter, strName) &&
         strParameter.substr(strName.size()).starts_with('*');
}

void ParameterPieces::add(std::string_view strParameter, std::string_view strValue) {
  if (!strParameter.ends_with('*')) {
    m_strBytes += strValue;
  } else {
    if (m_bEmpty) m_strCharset = takeCharset(strValue);
    appendDecoded(strValue, m_strBytes);
  }
  m_bEmpty = false;
}

bool ParameterPieces::decode(StringBuffer& strUtf8, LogBase& log) const {
  const unsigned nPage =
      m_strCharset.empty() ? code_page::kUtf8 : encoded_words::pageOf(m_strCharset);
  if (nPage == 0) log.LogData("invalidCharset", m_strCharset);
  DataBuffer out;
  const unsigned nTruePage = isMislabelledUtf8(nPage, m_strBytes) ? code_page::kUtf8 : nPage;
  if (!encoded_words::toUtf8(nTruePage, m_strBytes, out, log)) return false;
  if (!strUtf8.setString(trimmedWithNuls(out.view()))) return false;
  strUtf8.removeChar('\r');  // encoded ones too would end the field that the value is written into
  strUtf8.removeChar('\n');
  return true;
}

void NumberedPieces::add(std::string_view strParameter, std::string_view strValue) {
  m_arrPieces.push_back(
      {numberOfPiece(strParameter), strParameter.ends_with('*'), std::string(strValue)});
}

bool NumberedPieces::decode(StringBuffer& strUtf8, LogBase& log) {
  sortByNumber(m_arrPieces);
  ParameterPieces objPieces;
  for (const Piece& objPiece : m_arrPieces) {
    objPieces.add(objPiece.bEncoded ? "*" : "", objPiece.strValue);
  }
  return objPieces.decode(strUtf8, log);
}

}  // namespace mail
