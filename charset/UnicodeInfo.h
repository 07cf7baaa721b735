#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/LogBase.h"
#include "charset/CkCharset.h"

namespace mail {

// Which scripts a text is made of, and which charset suits it.
class UnicodeInfo {
 public:
  enum Script : std::uint8_t {
    kAscii,
    kLatin1,  // with the signs that windows-1252 adds to it
    kCentralEuropean,
    kGreek,
    kCyrillic,
    kHebrew,
    kArabic,
    kThai,
    kKorean,
    kChinese,
    kJapanese,
    kVietnamese,  // Latin Extended Additional
    kDevanagari,
    kBengali,
    kGurmukhi,
    kGujarati,
    kOriya,
    kTamil,
    kTelugu,
    kKannada,
    kMalayalam,
    kSinhala,
    kLao,
    kTibetan,
    kMyanmar,
    kGeorgian,
    kUnknown,
    kNoScript,  // width and shape forms, signs of all scripts: not counted
    kScripts
  };

  // Counts each of nCodeUnits units of UTF-16 in host order in one script; null counts as no text.
  void countScripts(const unsigned char* pUtf16, std::size_t nCodeUnits);

  std::uint32_t total() const { return m_nTotal; }
  std::uint32_t count(Script nScript) const { return m_aCounts[nScript]; }

  // The charset for the text that was counted: none for ASCII alone, a page of one script where
  // that holds it all, else utf-8. With a preferred name always utf-8: kept, the preference serves
  // the log alone.
  void SuggestCharset(_ckCharset& objCharset, std::string_view strPreferred, LogBase& log) const;

 private:
  int suggestPage() const;
  void logCounts(LogBase& log) const;

  std::uint32_t m_nTotal = 0;
  std::array<std::uint32_t, kScripts> m_aCounts{};
};

}  // namespace mail
