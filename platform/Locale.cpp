#include "platform/Locale.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace platform {
namespace {

// One row a language; a row with a territory or script stands in front of the language's general
// one and wins over it.
struct PageRow {
  std::string_view strLanguage;
  std::string_view strQualifier;  // territory or script, empty for all others
  CodePages objPages;
};

constexpr auto kPages = std::to_array<PageRow>({
    {"af", "", {1252, 850}},   {"ar", "", {1256, 720}},     {"az", "Cyrl", {1251, 866}},
    {"az", "", {1254, 857}},   {"be", "", {1251, 866}},     {"bg", "", {1251, 866}},
    {"br", "", {1252, 850}},   {"bs", "Cyrl", {1251, 855}}, {"bs", "", {1250, 852}},
    {"ca", "", {1252, 850}},   {"ckb", "", {1256, 720}},    {"cs", "", {1250, 852}},
    {"cy", "", {1252, 850}},   {"da", "", {1252, 850}},     {"de", "", {1252, 850}},
    {"el", "", {1253, 737}},   {"en", "AU", {1252, 850}},   {"en", "BZ", {1252, 850}},
    {"en", "CA", {1252, 850}}, {"en", "GB", {1252, 850}},   {"en", "IE", {1252, 850}},
    {"en", "JM", {1252, 850}}, {"en", "NZ", {1252, 850}},   {"en", "TT", {1252, 850}},
    {"en", "", {1252, 437}},   {"es", "", {1252, 850}},     {"et", "", {1257, 775}},
    {"eu", "", {1252, 850}},   {"fa", "", {1256, 720}},     {"fi", "", {1252, 850}},
    {"fo", "", {1252, 850}},   {"fr", "", {1252, 850}},     {"fy", "", {1252, 850}},
    {"ga", "", {1252, 850}},   {"gd", "", {1252, 850}},     {"gl", "", {1252, 850}},
    {"he", "", {1255, 862}},   {"hr", "", {1250, 852}},     {"hu", "", {1250, 852}},
    {"id", "", {1252, 850}},   {"is", "", {1252, 850}},     {"it", "", {1252, 850}},
    {"iw", "", {1255, 862}},   {"ja", "", {932, 932}},      {"kk", "", {1251, 866}},
    {"kl", "", {1252, 850}},   {"ko", "", {949, 949}},      {"ky", "", {1251, 866}},
    {"lb", "", {1252, 850}},   {"lt", "", {1257, 775}},     {"lv", "", {1257, 775}},
    {"mk", "", {1251, 866}},   {"mn", "", {1251, 866}},     {"ms", "", {1252, 850}},
    {"nb", "", {1252, 850}},   {"nl", "", {1252, 850}},     {"nn", "", {1252, 850}},
    {"no", "", {1252, 850}},   {"oc", "", {1252, 850}},     {"pl", "", {1250, 852}},
    {"pt", "", {1252, 850}},   {"rm", "", {1252, 850}},     {"ro", "", {1250, 852}},
    {"ru", "", {1251, 866}},   {"se", "", {1252, 850}},     {"sk", "", {1250, 852}},
    {"sl", "", {1250, 852}},   {"sq", "", {1250, 852}},     {"sr", "Latn", {1250, 852}},
    {"sr", "", {1251, 855}},   {"sv", "", {1252, 850}},     {"tg", "", {1251, 866}},
    {"th", "", {874, 874}},    {"tk", "", {1250, 852}},     {"tr", "", {1254, 857}},
    {"tt", "", {1251, 866}},   {"ug", "", {1256, 720}},     {"uk", "", {1251, 866}},
    {"ur", "", {1256, 720}},   {"uz", "Cyrl", {1251, 866}}, {"uz", "", {1254, 857}},
    {"vi", "", {1258, 1258}},  {"wo", "", {1252, 850}},     {"zh", "HK", {950, 950}},
    {"zh", "MO", {950, 950}},  {"zh", "TW", {950, 950}},    {"zh", "", {936, 936}},
});

constexpr bool LanguagesAscend() {
  for (size_t i = 1; i < kPages.size(); ++i) {
    if (kPages[i].strLanguage < kPages[i - 1].strLanguage) return false;
  }
  return true;
}
static_assert(LanguagesAscend());

bool IsLetter(char ch) { return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z'); }

std::string InCase(std::string_view str, bool bUpper) {
  std::string strResult(str);
  for (char& ch : strResult) {
    if (IsLetter(ch)) ch = static_cast<char>(bUpper ? ch & ~0x20 : ch | 0x20);
  }
  return strResult;
}

}  // namespace

UserLocale ParseLocaleName(std::string_view strName) {
  const std::string_view strModifier = strName.substr(std::min(strName.find('@'), strName.size()));
  const std::string_view strBase = strName.substr(0, strName.find_first_of(".@"));
  const size_t nBreak = std::min(strBase.find_first_of("_-"), strBase.size());
  const std::string_view strLanguage = strBase.substr(0, nBreak);
  const bool bLanguage = (strLanguage.size() == 2 || strLanguage.size() == 3) &&
                         std::all_of(strLanguage.begin(), strLanguage.end(), IsLetter);
  if (!bLanguage) return {};  // C and POSIX among them
  UserLocale objLocale;
  objLocale.strLanguage = InCase(strLanguage, /*bUpper=*/false);
  objLocale.strTerritory = InCase(strBase.substr(std::min(nBreak + 1, strBase.size())), true);
  if (strModifier == "@latin") objLocale.strScript = "Latn";
  if (strModifier == "@cyrillic") objLocale.strScript = "Cyrl";
  return objLocale;
}

UserLocale CurrentUserLocale() {
  for (const char* pszVariable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* pszValue = std::getenv(pszVariable);
    if (pszValue && *pszValue) return ParseLocaleName(pszValue);
  }
  return {};
}

CodePages CodePagesOf(const UserLocale& objLocale) {
  for (const PageRow& objRow : kPages) {
    if (objRow.strLanguage != objLocale.strLanguage) continue;
    if (objRow.strQualifier.empty() || objRow.strQualifier == objLocale.strTerritory ||
        objRow.strQualifier == objLocale.strScript) {
      return objRow.objPages;
    }
  }
  return {};
}

}  // namespace platform
