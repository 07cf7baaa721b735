#include "charset/UnicodeInfo.h"

#include <algorithm>
#include <cstring>

#include "base/LogContextExitor.h"
#include "charset/CharsetNames.h"
#include "charset/CodePages.h"

namespace mail {
namespace {

using Script = UnicodeInfo::Script;

struct Range {
  char16_t nFirst;
  char16_t nLast;
  Script nScript;
};

// In this order: the first range that holds the unit decides.
constexpr auto kRanges = std::to_array<Range>({
    {0x0000, 0x007F, Script::kAscii},
    {0x0080, 0x00FF, Script::kLatin1},
    {0x0152, 0x0153, Script::kLatin1},
    {0x0160, 0x0161, Script::kLatin1},
    {0x0178, 0x0178, Script::kLatin1},
    {0x0192, 0x0192, Script::kLatin1},
    {0x02C6, 0x02C6, Script::kLatin1},
    {0x02DC, 0x02DC, Script::kLatin1},
    {0x0100, 0x02FF, Script::kCentralEuropean},
    {0x2122, 0x2122, Script::kLatin1},
    {0x2013, 0x2014, Script::kLatin1},
    {0x2018, 0x201A, Script::kLatin1},
    {0x201C, 0x201E, Script::kLatin1},
    {0x2020, 0x2022, Script::kLatin1},
    {0x2026, 0x2026, Script::kLatin1},
    {0x2030, 0x2030, Script::kLatin1},
    {0x2039, 0x203A, Script::kLatin1},
    {0x2000, 0x206F, Script::kUnknown},
    {0x0370, 0x03FF, Script::kGreek},
    {0x0400, 0x04FF, Script::kCyrillic},
    {0x0590, 0x05FF, Script::kHebrew},
    {0x0600, 0x06FF, Script::kArabic},
    {0x0E00, 0x0E7F, Script::kThai},
    {0xAC00, 0xD7AF, Script::kKorean},
    {0x4E00, 0x9FAF, Script::kChinese},
    {0x3040, 0x30FF, Script::kJapanese},
    {0x2F00, 0x2FDF, Script::kJapanese},
    {0x3200, 0x32FF, Script::kNoScript},
    {0x25A0, 0x26FF, Script::kNoScript},
    {0xFE20, 0xFE6F, Script::kNoScript},
    {0xFF00, 0xFFEF, Script::kNoScript},
    {0x3000, 0x303F, Script::kNoScript},
    {0x3400, 0x4DBF, Script::kChinese},
    {0x1100, 0x11FF, Script::kKorean},
    {0x1E00, 0x1EFF, Script::kVietnamese},
    {0x0900, 0x097F, Script::kDevanagari},
    {0x0980, 0x09FF, Script::kBengali},
    {0x0A00, 0x0A7F, Script::kGurmukhi},
    {0x0A80, 0x0AFF, Script::kGujarati},
    {0x0B00, 0x0B7F, Script::kOriya},
    {0x0B80, 0x0BFF, Script::kTamil},
    {0x0C00, 0x0C7F, Script::kTelugu},
    {0x0C80, 0x0CFF, Script::kKannada},
    {0x0D00, 0x0D7F, Script::kMalayalam},
    {0x0D80, 0x0DFF, Script::kSinhala},
    {0x0E80, 0x0EFF, Script::kLao},
    {0x0F00, 0x0FFF, Script::kTibetan},
    {0x1000, 0x109F, Script::kMyanmar},
    {0x10A0, 0x10FF, Script::kGeorgian},
});

Script scriptOf(char16_t nUnit) {
  const auto it = std::find_if(kRanges.begin(), kRanges.end(), [=](const Range& objRange) {
    return nUnit >= objRange.nFirst && nUnit <= objRange.nLast;
  });
  return it != kRanges.end() ? it->nScript : Script::kUnknown;
}

// The page of a text in one script, in the order of the search.
struct ScriptPage {
  Script nScript;
  int nCodePage;
};
constexpr auto kScriptPages = std::to_array<ScriptPage>({
    {Script::kJapanese, code_page::kShiftJis},
    {Script::kKorean, code_page::kKorean},
    {Script::kChinese, code_page::kGbk},
    {Script::kHebrew, code_page::kHebrew},
    {Script::kArabic, code_page::kArabic},
    {Script::kCyrillic, code_page::kCyrillic},
    {Script::kGreek, code_page::kGreek},
    {Script::kThai, code_page::kThai},
});

struct LoggedCount {
  Script nScript;
  std::string_view strName;
};
constexpr auto kLoggedCounts = std::to_array<LoggedCount>({
    {Script::kChinese, "NumChinese"},
    {Script::kJapanese, "NumJapanese"},
    {Script::kLatin1, "NumLatin1"},
    {Script::kGreek, "NumGreek"},
    {Script::kHebrew, "NumHebrew"},
    {Script::kArabic, "NumArabic"},
    {Script::kThai, "NumThai"},
    {Script::kCyrillic, "NumCyrillic"},
    {Script::kCentralEuropean, "NumCentralEuropean"},
    {Script::kAscii, "NumAscii"},
    {Script::kUnknown, "NumUnknown"},
});

}  // namespace

void UnicodeInfo::countScripts(const unsigned char* pUtf16, std::size_t nCodeUnits) {
  m_aCounts.fill(0);
  m_nTotal = pUtf16 != nullptr ? static_cast<std::uint32_t>(nCodeUnits) : 0;
  for (std::size_t n = 0; n < m_nTotal; ++n) {
    char16_t nUnit;
    std::memcpy(&nUnit, pUtf16 + 2 * n, sizeof nUnit);
    ++m_aCounts[scriptOf(nUnit)];
  }
}

// 0: no charset is needed.
int UnicodeInfo::suggestPage() const {
  const std::uint32_t nAscii = count(kAscii);
  if (m_nTotal == nAscii) return 0;
  const std::uint32_t nLatin1 = nAscii + count(kLatin1);
  if (m_nTotal == nLatin1) return code_page::kLatin1;
  if (m_nTotal == nLatin1 + count(kCentralEuropean)) return code_page::kLatin2;
  if (count(kLatin1) != 0 || count(kCentralEuropean) != 0) return code_page::kUtf8;
  // Chinese characters are part of Japanese and Korean text too: they make no text a mixed one.
  const auto nScripts =
      std::count_if(kScriptPages.begin(), kScriptPages.end(), [this](const ScriptPage& objPage) {
        return objPage.nScript != kChinese && count(objPage.nScript) != 0;
      });
  if (nScripts > 1) return code_page::kUtf8;
  for (const ScriptPage& objPage : kScriptPages) {
    if (count(objPage.nScript) != 0) return objPage.nCodePage;
  }
  return code_page::kUtf8;
}

void UnicodeInfo::logCounts(LogBase& log) const {
  const LogContextExitor objContext(log, "SuggestCharset");
  for (const LoggedCount& objLogged : kLoggedCounts) {
    if (count(objLogged.nScript) != 0) log.LogDataLong(objLogged.strName, count(objLogged.nScript));
  }
}

void UnicodeInfo::SuggestCharset(_ckCharset& objCharset, std::string_view strPreferred,
                                 LogBase& log) const {
  if (!strPreferred.empty()) {
    StringBuffer strName(strPreferred);
    log.LogData("preferredCharset", strPreferred);
    log.LogDataLong("preferredCodePage", nameToCodePage(strName));
    objCharset.setByCodePage(code_page::kUtf8);
    return;
  }
  const int nPage = suggestPage();
  const bool bPlain = nPage == 0 || nPage == code_page::kLatin1 || nPage == code_page::kLatin2;
  if (!bPlain && log.m_bVerbose) logCounts(log);
  if (nPage == 0) {
    objCharset.clear();
  } else {
    objCharset.setByCodePage(nPage);
  }
}

}  // namespace mail
