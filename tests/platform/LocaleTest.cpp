#include "platform/Locale.h"

#include <gtest/gtest.h>

#include "charset/LibraryNarrow.h"
#include "platform/NarrowText.h"

namespace {

std::pair<unsigned, unsigned> Pages(std::string_view name) {
  const auto pages = platform::CodePagesOf(platform::ParseLocaleName(name));
  return {pages.nAnsi, pages.nOem};
}
using Pair = std::pair<unsigned, unsigned>;

TEST(Locale, CodePagesFollowTheLanguageAndNeverTheNamesCharset) {
  for (const char* name : {"", "C", "POSIX", "C.UTF-8", "POSIX.utf8", "en_US.UTF-8", "_", "x", "@",
                           "1234_56", "hy_AM.UTF-8"}) {
    EXPECT_EQ(Pages(name), Pair(1252, 437)) << name;
  }
  EXPECT_EQ(Pages("en_GB.UTF-8"), Pair(1252, 850));
  EXPECT_EQ(Pages("de_AT"), Pair(1252, 850));
  EXPECT_EQ(Pages("ru_RU.KOI8-R"), Pair(1251, 866));
  EXPECT_EQ(Pages("pl_PL.UTF-8"), Pair(1250, 852));
  EXPECT_EQ(Pages("ja_JP.eucJP"), Pair(932, 932));
  EXPECT_EQ(Pages("zh_TW.UTF-8"), Pair(950, 950));
  EXPECT_EQ(Pages("zh_CN.UTF-8"), Pair(936, 936));
  EXPECT_EQ(Pages("tr_TR.UTF-8"), Pair(1254, 857));
  EXPECT_EQ(Pages("sr_RS.UTF-8@latin"), Pair(1250, 852));
  EXPECT_EQ(Pages("sr_RS.UTF-8"), Pair(1251, 855));
  EXPECT_EQ(Pages("uz_UZ@cyrillic"), Pair(1251, 866));
}

TEST(Locale, TheFirstVariableThatIsNotEmptyNamesIt) {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) unsetenv(name);
  EXPECT_EQ(platform::CurrentUserLocale().strLanguage, "en");
  setenv("LANG", "fr_CA.UTF-8", 1);
  setenv("LC_ALL", "", 1);
  EXPECT_EQ(platform::CurrentUserLocale().strTerritory, "CA");
  setenv("LC_CTYPE", "C.UTF-8", 1);
  EXPECT_EQ(platform::CurrentUserLocale().strLanguage, "en");
  setenv("LC_ALL", "de_DE", 1);
  EXPECT_EQ(platform::CurrentUserLocale().strLanguage, "de");
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) unsetenv(name);
}

TEST(NarrowText, ConvertsInTheAnsiPageThatWasSet) {
  mail::installLibraryNarrow();
  platform::SetAnsiCodePage(932);
  EXPECT_EQ(platform::NarrowToWide("\x83\x65\x83"), u"テ\uFFFD");
  EXPECT_EQ(platform::WideToNarrow(u"a\U0001F600テ\xD800é"), "a\x83\x65");
  platform::SetAnsiCodePage(1252);
  EXPECT_EQ(platform::NarrowToWide("\x80\x81\xFF"), u"€\uFFFDÿ");
  EXPECT_EQ(platform::WideToNarrow(u"ÿ"), "\xFF");
  platform::SetAnsiCodePage(0);
}

}  // namespace
