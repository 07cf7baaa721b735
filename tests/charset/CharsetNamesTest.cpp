#include <gtest/gtest.h>

#include <set>
#include <string>

#include "charset/CharsetNames.h"
#include "charset/CharsetNamesTable.h"
#include "charset/CkCharset.h"
#include "platform/NarrowText.h"

namespace {

using namespace mail;

struct CharsetNames : testing::Test {
  CharsetNames() { platform::SetAnsiCodePage(1252); }
  ~CharsetNames() override { platform::SetAnsiCodePage(0); }

  static int Page(std::string_view name) {
    StringBuffer buffer(name);
    return nameToCodePage(buffer);
  }
  static std::string Name(int page) {
    StringBuffer name("untouched");
    const bool written = codePageToName(page, name);
    EXPECT_EQ(written, name.view() != "untouched");
    return std::string(name.view());
  }
};

TEST_F(CharsetNames, AreFoundInAnySpelling) {
  const struct {
    const char* name;
    int page;
  } rows[] = {{"iso-8859-1", 28591},
              {" \tISO_8859-1\r\n", 28591},
              {"'UTF-8'", 65001},
              {"\"utf-8\"", 65001},
              {"bom-utf-8", 65001},
              {"no-bom-utf-8", 65001},
              {"utf-bom-8", 65001},
              {"shift_jis", 932},
              {"shift-jis", 932},
              {"ks_c_5601-1987", 949},
              {"gb18030", 936},
              {"csiso2022jp", 50220},
              {"iso-2022-jp", 50220},
              {"iso-2022-jp-1", 50221},
              {"iso-2022-jp-2", 50222},
              {"utf-32", 12000},
              {"utf-32be", 12001},
              {"cp875", 875},
              {"iso-8859-8 visual", 28598},
              {"x-user-defined", 50000},
              {"url_oauth", 14},
              {"modBase64", 10},
              {"thumbprint", 18},
              {"base64_mime", 24},
              {"hex", 3},
              {"hexadecimal", 3},
              {"oem", 0},
              {"utf-9", 0},
              {"iso-8859-1x", 0},
              {"iso-8859-", 0},
              {"zzzz", 0},
              {"+++", 0}};
  for (const auto& row : rows) {
    EXPECT_EQ(Page(row.name), row.page) << row.name;
    EXPECT_EQ(isKnownCharset(row.name), row.page != 0) << row.name;
  }
}

TEST_F(CharsetNames, OfTwoLettersAndNoneAreTheAnsiPage) {
  platform::SetAnsiCodePage(1251);
  for (const char* name : {"", "l1", "l9", "us", "qp", "uu", "\"l1\"", "ansi", "ANSI", "bom-"}) {
    EXPECT_EQ(Page(name), 1251) << name;
  }
}

TEST_F(CharsetNames, AreNormalisedInPlace) {
  StringBuffer name("\t\"Shift_JIS\xC4\xC3\x84\" ");
  EXPECT_EQ(nameToCodePage(name), 0);
  EXPECT_EQ(name.view(), "shift-jis\xE4\xC3\x84");  // the last two bytes are a character of UTF-8
}

TEST_F(CharsetNames, CrossAsPublished) {
  EXPECT_EQ(Name(50220), "iso-2022-jp");
  EXPECT_EQ(Name(50221), "csiso2022jp");
  EXPECT_EQ(Name(50222), "iso-2022-jp");
  EXPECT_EQ(Name(54936), "gb18030");
  EXPECT_EQ(Name(65005), "utf-32");
  EXPECT_EQ(Name(65006), "utf-32be");
  for (const int page : {-1, 0, 100, 709, 875, 51950, 57011, 65002, 1 << 30}) {
    EXPECT_EQ(Name(page), "untouched") << page;
  }
}

TEST_F(CharsetNames, EveryOtherWrittenNameReadsAsItsPage) {
  for (const CharsetRow& row : kCharsetRows) {
    if (row.strWritten.empty()) continue;
    EXPECT_EQ(Name(row.nCodePage), row.strWritten);
    EXPECT_EQ(Page(row.strWritten), row.nCodePage);
  }
}

TEST_F(CharsetNames, NumbersOfEncodingsWriteAName) {
  const std::set<int> named = {2,  3,  4,  7,  8,  10, 11, 12, 13, 14,
                               17, 18, 19, 20, 21, 22, 23, 24, 37};
  for (int page = 1; page < 100; ++page) {
    EXPECT_EQ(Name(page) == "base64", named.count(page) == 0) << page;
  }
  EXPECT_EQ(Name(10), "modBase64");
  EXPECT_EQ(Name(11), "url_rfc1738");
  EXPECT_EQ(Name(18), "fingerprint");
}

TEST_F(CharsetNames, ACharsetTakesAName) {
  const struct {
    const char* name;
    bool known;
    int page;
    const char* written;
    int bom;
  } rows[] = {{nullptr, true, 1252, "windows-1252", 0},
              {"", true, 1252, "windows-1252", 0},
              {"Ansi", true, 1252, "windows-1252", 0},
              {"default", true, 0, "", 0},
              {"x-user-defined", true, 0, "", 0},
              {"Default", false, 0, "", 0},
              {"X-User-Defined", true, 50000, "", 0},
              {"bom-utf8", true, 65001, "utf-8", 1},
              {"bom:utf8", true, 65001, "utf-8", 1},
              {"no-bom:utf8", true, 65001, "utf-8", 2},
              {"no-bom-l1", true, 1252, "windows-1252", 2},
              {"cp875", true, 875, "", 0},
              {"BOM:utf8", false, 0, "", 0},
              {"nonsense", false, 0, "", 0}};
  _ckCharset charset;
  for (const auto& row : rows) {
    EXPECT_EQ(charset.setByName(row.name), row.known) << (row.name ? row.name : "(null)");
    EXPECT_EQ(charset.getCodePage(), row.page);
    EXPECT_EQ(charset.getName().view(), row.written);
    EXPECT_EQ(charset.getBomMode(), row.bom);
  }
  ASSERT_TRUE(charset.setByName("OEM"));
  EXPECT_EQ(charset.getCodePage(), static_cast<int>(platform::OemCodePage()));
}

TEST_F(CharsetNames, ACharsetTakesAPageAndKeepsItsBomMode) {
  _ckCharset charset;
  ASSERT_TRUE(charset.setByName("bom-utf-8"));
  charset.setByCodePage(936);
  EXPECT_TRUE(charset.equalsName("GB2312"));
  const _ckCharset copy = charset;
  charset.setByCodePage(875);  // writes no name
  EXPECT_EQ(charset.getCodePage(), 0);
  EXPECT_TRUE(charset.getName().isEmpty());
  EXPECT_EQ(charset.getBomMode(), 1);
  EXPECT_EQ(copy.getCodePage(), 936);
}

}  // namespace
