#include "mime/encoding/UuCoding.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kBegin = "begin ";
constexpr std::array<std::string_view, 4> kModes = {"666 ", "600 ", "664 ", "644 "};

// Characters behind the data of a line that some encoders add: a checksum, or blanks.
constexpr std::size_t kSlack = 2;

constexpr bool isUuChar(char ch) { return ch >= ' ' && ch <= '`'; }
constexpr unsigned bitsOf(char ch) { return (static_cast<unsigned char>(ch) - 32u) & 63u; }

// The line at the position, without its end; the position moves behind that.
std::string_view takeLine(std::string_view strText, std::size_t& nAt) {
  const std::size_t nLf = strText.find('\n', nAt);
  const std::size_t nEnd = std::min(nLf, strText.size());
  std::string_view strLine = strText.substr(nAt, nEnd - nAt);
  if (strLine.ends_with('\r')) strLine.remove_suffix(1);
  nAt = nLf == kNone ? strText.size() : nLf + 1;
  return strLine;
}

// How many bytes the line holds; nothing for a line that is no data.
std::optional<std::size_t> bytesOfLine(std::string_view strLine) {
  if (strLine.empty() || !isUuChar(strLine[0])) return std::nullopt;
  const std::size_t nBytes = bitsOf(strLine[0]);
  const std::size_t nChars = (nBytes + 2) / 3 * 4;
  const auto strData = strLine.substr(1);
  if (strData.size() > nChars + kSlack || !std::ranges::all_of(strData, isUuChar)) {
    return std::nullopt;
  }
  // Blanks at the end, which stand for zero bits, get lost on the way; more than that is no loss.
  if (nBytes != 0 && strData.empty()) return std::nullopt;
  return nBytes;
}

bool appendLine(std::string_view strLine, std::size_t nBytes, DataBuffer& out) {
  unsigned char aBytes[63 + 2];
  const auto bits = [&](std::size_t n) { return n < strLine.size() ? bitsOf(strLine[n]) : 0u; };
  for (std::size_t n = 0, nChar = 1; n < nBytes; n += 3, nChar += 4) {
    const unsigned nGroup =
        bits(nChar) << 18 | bits(nChar + 1) << 12 | bits(nChar + 2) << 6 | bits(nChar + 3);
    aBytes[n] = static_cast<unsigned char>(nGroup >> 16);
    aBytes[n + 1] = static_cast<unsigned char>(nGroup >> 8);
    aBytes[n + 2] = static_cast<unsigned char>(nGroup);
  }
  return out.append(aBytes, nBytes);
}

// The end of the data that begin at nAt: behind "end", or where a line is no data.
std::size_t endOfData(std::string_view strText, std::size_t nAt, std::size_t& nLinesEnd) {
  while (nAt < strText.size()) {
    nLinesEnd = nAt;
    const auto strLine = takeLine(strText, nAt);
    if (trimmed(strLine) == "end") return nAt;
    if (!bytesOfLine(strLine)) return nLinesEnd;
  }
  nLinesEnd = nAt;
  return nAt;
}

// The place of the next line that starts "begin " and three digits, with its data found.
template <class ModeFits>
std::optional<UuBlock> findBlock(std::string_view strText, std::size_t nFrom, ModeFits fnFits) {
  for (std::size_t n = nFrom; (n = findBytes(strText, kBegin, n)) != kNone; n += kBegin.size()) {
    if (n != 0 && strText[n - 1] != '\n') continue;
    const auto strMode = strText.substr(n + kBegin.size(), kModes[0].size());
    if (!fnFits(strMode)) continue;
    std::size_t nAt = n + kBegin.size() + strMode.size();
    UuBlock objBlock{n, 0, trimmed(takeLine(strText, nAt)), {}};
    std::size_t nFirst = nAt;
    if (nAt == strText.size() || !bytesOfLine(takeLine(strText, nFirst))) continue;
    std::size_t nLinesEnd = nAt;
    objBlock.nEnd = endOfData(strText, nAt, nLinesEnd);
    objBlock.strLines = strText.substr(nAt, nLinesEnd - nAt);
    return objBlock;
  }
  return std::nullopt;
}

bool isAnyMode(std::string_view strMode) {
  constexpr auto isOctal = [](char ch) { return ch >= '0' && ch <= '7'; };
  return strMode.size() == kModes[0].size() && strMode[3] == ' ' &&
         std::ranges::all_of(strMode.substr(0, 3), isOctal);
}

}  // namespace

std::optional<UuBlock> findUuBlock(std::string_view strText, std::size_t nFrom) {
  return findBlock(strText, nFrom, [](std::string_view strMode) {
    return std::ranges::find(kModes, strMode) != kModes.end();
  });
}

bool decodeUuLines(std::string_view strLines, DataBuffer& out) {
  for (std::size_t nAt = 0; nAt < strLines.size();) {
    const auto strLine = takeLine(strLines, nAt);
    const auto nBytes = bytesOfLine(strLine);
    if (!nBytes || trimmed(strLine) == "end") return true;
    if (!appendLine(strLine, *nBytes, out)) return false;
  }
  return true;
}

bool decodeUuBody(std::string_view strBody, DataBuffer& out) {
  const auto objBlock = findBlock(strBody, 0, isAnyMode);
  return decodeUuLines(objBlock ? objBlock->strLines : strBody, out);
}

}  // namespace mail
