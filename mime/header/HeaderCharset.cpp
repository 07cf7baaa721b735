#include "mime/header/HeaderCharset.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "base/StringBuffer.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/encoding/CleanConversion.h"
#include "mime/encoding/EncodedWordCharset.h"
#include "mime/encoding/MailCharset.h"
#include "mime/header/CkContentType.h"
#include "mime/header/EncodedWordMarks.h"
#include "mime/header/HeaderCharsetTable.h"
#include "mime/header/SevenBit.h"
#include "platform/NarrowText.h"

namespace mail {

using namespace code_page;

namespace {

constexpr std::size_t kNone = std::string_view::npos;
using header_charset::CheckedName;
using header_charset::kCheckedNames;
using header_charset::kRawNames;
using header_charset::RawName;

constexpr std::size_t kLongestName = 75;  // characters of a charset's name
constexpr std::string_view kSignature = "\xEF\xBB\xBF";

bool CanBeIn(int nPage, std::string_view strBytes, LogBase& log) {
  return convertsCleanly(static_cast<unsigned>(nPage), kUtf8, strBytes, log);
}

// How many characters of more than one byte UTF-8 finds in the text, how many of them Latin-1
// lacks, and how many bytes belong to none.
struct Utf8Count {
  std::size_t nGood = 0;
  std::size_t nOutsideLatin1 = 0;
  std::size_t nBad = 0;
};

bool IsTrail(char ch) { return (ch & '\xC0') == '\x80'; }

// The length of the well-formed character at the front, which is no ASCII; 0 if there is none.
std::size_t CharacterLength(std::string_view str) {
  const auto nLead = static_cast<unsigned char>(str[0]);
  const std::size_t nLength = nLead < 0xC2 ? 0 : nLead < 0xE0 ? 2 : nLead < 0xF0 ? 3 : 4;
  if (nLength == 0 || nLead > 0xF4 || str.size() < nLength) return 0;
  if (!std::all_of(str.begin() + 1, str.begin() + static_cast<long>(nLength), IsTrail)) return 0;
  const auto nSecond = static_cast<unsigned char>(str[1]);
  const bool bOverlong = (nLead == 0xE0 && nSecond < 0xA0) || (nLead == 0xF0 && nSecond < 0x90);
  const bool bOutside = (nLead == 0xED && nSecond > 0x9F) || (nLead == 0xF4 && nSecond > 0x8F);
  return bOverlong || bOutside ? 0 : nLength;
}

// With pOut what is well-formed is appended there.
Utf8Count CountUtf8(std::string_view str, DataBuffer* pOut = nullptr) {
  Utf8Count objCount;
  std::size_t nGoodFrom = 0;
  for (std::size_t n = 0; n < str.size();) {
    const bool bAscii = static_cast<unsigned char>(str[n]) < 0x80;
    const std::size_t nLength = bAscii ? 1 : CharacterLength(str.substr(n));
    if (!bAscii) ++(nLength != 0 ? objCount.nGood : objCount.nBad);
    objCount.nOutsideLatin1 += nLength > 1 && static_cast<unsigned char>(str[n]) > 0xC3;
    if (nLength == 0 && pOut != nullptr) {
      (void)pOut->append(str.substr(nGoodFrom, n - nGoodFrom));
      nGoodFrom = n + 1;
    }
    n += std::max<std::size_t>(nLength, 1);
  }
  if (pOut != nullptr) (void)pOut->append(str.substr(nGoodFrom));
  return objCount;
}

// Whether the syntax of a header, which is ASCII, is the same in the page: not so in EBCDIC, UTF-16
// and UTF-32. A page that does not convert passes.
bool KeepsSyntax(int nPage, LogBase& log) {
  constexpr std::string_view kSyntax = "A: b";
  EncodingConvert objConvert;
  DataBuffer out;
  return nPage == kUtf8 ||
         !objConvert.EncConvert(static_cast<unsigned>(nPage), kUtf8, kSyntax.data(), kSyntax.size(),
                                out, log) ||
         out.view() == kSyntax;
}

// Of a charset's name; 0 if it has none, or one that raw bytes of a header cannot be in.
int PageOfName(std::string_view strName, LogBase& log) {
  strName = strName.substr(0, strName.find('*'));  // a language may follow
  if (strName.size() < 3 || strName.size() > kLongestName) return 0;
  const int nPage = mail_charset::pageOf(strName);
  return isCharset(static_cast<unsigned>(nPage)) && KeepsSyntax(nPage, log) ? nPage : 0;
}

// The page named by the first encoded word of that kind.
int PageOfWord(std::string_view strHeader, char chKind, LogBase& log) {
  const std::size_t nMark = findWordMark(strHeader, 0, chKind);
  if (nMark == kNone) return 0;
  const std::size_t nReach = nMark > kLongestName + 2 ? nMark - kLongestName - 2 : 0;
  const std::string_view strBefore = strHeader.substr(nReach, nMark - nReach);
  const std::size_t nStart = strBefore.rfind("=?");
  return nStart == kNone ? 0 : PageOfName(strBefore.substr(nStart + 2), log);
}

// Where each name of the two tables first stands, found in one pass.
struct NamePositions {
  std::array<std::size_t, kCheckedNames.size()> aChecked;
  std::array<bool, kRawNames.size()> aRaw{};
};

// Which letters stand first and second in them: few places of a header pass both.
constexpr std::array<bool, 256> LettersAt(std::size_t nAt) {
  std::array<bool, 256> aLetters{};
  const auto add = [&](std::string_view strName) {
    const char ch = toLowerAscii(strName[nAt]);
    aLetters[static_cast<unsigned char>(ch)] = true;
    aLetters[static_cast<unsigned char>(ch - 32)] = true;
  };
  for (const CheckedName& obj : kCheckedNames) add(obj.strName);
  for (const RawName& obj : kRawNames) add(obj.strName);
  return aLetters;
}
constexpr auto kFirstLetters = LettersAt(0);
constexpr auto kSecondLetters = LettersAt(1);

NamePositions FindNames(std::string_view strHeader) {
  NamePositions objFound;
  objFound.aChecked.fill(kNone);
  for (std::size_t n = 0; n + 1 < strHeader.size(); ++n) {
    if (!kFirstLetters[static_cast<unsigned char>(strHeader[n])]) continue;
    if (!kSecondLetters[static_cast<unsigned char>(strHeader[n + 1])]) continue;
    const std::string_view strRest = strHeader.substr(n);
    for (std::size_t i = 0; i < kCheckedNames.size(); ++i) {
      if (objFound.aChecked[i] != kNone) continue;
      if (beginsWithNoCase(strRest, kCheckedNames[i].strName)) objFound.aChecked[i] = n;
    }
    for (std::size_t i = 0; i < kRawNames.size(); ++i) {
      if (!objFound.aRaw[i]) {
        objFound.aRaw[i] = beginsWithNoCase(strRest, kRawNames[i].strName);
      }
    }
  }
  return objFound;
}

// The page that such a name at nAt stands for, or 0: "iso-8859-15" is another name.
int PageAt(std::string_view strHeader, const CheckedName& objName, std::size_t nAt) {
  if (nAt == kNone) return 0;
  if (objName.chFirst == 0) return objName.nCodePage;
  const std::string_view strNumber = strHeader.substr(nAt + objName.strName.size());
  const char ch = strNumber.empty() ? '\0' : strNumber[0];
  const bool bLonger = strNumber.size() > 1 && strNumber[1] >= '0' && strNumber[1] <= '9';
  if (bLonger || ch < objName.chFirst || ch > objName.chLast) return 0;
  return objName.nCodePage + (ch - '0');
}

int PageOfFoundNames(std::string_view strHeader, LogBase& log) {
  const NamePositions objFound = FindNames(strHeader);
  for (std::size_t i = 0; i < kCheckedNames.size(); ++i) {
    const int nPage = PageAt(strHeader, kCheckedNames[i], objFound.aChecked[i]);
    if (nPage != 0 && CanBeIn(nPage, strHeader, log)) return nPage;
  }
  const auto it = std::find(objFound.aRaw.begin(), objFound.aRaw.end(), true);
  return it == objFound.aRaw.end()
             ? 0
             : kRawNames[static_cast<std::size_t>(it - objFound.aRaw.begin())].nCodePage;
}

// Whether a header that names a page of ISO 8859 is UTF-8: programs that put a mail together wrote
// its body in the one and its fields in the other. Capitals with signs behind them are no text of
// Latin-1, though one such pair may be; in other pages they are letters, but no text has controls.
bool IsUtf8AllTheSame(std::string_view strHeader, int nPage) {
  if (nPage < kLatin1 || nPage > kLatin9) return false;
  const Utf8Count objCount = CountUtf8(strHeader);
  if (objCount.nBad != 0) return false;
  if (nPage != kLatin1) return encoded_words::holdsC1Controls(strHeader);
  return objCount.nGood > 1 || objCount.nOutsideLatin1 != 0;
}

int PageOfNames(std::string_view strHeader, LogBase& log) {
  const int nPage = PageOfFoundNames(strHeader, log);
  return IsUtf8AllTheSame(strHeader, nPage) ? kUtf8 : nPage;
}

// The last Content-Type of the header, which is the one that counts.
std::string_view OwnContentType(std::string_view strHeader) {
  constexpr std::string_view kName = "content-type:";
  std::string_view strField;
  for (std::size_t nLine = 0; nLine < strHeader.size();) {
    const std::string_view strRest = strHeader.substr(nLine);
    if (beginsWithNoCase(strRest, kName)) strField = strRest.substr(kName.size());
    nLine = std::min(strHeader.find('\n', nLine), strHeader.size() - 1) + 1;
  }
  for (std::size_t n = 0; (n = strField.find('\n', n)) != kNone;) {
    const char ch = ++n < strField.size() ? strField[n] : '\0';
    if (ch != ' ' && ch != '\t') return strField.substr(0, n);
  }
  return strField;
}

// The page of the entity's own text, if the header is in it. UTF-8 shows by itself, and no bytes of
// 8 bits are in charsets of 7.
int PageOfOwnType(std::string_view strHeader, LogBase& log) {
  const std::string_view strValue = OwnContentType(strHeader);
  if (strValue.empty()) return 0;
  _ckContentType objType;
  objType.load(strValue, log);
  const int nPage = PageOfName(objType.charsetName().view(), log);
  const bool b7bitPage =
      nPage == kAscii || nPage == kHz || nPage == kUtf7 || isIso2022(static_cast<unsigned>(nPage));
  if (nPage == 0 || nPage == kUtf8 || b7bitPage) return 0;
  return CanBeIn(nPage, strHeader, log) ? nPage : 0;
}

// The lead bytes of Western letters in UTF-8, with another 8-bit byte behind them.
bool HasUtf8Lead(std::string_view strHeader) {
  const auto it = std::adjacent_find(strHeader.begin(), strHeader.end(), [](char a, char b) {
    return (a == '\xC2' || a == '\xC3') && static_cast<unsigned char>(b) >= 0x80;
  });
  return it != strHeader.end();
}

bool LooksLikeUtf8(std::string_view strHeader) {
  std::size_t n8bit = 0;
  std::size_t nImprobable = 0;
  for (const char ch : strHeader) {
    n8bit += static_cast<unsigned char>(ch) >= 0x80;
    nImprobable += header_charset::isImprobable(static_cast<unsigned char>(ch));
  }
  return (n8bit < 4 && nImprobable >= 1) || (n8bit < 11 && nImprobable >= 3) || nImprobable >= 4;
}

int PageByBytes(std::string_view strHeader, LogBase& log) {
  if (HasUtf8Lead(strHeader)) return kUtf8;
  // Text whose every 8-bit byte makes sense as UTF-8 is hardly anything else.
  if (CountUtf8(strHeader).nBad == 0) return kUtf8;
  const auto nAnsi = static_cast<int>(platform::AnsiCodePage());
  if (CanBeIn(nAnsi, strHeader, log)) return LooksLikeUtf8(strHeader) ? kUtf8 : nAnsi;
  if (CanBeIn(kLatin1, strHeader, log)) return kLatin1;
  return CanBeIn(kLatin2, strHeader, log) ? kLatin2 : 0;
}

int PageOf8bitHeader(std::string_view strHeader, int nKnownCodePage, std::string_view strClue,
                     LogBase& log) {
  if (nKnownCodePage != 0) return nKnownCodePage;
  if (const int nPage = PageOfNames(strHeader, log); nPage != 0) return nPage;
  if (const int nPage = PageOfName(strClue, log); nPage != 0 && nPage != kAscii) return nPage;
  if (const int nPage = PageOfOwnType(strHeader, log); nPage != 0) return nPage;
  return PageByBytes(strHeader, log);
}

bool HasJapaneseEscapes(std::string_view strHeader) {
  for (std::size_t n = 0; (n = strHeader.find('\x1B', n)) != kNone; ++n) {
    const std::string_view strEscape = strHeader.substr(n + 1, 2);
    if (strEscape == "$B" || strEscape == "(B") return true;
  }
  return false;
}

// What the field is in if it claims to be UTF-8 and is not, by the ANSI page or else by Latin-1.
bool ConvertOtherThanUtf8(std::string_view strField, DataBuffer& out, LogBase& log) {
  const std::uint32_t nBefore = out.getSize();
  if (convertsCleanly(platform::AnsiCodePage(), kUtf8, strField, out, log)) return true;
  out.chop(out.getSize() - nBefore);
  return convertsCleanly(kLatin1, kUtf8, strField, out, log);
}

bool TakeUtf8(std::string_view strField, DataBuffer& out, LogBase& log) {
  const Utf8Count objCount = CountUtf8(strField);
  if (objCount.nBad == 0) return out.append(strField);
  if (objCount.nBad > objCount.nGood) return ConvertOtherThanUtf8(strField, out, log);
  (void)CountUtf8(strField, &out);
  return true;
}

}  // namespace

int decideHeaderCodePage(std::string_view strHeader, int nKnownCodePage, std::string_view strClue,
                         bool& bRawJapanese, LogBase& log) {
  const bool b7bit = isSevenBit(strHeader);
  int nPage = 0;
  if (hasEncodedWords(strHeader)) {
    nPage = PageOfWord(strHeader, 'Q', log);
    if (nPage == 0) nPage = PageOfWord(strHeader, 'B', log);
  }
  // Bytes of 8 bits are not what words in ASCII stand for.
  if (!b7bit && (nPage == 0 || nPage == kAscii)) {
    nPage = PageOf8bitHeader(strHeader, nKnownCodePage, strClue, log);
  }
  bRawJapanese = (b7bit || nPage == kIso2022Jp) && HasJapaneseEscapes(strHeader);
  return bRawJapanese ? kUtf8 : nPage;
}

bool convertRawJapanese(std::string_view strHeader, DataBuffer& out, LogBase& log) {
  EncodingConvert objConvert;
  return objConvert.EncConvert(kIso2022Jp2, kUtf8, strHeader.data(), strHeader.size(), out, log);
}

bool convertFieldToUtf8(std::string_view strField, int nCodePage, DataBuffer& out, LogBase& log) {
  if (strField.find(kSignature) != kNone) {
    StringBuffer strUnsigned(strField);
    (void)strUnsigned.replaceAll(kSignature, "");
    return TakeUtf8(strUnsigned.view(), out, log);
  }
  if (nCodePage == kUtf8) return TakeUtf8(strField, out, log);
  // Names go out as they are stored: one in UTF-8 would otherwise double at each rewriting.
  const std::string_view strName = strField.substr(0, strField.find(':'));
  if (!isSevenBit(strName) && CountUtf8(strName).nBad == 0) {
    if (!out.append(strName)) return false;
    strField.remove_prefix(strName.size());
  }
  if (nCodePage == 0) {
    (void)CountUtf8(strField, &out);
    return true;
  }
  if (nCodePage == kLatin1) return encoded_words::toUtf8(kLatin1, strField, out, log);
  EncodingConvert objConvert;
  const std::uint32_t nBefore = out.getSize();
  (void)objConvert.EncConvert(static_cast<unsigned>(nCodePage), kUtf8, strField.data(),
                              strField.size(), out, log);
  if (out.getSize() != nBefore) return true;
  return TakeUtf8(strField, out, log);  // a page that does not convert
}

}  // namespace mail
