#include "mime/encoding/ContentCoding.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "base/ByteSearch.h"
#include "charset/CodePages.h"
#include "mime/encoding/EncodedWordCharset.h"
#include "mime/encoding/HexDigits.h"

// Reading "=?charset?Q?text?=" and "=?charset?B?text?=" within a value:
//
//   Re: =?utf-8?Q?Gr=C3=BC?= =?utf-8?B?w59l?= x   ->   Re: Grüße x
//
// The value is gone through once. A word whose end is not there ends the search, so that no later
// "=?" looks for it again.
namespace mail {
namespace {

bool isBlank(std::string_view str) { return str.find_first_not_of(" \t") == str.npos; }

struct Word {
  std::string_view strCharset;
  bool bBase64 = false;
  std::string_view strText;
  std::size_t nEnd = 0;  // behind its "?="
};

enum class Found : std::uint8_t { kWord, kNoWord, kNoEnd };

// What begins with the "=?" at nStart.
Found readWord(std::string_view strValue, std::size_t nStart, Word& word) {
  const std::size_t nCharset = nStart + 2;
  const std::size_t nMark = strValue.find('?', nCharset);
  if (nMark == strValue.npos) return Found::kNoEnd;
  const std::size_t nText = nMark + 3;
  if (nText >= strValue.size() || strValue[nMark + 2] != '?' || strValue[nText] == '\0') {
    return Found::kNoWord;
  }
  const std::size_t nEnd = strValue.find("?=", nText);
  if (nEnd == strValue.npos) return Found::kNoEnd;
  word.strCharset = strValue.substr(nCharset, nMark - nCharset);
  word.bBase64 = strValue[nMark + 1] == 'B' || strValue[nMark + 1] == 'b';
  word.strText = strValue.substr(nText, nEnd - nText);
  word.nEnd = nEnd + 2;
  return Found::kWord;
}

// Base64 is cut into words at any letter by some mailers, which destroys the group of four there
// unless the words are put together first:
//
//   =?utf-8?B?R3LDvM?= =?utf-8?B?OfZQ==?=
//
// Others leave out the "=" at the end of each word, and their words must stay apart.
constexpr std::string_view kBase64Letters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kNoLetter = 64;

constexpr auto kBase64Values = [] {
  std::array<std::uint8_t, 256> aValues{};
  aValues.fill(kNoLetter);
  for (std::uint8_t n = 0; n < kNoLetter; ++n) {
    aValues[static_cast<unsigned char>(kBase64Letters[n])] = n;
  }
  return aValues;
}();

bool endsBase64(char ch) { return ch == '=' || ch == '\0'; }

// How a word of base64 ends.
struct Base64End {
  std::size_t nLetters = 0;
  std::uint8_t nLast = 0;  // the value of the last letter

  explicit Base64End(std::string_view strText) {
    for (const char ch : strText) {
      const std::uint8_t nValue = kBase64Values[static_cast<unsigned char>(ch)];
      if (nValue == kNoLetter) continue;
      nLast = nValue;
      ++nLetters;
    }
  }
  std::size_t left() const { return nLetters % 4; }
  // The bits that make no whole byte are 0 unless the rest of the byte was cut off.
  bool isCut() const {
    return left() == 1 || (left() == 2 && nLast % 16 != 0) || (left() == 3 && nLast % 4 != 0);
  }
};

// Whether neighbours, of which only the last may be padded, are one text that was cut.
bool isCutBase64(const std::vector<std::string_view>& arrTexts) {
  std::size_t nLetters = 0;
  bool bCut = false;
  bool bLeft = false;
  for (const std::string_view& strText : arrTexts) {
    const Base64End objEnd(strText);
    nLetters += objEnd.nLetters;
    if (&strText == &arrTexts.back()) {
      const auto nPads = static_cast<std::size_t>(std::count(strText.begin(), strText.end(), '='));
      const bool bWhole = nPads > 0 && nPads < 4 && (nLetters + nPads) % 4 == 0;
      return bCut || (bLeft && bWhole);
    }
    bCut = bCut || objEnd.isCut();
    bLeft = bLeft || objEnd.left() != 0;
  }
  return false;
}

// Puts the text together: what stands between words, and the words' bytes once they are converted.
class Reader {
 public:
  Reader(std::string_view strValue, LogBase& log) : m_strValue(strValue), m_log(log) {}

  bool run(DataBuffer& out) {
    for (std::size_t nFrom = 0;;) {
      const std::size_t nStart = m_strValue.find("=?", nFrom);
      if (nStart == m_strValue.npos) return finish(out, /*bBlanksCount=*/false);
      Word word;
      const Found nFound = readWord(m_strValue, nStart, word);
      if (nFound == Found::kNoEnd) return finish(out, /*bBlanksCount=*/true);
      nFrom = nStart + 2;
      if (nFound == Found::kNoWord) continue;
      nFrom = word.nEnd;
      const auto strBetween = m_strValue.substr(m_nDone, nStart - m_nDone);
      if (!isBlank(strBetween) && !(flush(out) && out.append(strBetween))) return false;
      m_nDone = word.nEnd;
      if (!add(word, out)) return false;
    }
  }

