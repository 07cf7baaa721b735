// Damaged and hostile rich text: its text comes out, in time and memory that follow its size.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "body/rtf/Reader.h"
#include "body/rtf/RtfToHtml.h"
#include "tests/body/RtfSupport.h"
#include "tests/support/HtmlBalance.h"
#include "tests/support/Texts.h"

namespace {

using test_support::Repeated;

// Something of everything.
const std::string kSample =
    R"({\rtf1\ansi\ansicpg932\deff0{\fonttbl{\f0\fswiss\fcharset0 Arial;}{\f1\fcharset2 Symbol;}})"
    R"({\colortbl;\red1\green2\blue3;}{\*\listtable{\list{\listlevel\levelnfc0{\leveltext\'02\'00.;)"
    R"(}}\listid1}}{\*\listoverridetable{\listoverride\listid1\ls1}}{\header h}\pard\ls1 one\par )"
    R"(\trowd\clvmgf\cellx900\cellx1800\intbl a\cell{\b b}\cell\row\trowd\clvmrg\cellx900\cellx1800 )"
    R"(\pard\intbl\itap2 n\nestcell{\*\nesttableprops\trowd\cellx100\nestrow}\itap1\cell c\cell\row )"
    R"(\pard\box\brdrs{\field{\*\fldinst HYPERLINK "http://x/"}{\fldrslt link}}\u233?\'82\'a0 )"
    R"({\footnote f}{\shp{\*\shpinst{\shptxt s}}}{\pict\pngblip 89504e47}{\pict\bin3 }}}}\par end})";

TEST(RtfHostile, EveryPrefixGivesAWholePage) {
  std::string kept;
  for (std::size_t size = 0; size <= kSample.size(); ++size) {
    const std::string page = Convert(kSample.substr(0, size)).strHtml;
    ASSERT_EQ(html_balance::Fault(page), "") << size;
    ASSERT_TRUE(html_balance::IsAscii(page)) << size;
    // Words that were whole are in the pages of all longer prefixes.
    if (kSample.substr(0, size).ends_with("one\\par")) kept = "one";
    ASSERT_NE(page.find(kept), std::string::npos) << size;
  }
  for (const char* word : {"one", ">a<", "<b>b</b>", ">n<", "link", ">f<", ">s<", "end"}) {
    EXPECT_NE(Convert(kSample).strHtml.find(word), std::string::npos) << word;
  }
}

TEST(RtfHostile, TextAlwaysComesOut) {
  const std::string open = "{\\rtf1 ";
  const std::string rows[] = {
      open + Repeated(1'000'000, "{") + "TEXT",
      open + Repeated(1'000'000, "{\\b ") + "TEXT" + Repeated(1'000'000, "}"),
      open + Repeated(5000, "{") + "{\\*\\nosuch a{b}c}{\\header x}{\\pict 00}TEXT",
      open + Repeated(5000, "{\\footnote a") + "TEXT",
      open + Repeated(1000, "{\\shp{\\*\\shpinst{\\shptxt ") + "TEXT",
      open + Repeated(5000, "{") + "{\\shp{\\*\\shpinst{\\sp{\\sn x}{\\sv y}}{\\shptxt TEXT",
      open + Repeated(5000, "{\\field{\\*\\fldinst{") + Repeated(15000, "}") + "TEXT",
      open + "\\bin2000000000 TEXT",
      open + "{\\pict\\pngblip\\bin99999 }TEXT}",
      open + "{\\pict\\pngblip\\bin9 89}TEXT and more",
      open + "\\bin2000000000 caf\xE9 TEXT",
      open + "{\\pict\\pngblip\\bin99999 \x89PNG\r\n\x1A\n}\x01}TEXT}",
      open + "{\\pict\\pngblip\\bin20 \x89PNG\r\n\x1A\n}TEXT" + std::string(100, '.') +
          "{\\pict\\pngblip\\bin7 \x89PNG\r\n\x1A}}",
      open + "\\" + std::string(1'000'000, 'a') + " TEXT",
      open + "\\b" + std::string(1'000'000, '9') + " TEXT",
      open + "\\u" + std::string(100'000, '9') + "?TEXT",
      open + "\\uc999999999\\u64 }" + std::string(70, '.') + "TEXT",
      open + "{\\pict\\pngblip 8x9?5}TEXT",
      open + "\\f999999\\cf-5\\highlight99999\\fs-4\\li2147483647\\fi-2147483648 TEXT",
      open + "\\ansicpg99999 TEXT\\'e9",
      open + "\\trowd" + Repeated(100'000, "\\cellx1") + "TEXT",
      open + "\\intbl\\itap2000000000 TEXT",
      open + "\\trowd\\cellx2147483647\\cellx-2147483648 a\\cell TEXT\\cell\\row",
      open + "{\\fonttbl TEXT;}TEXT",
      open + Repeated(100'000, "}") + "TEXT",
  };
  for (const std::string& row : rows) {
    const std::string page = Convert(row).strHtml;
    EXPECT_NE(page.find("TEXT"), std::string::npos) << row.substr(0, 60);
    EXPECT_EQ(html_balance::Fault(page), "") << row.substr(0, 60);
  }
}

TEST(RtfHostile, FormatsAreToldApartToTheDeepestGroup) {
  const auto Page = [](std::size_t groups) {
    // The first brace is a group, too.
    const std::string text = "{\\rtf1 " + Repeated(groups - 2, "{") + "{\\b x}y";
    return BodyOf(Convert(text).strHtml);
  };
  constexpr std::size_t kMost = rtf::Reader::kMostGroups;
  EXPECT_EQ(Page(kMost - 1), "<p style=\"margin:0\"><b>x</b>y</p>");
  EXPECT_EQ(Page(kMost), "<p style=\"margin:0\"><b>x</b>y</p>");
  EXPECT_EQ(Page(kMost + 1), "<p style=\"margin:0\"><b>xy</b></p>");
}

// Twice the input is about twice the work, and work and page stay near the input's size.
TEST(RtfHostile, WorkFollowsTheSize) {
  using Shape = std::function<std::string(std::size_t)>;
  const std::string long_style =
      "{\\rtf1{\\fonttbl{\\f0 A;}{\\f1 A rather long name of a font;}}{\\colortbl;\\red1;}\\f0 "
      "x\\f1"
      "\\cf1\\ulwave\\strike\\expndtw5\\box\\brdrdb\\li5\\ri5\\sb5\\sa5\\sl5 ";
  const std::pair<const char*, Shape> shapes[] = {
      {"paragraph ends in a long style",
       [&](std::size_t n) { return long_style + Repeated(n, "\\par"); }},
      {"runs in a long style",
       [&](std::size_t n) { return long_style + Repeated(n, "a\\b b\\b0"); }},
      {"long links",
       [](std::size_t n) {
         return "{\\rtf1{\\field{\\*\\fldinst HYPERLINK \"" + std::string(8000, 'x') +
                "\"}{\\fldrslt " + Repeated(n, "{a}\\b b\\b0") + "}}";
       }},
      {"groups", [](std::size_t n) { return "{\\rtf1 " + Repeated(n, "{") + Repeated(n, "}"); }},
      {"rows of many cells",
       [](std::size_t n) {
         return "{\\rtf1\\trowd" + Repeated(4096, "\\cellx1") + Repeated(n, "\\cell\\row");
       }},
      {"merged rows",
       [](std::size_t n) {
         return "{\\rtf1\\trowd\\clvmgf\\cellx9 a\\cell\\row\\trowd\\clvmrg\\cellx9 " +
                Repeated(n, "b\\cell\\row");
       }},
      {"tables within tables",
       [](std::size_t n) {
         return "{\\rtf1 " + Repeated(n, "\\itap16 a\\nestcell\\itap0 b\\par");
       }},
      {"lists",
       [](std::size_t n) {
         return "{\\rtf1 " + Repeated(n, "\\ls1\\ilvl8 a\\par\\ls2\\ilvl0 b\\par");
       }},
      {"old lists",
       [](std::size_t n) {
         return "{\\rtf1 " + Repeated(n, "{\\*\\pn{\\pntxta)}}{\\pntext 1}\\par");
       }},
      {"fonts",
       [](std::size_t n) { return "{\\rtf1{\\fonttbl" + Repeated(n, "{\\f1 a;\\f2 b;}") + "}x"; }},
      {"footnotes", [](std::size_t n) { return "{\\rtf1 " + Repeated(n, "{\\footnote a}"); }},
      {"marks of notes", [](std::size_t n) { return "{\\rtf1 " + Repeated(n, "\\chftn{\\b a"); }},
      {"decimal stops",
       [](std::size_t n) {
         return "{\\rtf1\\li1\\tqdec\\tx5 " + Repeated(n, "\\tab\\b 1\\i ,234\\plain .5");
       }},
      {"tabs",
       [](std::size_t n) {
         return "{\\rtf1\\li1\\tqr\\tx5 " + Repeated(n, "\\b a\t\\b0\\tab\\line ");
       }},
      {"wrapped tags",
       [](std::size_t n) {
         return "{\\rtf1\\fromhtml1 " + Repeated(n, "{\\*\\htmltag <!-- <meta \"}");
       }},
      {"pictures", [](std::size_t n) { return "{\\rtf1 " + Repeated(n, "{\\pict\\pngblip 00}"); }},
  };
  for (const auto& [name, shape] : shapes) {
    const std::string once = shape(4'000), twice = shape(8'000);
    const rtf::HtmlResult a = Convert(once), b = Convert(twice);
    EXPECT_LT(b.nSteps, 3 * a.nSteps) << name;
    EXPECT_LT(b.nSteps, 100 * twice.size() + 4'000'000) << name;
    EXPECT_LT(b.strHtml.size(), 60 * twice.size() + 2'000'000) << name;
  }
}

}  // namespace
