#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/COleDateTime.h"
#include "tests/support/TimeZone.h"

namespace {

// Sets the user's locale; the texts of the test are read under it.
class DateText : public testing::Test {
 protected:
  DateText() { unsetenv("LC_CTYPE"); }
  ~DateText() override { unsetenv("LC_ALL"); }

  static std::string Read(const char* locale, const std::u16string& text) {
    setenv("LC_ALL", locale, 1);
    const COleDateTime date = platform::ParseDateText(text);
    return date.Format(u"%Y-%m-%d %H:%M:%S").ToUtf8();
  }
};

constexpr char kDay[] = "2024-03-05 00:00:00";
constexpr char kAfternoon[] = "2024-03-05 13:05:00";

TEST_F(DateText, NumbersStandInTheLocalesOrder) {
  for (const char16_t* text :
       {u"3/5/2024", u"03-05-2024", u"3.5.24", u"3 5 24", u"03 / 05 / 2024"}) {
    EXPECT_EQ(Read("C.UTF-8", text), kDay);
    EXPECT_EQ(Read("en_US.UTF-8", text), kDay);
    EXPECT_EQ(Read("de_DE.UTF-8", text), "2024-05-03 00:00:00");
  }
  EXPECT_EQ(Read("en_GB", u"05/03/2024"), kDay);
  EXPECT_EQ(Read("ja_JP.UTF-8", u"24/3/5"), kDay);
  EXPECT_EQ(Read("hu_HU.UTF-8", u"2024. 03. 05."), kDay);
  EXPECT_EQ(Read("ar_EG.UTF-8", u"5/3/2024"), kDay);
  EXPECT_EQ(Read("fa_IR.UTF-8", u"2024/3/5"), kDay);
}

TEST_F(DateText, AYearOfFourDigitsMayLeadEverywhere) {
  for (const char* locale : {"en_US", "de_DE", "ja_JP"}) {
    EXPECT_EQ(Read(locale, u"2024/03/05"), kDay);
    EXPECT_EQ(Read(locale, u"2024-3-5"), kDay);
  }
}

TEST_F(DateText, PartsChangePlacesWhereOnlyThatIsADate) {
  EXPECT_EQ(Read("en_US", u"13/4/2024"), "2024-04-13 00:00:00");
  EXPECT_EQ(Read("de_DE", u"4/13/2024"), "2024-04-13 00:00:00");
  EXPECT_EQ(Read("en_US", u"12/4/2024"), "2024-12-04 00:00:00");
  EXPECT_EQ(Read("en_US", u"45/4/13"), "1945-04-13 00:00:00");
  EXPECT_EQ(Read("en_US", u"2024-13-04"), "2024-04-13 00:00:00");
  EXPECT_EQ(Read("ja_JP", u"4/13/2024"), "2024-04-13 00:00:00");
  EXPECT_EQ(Read("en_US", u"45 March 3"), "1945-03-03 00:00:00");
}

TEST_F(DateText, OfTwoPartsTheRestIsFilledIn) {
  const std::string year = COleDateTime::GetCurrentTime().Format(u"%Y").ToUtf8();
  for (const char16_t* text : {u"03/15", u"15/3", u"3-15", u"Mar 15", u"15 March", u"15.3."}) {
    EXPECT_EQ(Read("en_US", text), year + "-03-15 00:00:00") << CString(text).ToUtf8();
    EXPECT_EQ(Read("de_DE", text), year + "-03-15 00:00:00") << CString(text).ToUtf8();
  }
  EXPECT_EQ(Read("en_US", u"4/5"), year + "-04-05 00:00:00");
  EXPECT_EQ(Read("de_DE", u"4/5"), year + "-05-04 00:00:00");
  EXPECT_EQ(Read("ja_JP", u"4/5 13:05"), year + "-04-05 13:05:00");
  for (const char16_t* text : {u"3/2024", u"2024/3", u"Mar 2024", u"March, 2024", u"2024-Mar"}) {
    EXPECT_EQ(Read("en_US", text), "2024-03-01 00:00:00") << CString(text).ToUtf8();
    EXPECT_EQ(Read("ja_JP", text), "2024-03-01 00:00:00") << CString(text).ToUtf8();
  }
  EXPECT_EQ(Read("en_US", u"2/30"), "1930-02-01 00:00:00");
  EXPECT_EQ(Read("en_US", u"Mar 5 13:05"), year + "-03-05 13:05:00");
  for (const char16_t* text : {u"13/45", u"3 5", u"3.5", u"3,5", u"March", u"0/2024"}) {
    EXPECT_EQ(Read("en_US", text), "") << CString(text).ToUtf8();
  }
}

TEST_F(DateText, MarksBehindNumbersFixTheirPlace) {
  for (const char* locale : {"ja_JP", "zh_CN", "en_US"}) {
    EXPECT_EQ(Read(locale, u"2024\u5E743\u67085\u65E5"), kDay);
    EXPECT_EQ(Read(locale, u"2024\u5E743\u67085\u65E5 13:05"), kAfternoon);
    EXPECT_EQ(Read(locale, u"2024\u5E7411\u6708"), "2024-11-01 00:00:00");
  }
  EXPECT_EQ(Read("ko_KR", u"2024\uB144 3\uC6D4 5\uC77C"), kDay);
  EXPECT_EQ(Read("ja_JP", u"24\u5E743\u67085\u65E5"), kDay);
  EXPECT_EQ(Read("ja_JP", u"3\u67085\u6708"), "");
}

TEST_F(DateText, TwoDigitYearsTurnAtThirty) {
  EXPECT_EQ(Read("C", u"1/1/00"), "2000-01-01 00:00:00");
  EXPECT_EQ(Read("C", u"1/1/29"), "2029-01-01 00:00:00");
  EXPECT_EQ(Read("C", u"1/1/30"), "1930-01-01 00:00:00");
  EXPECT_EQ(Read("C", u"1/1/99"), "1999-01-01 00:00:00");
  EXPECT_EQ(Read("C", u"1/1/5"), "2005-01-01 00:00:00");
  EXPECT_EQ(Read("C", u"1/1/124"), "0124-01-01 00:00:00");
  EXPECT_EQ(Read("C", u"1/1/099"), "");
}

TEST_F(DateText, MonthsHaveNamesInTheLocalesLanguageAndInEnglish) {
  for (const char16_t* text : {u"5 March 2024", u"March 5, 2024", u"5-Mar-24", u"MAR 5 2024",
                               u"2024 march 5", u"5.Mar.2024", u"5 Mar. 2024"}) {
    EXPECT_EQ(Read("C", text), kDay);
    EXPECT_EQ(Read("ru_RU.UTF-8", text), kDay);
  }
  EXPECT_EQ(Read("de_DE", u"5. März 2024"), kDay);
  EXPECT_EQ(Read("de_DE", u"5. Sept. 2024"), "2024-09-05 00:00:00");
  EXPECT_EQ(Read("fr_FR", u"5 févr. 2024"), "2024-02-05 00:00:00");
  EXPECT_EQ(Read("ru_RU", u"5 марта 2024"), kDay);
  EXPECT_EQ(Read("ru_RU", u"5 Март 24"), kDay);
  EXPECT_EQ(Read("pl_PL", u"5 marca 2024"), kDay);
  EXPECT_EQ(Read("C", u"5 März 2024"), "");
  EXPECT_EQ(Read("C", u"5 Marching 2024"), "");
  EXPECT_EQ(Read("C", u"March May 2024"), "");
}

TEST_F(DateText, ATimeStandsBeforeOrBehindOrAlone) {
  for (const char16_t* text :
       {u"3/5/2024 13:05", u"3/5/2024 1:05 PM", u"13:05:00 3/5/2024", u"1:05pm March 5, 2024",
        u"3/5/2024, 1:05 PM", u"March 5, 2024, 13:05", u"  3/5/24\t01:05:00\u202Fpm "}) {
    EXPECT_EQ(Read("C", text), kAfternoon);
  }
  EXPECT_EQ(Read("C", u"3/5/2024 1 PM"), "2024-03-05 13:00:00");
  EXPECT_EQ(Read("C", u"12am March 5, 2024"), "2024-03-05 00:00:00");
  EXPECT_EQ(Read("ko_KR", u"2024. 3. 5. 오후 1:05"), kAfternoon);
  EXPECT_EQ(Read("es_ES", u"5/3/2024 1:05 p.\u00A0m."), kAfternoon);
  EXPECT_EQ(Read("es_ES", u"5/3/2024 1:05 p. m."), kAfternoon);
  EXPECT_EQ(Read("C", u"12:30 AM"), "1899-12-30 00:30:00");
  EXPECT_EQ(Read("C", u"12:30:09 pm"), "1899-12-30 12:30:09");
  for (const char16_t* text : {u"13:05 PM", u"0:30 AM", u"24:00", u"12:60", u"12:00:60",
                               u"1:05 PMX", u"1:05 2:05", u"1:", u"3/5/20241:05", u"3/5/2024 13",
                               u"3/5/2024 13 PM", u"3/5/2024,", u"3/5/2024,1:05", u"3/5/2024, 1"}) {
    EXPECT_EQ(Read("C", text), "");
  }
}

TEST_F(DateText, IsoIsReadInEveryLocale) {
  const test_support::TimeZone zone("Europe/Berlin");
  for (const char* locale : {"C", "de_DE", "ja_JP"}) {
    for (const char16_t* text :
         {u"2024-03-05 13:05:00", u"2024-03-05T13:05", u"20240305T130500",
          u"2024-03-05T13:05:00.999", u"2024-03-05T12:05:00Z", u"2024-03-05T14:05:00+02:00",
          u"20240305T0605-0600", u"2024-03-05T14:05:00+02"}) {
      EXPECT_EQ(Read(locale, text), kAfternoon);
    }
    EXPECT_EQ(Read(locale, u"2024-03-05"), kDay);
  }
  EXPECT_EQ(Read("C", u"2024-03-05T13:05:00+25:00"), "");
  EXPECT_EQ(Read("C", u"2024-03-05T13:05:00ZZ"), "");
}

TEST_F(DateText, ADayThatNoCalendarHasAndAnythingElseIsInvalid) {
  for (const char16_t* text :
       {u"2/30/2024",  u"30 February 2024", u"2024-02-30",    u"2/29/2023",  u"13/13/2024",
        u"0/1/2024",   u"1/0/2024",         u"yesterday",     u"3/5/2024/1", u"3//5/2024",
        u"3/5-2024",   u"3,5,2024",         u"03052024",      u"99999/1/1",  u"1/1/99999",
        u"3/5/2024 x", u"-3/5/2024",        u"\u0663/5/2024", u"",           u" "}) {
    EXPECT_EQ(Read("C", text), "") << CString(text).ToUtf8();
  }
  EXPECT_EQ(Read("C", std::u16string(1000000, u'1')), "");
}

}  // namespace
