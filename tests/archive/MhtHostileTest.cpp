// Pages that were made to do harm: the time grows as the page does, every loop ends, and what can
// be shown is.

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "archive/EventAttributes.h"
#include "tests/archive/ArchiveSupport.h"
#include "tests/archive/PageServer.h"
#include "tests/support/WorkTime.h"

namespace {

using namespace archive_support;
using test_support::GrowsLinearly;
using test_support::WorkTime;
using testing::HasSubstr;

void Archive(const std::string& html) {
  Converter converter;
  converter.mht.put_NoNetwork(true);
  converter.mht.put_ConfineToFolder(true);
  EXPECT_NE(converter.mht.htmlToEML(html.c_str()), nullptr);
}

TEST(MhtHostile, TimeGrowsWithThePage) {
  for (const char* piece : {"<img \">\" ",
                            "<img \"",
                            "<img src=x ",
                            "<a href='>\"",
                            "<script",
                            "<script>-->",
                            "<style",
                            "<style>@import",
                            "<style>@import a;",
                            "background:url(",
                            "<!--#include",
                            "<link ",
                            "<noscript>onclick=\"",
                            "onclick=' = ",
                            "<iframe src=a",
                            "<velkor_style>",
                            "cid:CID-",
                            "<meta '",
                            "<base",
                            "<td background=\"a\" background='"}) {
    const std::size_t count = 400'000 / std::string_view(piece).size();
    EXPECT_TRUE(GrowsLinearly([&](std::size_t n) { Archive(Repeated(n, piece)); }, count)) << piece;
  }
  const auto name = [](std::size_t n) { Archive("<img " + std::string(n, 'a') + ">"); };
  EXPECT_TRUE(GrowsLinearly(name, 10'000'000));
  const auto sheet = [](std::size_t n) {
    Archive("<style>" + Repeated(n, ".a{background:url(x.gif)}") + "</style>");
  };
  EXPECT_TRUE(GrowsLinearly(sheet, 40'000));
}

TEST(MhtHostile, TenThousandPictures) {
  TemporaryFolder folder;
  folder.Write("one.gif", kGif);
  std::string tags = Repeated(10'000, "<img src=one.gif>");
  for (int n = 0; n < 10; ++n) std::filesystem::create_symlink(".", folder.File(std::to_string(n)));
  for (int n = 0; n < 1000; ++n) {
    folder.Write("p" + std::to_string(n), kGif);
    for (int way = 0; way < 10; ++way) {
      tags += "<img src=" + std::to_string(way) + "/p" + std::to_string(n) + ">";
    }
  }
  const Message archive = Converter().Mht(folder.Write("p.html", tags));
  ASSERT_EQ(archive.parts.size(), 10'002U);
  EXPECT_EQ(CountOf(archive.Page(), archive.parts[1].id), 10'000U);
  EXPECT_EQ(CountOf(archive.Page(), archive.parts[10'001].id), 1U);
}

// A folder is not looked through for each of them.
TEST(MhtHostile, PicturesThatAreNotInAFolderOfMany) {
  TemporaryFolder few, many;
  std::string tags;
  for (int n = 0; n < 3000; ++n) {
    many.Write(std::to_string(n), "");
    tags += "<img src=no" + std::to_string(n) + ">";
  }
  const auto seconds = [&](const TemporaryFolder& folder) {
    Converter converter;
    const std::string page = folder.Write("p.html", tags);
    return WorkTime([&] {
      EXPECT_EQ(converter.Mht(page).parts.size(), 1U);
      EXPECT_EQ(converter.told.lacking.size(), 3000U);
    });
  };
  EXPECT_LT(seconds(many), 5 * seconds(few) + 0.5);
}

TEST(MhtHostile, SheetsThatImportOneAnotherUnderManyNames) {
  PageServer site;
  std::string imports;
  for (int n = 0; n < 50; ++n) imports += "@import 's.css?" + std::to_string(n) + "';";
  for (int n = 0; n < 50; ++n) site.Put("/s.css?" + std::to_string(n), imports + "s{}", "text/css");
  site.Put("/",
           "<style>" + imports + "</style>" + Repeated(50, "<link rel=stylesheet href=s.css?1>"));
  const std::string text = Converter().Mht(site.Url("/")).Page();
  EXPECT_EQ(CountOf(text, "s{}"), 100U);  // once each, and once for each link
  EXPECT_EQ(site.Asked("/s.css?1").size(), 1U);
}

TEST(MhtHostile, WhatIsBroughtIntoAPageIsBounded) {
  TemporaryFolder folder;
  folder.Write("big.css", std::string(1'000'000, 'x'));
  folder.Write("a", Repeated(20, "<!--#include file=b -->"));
  folder.Write("b", Repeated(20, "<!--#include file=c -->"));
  folder.Write("c", std::string(1'000'000, 'y'));
  // Sheets and included files spend one allowance: without it for either this would be more.
  const std::string page = Repeated(200, "<link rel=stylesheet href=big.css>");
  EXPECT_LT(Converter().Mht(folder.Write("p.html", page + "<!--#include file=a -->")).text.size(),
            50'000'000U);
}

TEST(MhtHostile, FramesByManyNamesOfOneFile) {
  TemporaryFolder folder;
  std::filesystem::create_symlink(".", folder.File("d"));
  std::filesystem::create_symlink(".", folder.File("e"));
  const std::string page = folder.Write(
      "f.html",
      "<iframe src=d/f.html></iframe><iframe src=e/f.html></iframe><iframe src=%66.html>");
  const Message archive = Converter().Mht(page);
  EXPECT_LE(archive.parts.size(), 1001U);
  EXPECT_GT(archive.parts.size(), 3U);
}

TEST(MhtHostile, EventAttributesOfEveryForm) {
  const auto without = [](std::string_view text) {
    mail::StringBuffer html(text);
    mail::removeEventAttributes(html);
    return std::string(html.view());
  };
  EXPECT_EQ(without("<p ONCLICK = \"a>b\" onselectstart='x' onMove=y>"), "<p   >");
  EXPECT_EQ(without("<p onclick onfoo=1 on=2 ontology=3 xonload=4>"),
            "<p onclick onfoo=1 on=2 ontology=3 x>");
  EXPECT_EQ(without("<p onclonclick=\"a\"ick=\"b\">"), "<p >");
  EXPECT_EQ(without("<p onclick=\"a>b"), "<p >b");
  EXPECT_EQ(without("onload="), "");
  EXPECT_EQ(without("="), "=");
}

// Cut anywhere, a page still gives an archive that holds its first word.
TEST(MhtHostile, EveryPrefixOfAPage) {
  const std::string html =
      "word <img src=\"a b.gif\" alt='x'><style>@import url('a.css'); "
      "b{background:url(\"c\")}</style>"
      "<link rel=stylesheet href=x.css><script src=x.js>y</script><iframe src=f.html></iframe>"
      "<!--#include file=\"x\" --><td background=b><a "
      "onmouseover=\"s('a.gif')\"><noscript>n</noscript>";
  for (std::size_t n = 4; n <= html.size(); ++n) {
    Converter converter;
    const Message mail = Read(converter.mht.htmlToEML(html.substr(0, n).c_str()));
    ASSERT_EQ(mail.parts.size(), 1U) << n;
    EXPECT_THAT(mail.Page(), HasSubstr("word"));
  }
}

}  // namespace
