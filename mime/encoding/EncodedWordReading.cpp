#include "mime/encoding/ContentCoding.h"

#include "html/charset/CodePages.h"
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
    return word.bBase64 ? ContentCoding::decodeBase64(word.strText, m_bytes)
                        : ContentCoding::decodeQ(word.strText, m_bytes);
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