 private:
  bool finish(DataBuffer& out, bool bBlanksCount) {
    const auto strRest = m_strValue.substr(m_nDone);
    return flush(out) && (!bBlanksCount && isBlank(strRest) ? true : out.append(strRest));
  }

  bool add(const Word& word, DataBuffer& out) {
    if (word.strCharset != m_strCharset || !isJoined(m_nPage)) {
      if (!flush(out)) return false;
      if (word.strCharset != m_strCharset) setCharset(word.strCharset);
    }
    if (m_nPage == 0) {
      m_log.LogData(word.bBase64 ? "invalidBCharset" : "invalidQCharset", word.strCharset);
    }
    if (!word.bBase64) return decodeBase64Words() && addQ(word.strText, out);
    m_arrBase64.push_back(word.strText);
    const bool bEnds = std::any_of(word.strText.begin(), word.strText.end(), endsBase64);
    return !bEnds || decodeBase64Words();
  }

  bool decodeBase64Words() {
    bool bDone = true;
    if (m_arrBase64.size() > 1 && isCutBase64(m_arrBase64)) {
      std::string strJoined;
      for (const std::string_view strText : m_arrBase64) strJoined += strText;
      bDone = ContentCoding::decodeBase64(strJoined, m_bytes);
    } else {
      for (const std::string_view strText : m_arrBase64) {
        bDone = bDone && ContentCoding::decodeBase64(strText, m_bytes);
      }
    }
    m_arrBase64.clear();
    return bDone;
  }

  // What stands in the word without being encoded is UTF-8 already, as all of the value.
  bool addQ(std::string_view strText, DataBuffer& out) {
    const bool bMixed = m_nPage != code_page::kUtf8 && m_nPage != 0 &&
                        !byte_search::is7bit(strText) && byte_search::isUtf8(strText);
    if (!bMixed) return ContentCoding::decodeQ(strText, m_bytes);
    const auto isRaw = [](char ch) { return static_cast<unsigned char>(ch) >= 0x80; };
    while (!strText.empty()) {
      const bool bRaw = isRaw(strText.front());
      const auto itEnd = bRaw ? std::find_if_not(strText.begin(), strText.end(), isRaw)
                              : std::find_if(strText.begin(), strText.end(), isRaw);
      const auto strRun = strText.substr(0, static_cast<std::size_t>(itEnd - strText.begin()));
      strText.remove_prefix(strRun.size());
      const bool bAdded =
          bRaw ? flush(out) && out.append(strRun) : ContentCoding::decodeQ(strRun, m_bytes);
      if (!bAdded) return false;
    }
    return true;
  }

  // A charset with shifts or a byte order mark begins anew in each word.
  static bool isJoined(unsigned nPage) {
    return !code_page::isWide(nPage) && !code_page::isIso2022(nPage) && nPage != code_page::kHz &&
           nPage != code_page::kUtf7;
  }

  void setCharset(std::string_view strCharset) {
    m_strCharset = strCharset;
    m_nPage = encoded_words::pageOf(strCharset);
  }

  bool flush(DataBuffer& out) {
    if (!decodeBase64Words()) return false;
    if (m_bytes.isEmpty()) return true;
    const bool bDone = encoded_words::toUtf8(m_nPage, m_bytes.view(), out, m_log);
    m_bytes.weakClear();
    return bDone;
  }

  std::string_view m_strValue;
  LogBase& m_log;
  std::size_t m_nDone = 0;  // what stands in front is in the output, or in m_bytes
  // The words since the last text, all in one charset.
  DataBuffer m_bytes;
  std::vector<std::string_view> m_arrBase64;  // the latest ones, not yet in m_bytes
  std::string_view m_strCharset = "utf-8";
  unsigned m_nPage = code_page::kUtf8;
};

}  // namespace

bool ContentCoding::decodeQ(std::string_view strText, DataBuffer& out) {
  auto* const pStart = out.prepare(strText.size());
  if (pStart == nullptr) return false;
  auto* pOut = pStart;
  const char* p = strText.data();
  const char* const pEnd = p + strText.size();
  for (; p < pEnd; ++p) {
    const int nByte = *p == '=' && pEnd - p >= 3 ? hex::byteOf(p[1], p[2]) : -1;
    if (nByte >= 0) p += 2;
    *pOut++ = static_cast<unsigned char>(nByte >= 0 ? nByte : *p == '_' ? ' ' : *p);
  }
  out.commit(static_cast<std::size_t>(pOut - pStart));
  return true;
}

bool ContentCoding::QB_DecodeToUtf8(StringBuffer& strValue, LogBase& log) {
  DataBuffer out;
  return out.reserve(strValue.getSize()) && Reader(strValue.view(), log).run(out) &&
         strValue.setString(out.view());
}

}  // namespace mail
