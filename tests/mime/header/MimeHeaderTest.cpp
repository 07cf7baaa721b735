#include "mime/header/MimeHeader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mime/header/CkContentType.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/WorkTime.h"

namespace {

using mail::MimeHeader;
using std::string;
using std::string_view;
using test_support::Repeated;
using test_support::silent;

// "name=value|name=value", after the page.
string Dump(const MimeHeader& header) {
  string dump = std::to_string(header.m_codePage);
  for (size_t n = 0; n < header.getCount(); ++n) {
    dump += '|';
    dump += header.at(n)->name().view();
    dump += '=';
    dump += header.at(n)->value().view();
  }
  return dump;
}

string Read(string_view text, int known = 0, string_view clue = "", string_view marker = "") {
  MimeHeader header;
  EXPECT_TRUE(header.loadMimeHeaderText(text, marker, known, clue, silent));
  return Dump(header);
}

struct Row {
  string_view text;
  string_view dump;
};

TEST(HeaderReading, TakesLinesAsTheyCome) {
  const Row rows[] = {
      {"A: 1\r\nB:2\r\n\r\nC: body", "0|A=1|B=2"},
      {"A: 1\nB: 2\n\nC: body", "0|A=1|B=2"},
      {"A: 1\rB: 2\r", "0|A=1|B=2"},
      {"A: 1\r\r\nB: 2\r\r\n", "0|A=1|B=2"},
      {"A: 1\nB: 2\r\nC: 3\n\r\nbody", "0|A=1|B=2|C=3"},
      {"A: 1\n\nB: 2\n\r\nC: 3", "0|A=1"},          // the earlier end counts
      {"A: 1\r\n B\r\n\tC\r\n\r\n", "0|A=1 B\tC"},  // white space of a continuation stays
      {"A: 1\r\nFrom me@x\r\n 2\r\nB: 3\r\n\r\n", "0|A=1 2|B=3"},
      {"From me@x\r\nA: 1\r\n\r\n", "0|A=1"},
      {"From me@x\r\n A: 1\r\nB: 2\r\n\r\n", "0|A=1|B=2"},  // it has no continuation
      {"no field\r\nA: 1\r\n: 2\r\n\r\n", "0|A=1|=2"},
      {" A: 1\r\nB c \"d\"<e>'f': 2\r\n\r\n", "0|A=1|B-c--d--e--f-=2"},
      {"\xEF\xBB\xBF"
       "A: 1\r\n\r\n",
       "0|A=1"},
      {"A: 1\r\nA: 2\r\na: 3\r\n\r\n", "0|A=1|A=2|a=3"},
      {"Content-Type: a/b\r\nA: 1\r\ncontent-TYPE: c/d\r\n\r\n", "0|content-TYPE=c/d|A=1"},
      {string_view("Content-Type: a/b\r\ncontent type\t\0 : c/d\r\n\r\n", 41),
       "0|content-type=c/d"},
      {string_view("\0 A\0B\0 \0: x\r\n\r\n", 15), "0|AB=x"},
      {string_view("B:\0 x\0y \0\r\n\r\n", 13), "0|B=xy"},  // and no blank that a NUL uncovers
      {"B: =?utf-8?q?=00_x=00y?=\r\n\r\n", "65001|B=xy"},
      {"Content-Type: a/b\r\nContent-Type: =?utf-8?Q?_?=\r\nA: 1\r\n\r\n", "65001|A=1"},
      {"Content-Type: a/b\r\n:\r\nContent-Type:\r\nContent-Type:\r\nContent-Type: c/d\r\n\r\n",
       "0|=|Content-Type=c/d"},
      {"", "0"},
      {"\r\n\r\nA: 1", "0"},
  };
  for (const Row& row : rows) EXPECT_EQ(Read(row.text), row.dump) << row.text;
  EXPECT_EQ(Read("A: 1\r\n--END--B: 2", 0, "", "--END--"), "0|A=1");
}

TEST(HeaderReading, TypesFieldsByName) {
  const Row rows[] = {
      {"subject: =?utf-8?Q?a=C3=A9?=\r\n\r\n", "65001|subject=a\xC3\xA9"},
      {"from: =?utf-8?Q?a=C3=A9?= <b@c>\r\n\r\n", "65001|from==?utf-8?Q?a=C3=A9?= <b@c>"},
      {"X: =?x-none?q?abc?=\r\n\r\n", "0|X=abc"},
      {"X: a=?utf-8?Q?=0D=0A_b=0D=0A?=\r\n\r\n", "65001|X=a b"},
      {"Content-Type: a/b;\r\n\tname=c\r\nReceived: a\r\n\tb\r\nX: a\r\n\tb\r\n\r\n",
       "0|Content-Type=a/b; name=c|Received=a b|X=a\tb"},
      {"Content-Disposition: a; filename*0=\"=?utf-8?Q?=C3\"; filename*1=\"=A9?=\"\r\n\r\n",
       "65001|Content-Disposition=a; filename=\"\xC3\xA9\""},
      {"Content-Type: a; name*0=\"=?utf-8?Q?=C3\"; name*1=\"=A9?=\"\r\n\r\n",
       "65001|Content-Type=a; name=\"\xC3\xA9\""},
      // What words hold ends no value.
      {"Content-Disposition: a; filename=\"=?utf-8?Q?a=22b=3Bc.pdf?=\"; x=y\r\n\r\n",
       "65001|Content-Disposition=a; filename=\"a\\\"b;c.pdf\"; x=y"},
      {"Content-Type: a; n=\"=?utf-8?Q?a\";=?= =?utf-8?B?Yg==?=\\\"\"; x=\"y\\z\"\r\n\r\n",
       "65001|Content-Type=a; n=\"a\\\";=b\\\"\"; x=\"y\\z\""},
      {"Content-Type: a; n==?utf-8?Q?a_b=3B?= (=?utf-8?Q?c?=);\t=?utf-8?Q?d?==e\r\n\r\n",
       "65001|Content-Type=a; n=\"a b;\" (c); d=e"},
      {"Content-Type: a; n==?utf-8?Q?b?=; m=\"=?utf-8?Q?c=3B?=; x=y\r\n\r\n",
       "65001|Content-Type=a; n=b; m=\"c;\"; x=y"},
      {"Content-Location: a?b==?utf-8?Q?c_d?=\r\n\r\n", "65001|Content-Location=a?b=c d"},
  };
  for (const Row& row : rows) EXPECT_EQ(Read(row.text), row.dump) << row.text;
}

// Each row is decided by the test after which it is named, though later ones would say otherwise.
TEST(HeaderReading, DecidesTheCodePageInOrder) {
  struct {
    string_view text;
    string_view dump;
    string_view clue = "";
    int known = 0;
  } rows[] = {
      {"A: =?koi8-r?Q?x?= \xC1", "20866|A=x \xD0\xB0", "big5", 65001},  // a word
      {"A: =?koi8-r?B?eA==?= =?big5?q?x?=", "950|A=xx"},                // Q before B
      {"A: http://x?q?y \xE9", "1252|A=http://x?q?y \xC3\xA9"},
      {"A: =?us-ascii?Q?x?= \xE9", "1252|A=x \xC3\xA9"},
      {"A: windows-1251", "0|A=windows-1251"},  // 7-bit: no decision
      {"A: windows-1251 \xC3\xA9", "65001|A=windows-1251 \xC3\xA9", "", 65001},
      {"A: koi8-r Windows-1251 \xE0", "1251|A=koi8-r Windows-1251 \xD0\xB0"},
      {"A: windows-1259 iso-8859-5 \xD0", "28595|A=windows-1259 iso-8859-5 \xD0\xB0"},
      {"A: windows-1251 koi8-u \x98", "21866|A=windows-1251 koi8-u \xE2\x89\xA4"},
      {"A: koi8-u \xC1", "21866|A=koi8-u \xD0\xB0"},
      {"A: gb2312 \xB0\xA1", "936|A=gb2312 \xE5\x95\x8A"},
      {"A: big5 GBK \xA4\x40", "950|A=big5 GBK \xE4\xB8\x80"},
      {"A: iso-8859-9 \xFD", "28599|A=iso-8859-9 \xC4\xB1"},
      {"A: \xC3\xA9", "1251|A=\xD0\x93\xC2\xA9", "windows-1251"},  // the clue
      {"A: \xC3\xA9", "65001|A=\xC3\xA9", "no such"},              // the lead of a letter
      {"A: \xC2\xA9", "65001|A=\xC2\xA9"},
      {"A: \xE9t\xE9", "1252|A=\xC3\xA9t\xC3\xA9"},
      {"A: \xE2\x82\xAC", "65001|A=\xE2\x82\xAC"},  // 3 and 1 improbable
      {"A: \xA5 1", "65001|A=\xC2\xA5 1"},          // and yet no UTF-8: read as ANSI
      {"A: \xE9\xE8\xE9\xA5\xA5", "1252|A=\xC3\xA9\xC3\xA8\xC3\xA9\xC2\xA5\xC2\xA5"},
      {"A: \x81\xE9", "28591|A=\xC2\x81\xC3\xA9"},  // what 1252 has not assigned
      {"A: \xD1\x81\xD0\xBD", "65001|A=\xD1\x81\xD0\xBD"},
      {"A: \x1B$B$\"\x1B(B!", "65001|A=\xE3\x81\x82!"},
      {"A: \x1B$B$\"", "65001|A=\xE3\x81\x82"},
      {"A: x\x1B(By", "65001|A=xy"},
      {"A: =?iso-2022-jp?Q?x?=\x1B$B$\"\x1B(B\xE9", "65001|A=x\xE3\x81\x82"},
      // EBCDIC and UTF-16 are read in words, and no header is in them.
      {"A: =?ibm037?Q?=C1?=", "0|A=A"},
      {"A: =?ibm500?Q?=C1?=\r\nB: \xE9", "1252|A=A|B=\xC3\xA9", "utf-16"},
      {"A: \xE9\r\nB: \xEF\xBB\xBF\xC3\xA9", "1252|A=\xC3\xA9|B=\xC3\xA9", "windows-1252"},
      {"A: \xC3\xA9\r\nB: \xFCng", "65001|A=\xC3\xA9|B=\xC3\xBCng"},     // two charsets
      {"S\xC3\xBC: =?koi8-r?Q?x?= \xC1", "20866|S\xC3\xBC=x \xD0\xB0"},  // a name in UTF-8
      {"S\xC1: =?koi8-r?Q?x?= \xC1", "20866|S\xD0\xB0=x \xD0\xB0"},
      {"A: \xC3\xA9\xC3\xA9\xC3", "65001|A=\xC3\xA9\xC3\xA9"},  // cut off
      // Its own type, where nothing around it and no list tells; a name that is not there does not.
      {"A: \xA4\xCB\r\ncontent-type: a/b;\r\n charset=\"x-euc-jp\"\r\nB: \xA4\xCB",
       "51932|A=\xE3\x81\xAB|content-type=a/b; charset=\"x-euc-jp\"|B=\xE3\x81\xAB"},
      {"A: \xC2\xA1\xE9\r\nContent-Type: a/b; charset=tis-620",
       "874|A=\xE0\xB8\xA2\xE0\xB8\x81\xE0\xB9\x89|Content-Type=a/b; charset=tis-620"},
      {"A: \xA4\r\nContent-Type: a/b; charset=ISO-8859-15",
       "28605|A=\xE2\x82\xAC|Content-Type=a/b; charset=ISO-8859-15"},
      {"A: \xE1\r\nContent-Type: a/b; charset=cp866",
       "1251|A=\xD0\xB1|Content-Type=a/b; charset=cp866", "windows-1251"},
      {"A: \xE9\xFF\r\nContent-Type: a/b; charset=euc-jp",
       "1252|A=\xC3\xA9\xC3\xBF|Content-Type=a/b; charset=euc-jp"},
      {"A: \xE9\r\nContent-Type: a/b; charset=iso-2022-jp",
       "1252|A=\xC3\xA9|Content-Type=a/b; charset=iso-2022-jp"},
      // Few letters of UTF-8 and no other byte.
      {"A: Zieli\xC5\x84ski", "65001|A=Zieli\xC5\x84ski"},
      {"A: x \xE2\x80\x94 y", "65001|A=x \xE2\x80\x94 y"},
      {"A: x \xE2\x80\x94 \xE9t\xE9",
       "1252|A=x \xC3\xA2\xE2\x82\xAC\xE2\x80\x9D \xC3\xA9t\xC3\xA9"},
      // The same in spite of Latin-1, and one that may be Latin-1; Polish, in Latin-2 and not.
      {"A: iso-8859-1 \xC3\xA9t\xC3\xA9", "65001|A=iso-8859-1 \xC3\xA9t\xC3\xA9"},
      {"A: iso-8859-1 \xC5\x84", "65001|A=iso-8859-1 \xC5\x84"},
      {"A: iso-8859-1 \xC3\xA9", "28591|A=iso-8859-1 \xC3\x83\xC2\xA9"},
      {"A: iso-8859-2 SP\xD3\xA3KA", "28592|A=iso-8859-2 SP\xC3\x93\xC5\x81KA"},
      {"A: iso-8859-2 sp\xC3\xB3\xC5\x82ka", "65001|A=iso-8859-2 sp\xC3\xB3\xC5\x82ka"},
      // Of Windows all the same.
      {"A: iso-8859-1 Don\x92t", "28591|A=iso-8859-1 Don\xE2\x80\x99t"},
  };
  for (const auto& row : rows) EXPECT_EQ(Read(row.text, row.known, row.clue), row.dump) << row.text;
}

int PageOf(string_view text) { return std::stoi(Read(text)); }

TEST(HeaderReading, CountsBytesThatWesternTextHardlyHolds) {
  constexpr string_view kUsual =
      "\x80\x85\x91\x92\x93\x94\x95\x96\x97\x99"
      "\xA0\xA3\xA7\xA9\xAB\xAE\xB0\xB4\xB7\xBB";
  constexpr string_view kUnassigned = "\x81\x8D\x8F\x90\x9D";
  for (int n = 0x80; n <= 0xFF; ++n) {
    const char ch = static_cast<char>(n);
    const bool usual = n > 0xBF || kUsual.find(ch) != string_view::npos;
    const bool assigned = kUnassigned.find(ch) == string_view::npos;
    EXPECT_EQ(PageOf(string("A: ") + ch), !assigned ? 28591 : usual ? 1252 : 65001) << n;
  }
  const struct {
    size_t improbable, all;
    int page;
  } rows[] = {{1, 3, 65001}, {1, 4, 1252},  {3, 10, 65001}, {2, 10, 1252},
              {3, 11, 1252}, {3, 40, 1252}, {4, 11, 65001}, {4, 40, 65001}};
  for (const auto& row : rows) {
    const string text = string(row.improbable, '\xA5') + string(row.all - row.improbable, '\xE9');
    EXPECT_EQ(PageOf("A: " + text), row.page) << row.improbable << " of " << row.all;
  }
}

TEST(HeaderReading, BelievesTheNamesOfCharsets) {
  const struct {
    string_view name;
    int page;
  } rows[] = {
      {"GB2312", 936},      {"shift_jis", 932}, {"Windows-31J", 932}, {"ks_c_5601-1987", 949},
      {"windows-874", 874}, {"big5", 950},      {"gbk", 936},         {"euc-kr", 51949},
      {"koi8-r", 20866},    {"koi8-u", 21866}};
  // The names in front have no digit that counts.
  const string before = "A: iso-8859-0 windows-125x ";
  for (const auto& row : rows) {
    EXPECT_EQ(PageOf(before + string(row.name) + " \xE9\xE1"), row.page) << row.name;
  }
  for (int n = 0; n <= 7; ++n) {
    EXPECT_EQ(PageOf(before + "windows-125" + std::to_string(n) + " \xE9\xE1"), 1250 + n);
    EXPECT_EQ(PageOf(before + "iso-8859-" + std::to_string(n + 2) + " \xE9\xE1"), 28592 + n);
  }
  for (int n = 0; n <= 8; ++n) {
    EXPECT_EQ(PageOf("A: windows-125" + std::to_string(n) + " \xE1"), 1250 + n);
    EXPECT_EQ(PageOf("A: iso-8859-" + std::to_string(n + 1) + " \xE1"), 28591 + n);
  }
}

TEST(HeaderReading, IsWrittenForItsOwnPageWhereTheMailHasNone) {
  MimeHeader header;
  (void)header.loadMimeHeaderText("A: =?windows-1251?Q?=E0?=", "", 0, "", silent);
  mail::StringBuffer text;
  header.emit(text, 0, silent);
  EXPECT_EQ(text.view(), "A: =?windows-1251?Q?=E0?=");
}

TEST(HeaderReading, EditsByName) {
  MimeHeader header;
  header.addField("To", "a@b", silent);
  header.addField("X", "1", silent);
  header.addField("x", "2", silent);
  header.replaceField("to", "c@d", silent);
  header.replaceField("New", "n", silent);
  header.replaceField("X", "", silent);
  EXPECT_EQ(Dump(header), "0|to=c@d|x=2|New=n");
  header.addField("X", "3", silent);
  mail::StringBuffer value;
  EXPECT_TRUE(header.getField("X", value));
  EXPECT_EQ(value.view(), "2");
  EXPECT_FALSE(header.getField("none", value));
  EXPECT_EQ(header.deleteField("X", /*bAll=*/true), 2U);
  EXPECT_EQ(header.find("x"), nullptr);
  mail::StringBuffer text("before\n");
  header.emit(text, 0, silent);
  EXPECT_EQ(text.view(), "before\nto: c@d\r\nNew: n");
}

TEST(HeaderReading, MailAddressesTidyTraceFields) {
  MimeHeader header;
  header.m_control.m_bMailAddresses = true;
  (void)header.loadMimeHeaderText(
      "Received: a  b\r\n\t c\r\nDKIM-Signature: v=1;  a\r\nDomainKey-Signature: v=1;  a\r\n"
      "X: a  b\r\n\r\n",
      "", 0, "", silent);
  EXPECT_EQ(Dump(header),
            "0|Received=a b c|DKIM-Signature=v=1; a|DomainKey-Signature=v=1; a|X=a  b");
}

TEST(HeaderReading, PassesOverLinesBehindTheLimit) {
  string text;
  for (size_t n = 0; n <= MimeHeader::kMaxLines; ++n) text += "A: " + std::to_string(n) + "\r\n";
  MimeHeader header;
  (void)header.loadMimeHeaderText(text, "", 0, "", silent);
  ASSERT_EQ(header.getCount(), MimeHeader::kMaxLines);
  EXPECT_EQ(header.at(MimeHeader::kMaxLines - 1)->value().view(), "99999");
}

TEST(HeaderReading, HostileHeadersTakeLinearTime) {
  struct Part {
    size_t count;
    string piece;
  };
  const struct {
    string start;
    std::vector<Part> parts;
    string end = {};
  } inputs[] = {
      {"A: ", {{20'000'000, "x"}}},
      {"A: ", {{2'000'000, "\xE9?Q?w"}}},
      {"", {{1'000'000, "A: 1\r\n"}}},
      {"A: 1",
       {{100'000,
         "\r\n \xE9"
         "b"}}},
      {"", {{5'000'000, "\r"}}, "A"},
      {"", {{50'000, "X: 1\r\n"}, {50'000, "Content-Type: a/b\r\n"}}},
      {"", {{50'000, "X: 1\r\n"}, {25'000, "Content-Type: a\r\nContent-Type:\r\n"}}},
      {"A: ", {{1'000'000, "=?a?Q?"}}},
      {"A: ", {{300'000, "windows-125 iso-8859- gb \xE9"}}},
      {"To: ", {{1'000'000, ","}, {1'000'000, "<"}, {1'000'000, "\"\\"}}},
      {"Content-Type: a; ", {{1'000'000, "a=\""}}},
      {"Content-Type: a; ", {{300'000, "filename*0=?Q?;"}}},
      {"Content-Type: a; n=\"=?a?Q?b?=", {{300'000, "=?a?Q?"}}},
      {"Content-Type: a; ", {{300'000, "n=\"=?a?Q?b?=\"\\"}}},
      {"Content-Type: a; ", {{500'000, "a=\"b\""}}},
  };
  for (const auto& input : inputs) {
    const auto read = [&](size_t percent) {
      string text = input.start;
      for (const Part& part : input.parts) text += Repeated(part.count / 100 * percent, part.piece);
      text += input.end;
      MimeHeader header;
      header.m_control.m_bMailAddresses = true;
      (void)header.loadMimeHeaderText(text, "", 0, "", silent);
      mail::StringBuffer out;
      header.emit(out, 28591, silent);
      mail::_ckContentType().load(text, silent);
    };
    EXPECT_TRUE(test_support::GrowsLinearly(read, 100)) << input.start << input.parts[0].piece;
  }
}

}  // namespace
