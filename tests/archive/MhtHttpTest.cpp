// Pages of a web site.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Unicode.h"
#include "tests/archive/ArchiveSupport.h"
#include "tests/archive/PageServer.h"

namespace {

using namespace archive_support;
using testing::HasSubstr;
using testing::Not;

struct MhtHttp : PagesOfAFolder {
  PageServer site;
};

TEST_F(MhtHttp, EverythingOfAPageIsFetchedAndNamedByItsUrl) {
  site.Put("/dir/page.html",
           "<head><title>t</title><link rel=stylesheet href='/css/s.css?v=1'></head>"
           "<style>b{background:url(pic.gif)}</style><img src=pic.gif><img src=/root.gif>"
           "<img src=gone.gif><iframe src=f/frame.html></iframe><a href=../up.html>x</a>");
  site.Put("/css/s.css?v=1", "i{background-image:url(bg.gif)}", "text/css");
  for (const char* path : {"/dir/pic.gif", "/root.gif", "/css/bg.gif", "/dir/f/in.gif"}) {
    site.Put(path, kGif + path, "image/gif");
  }
  site.Put("/dir/f/frame.html", "<img src=in.gif><img src=../pic.gif>");
  converter.mht.put_UseCids(false);
  const Message archive = converter.Mht(site.Url("/dir/page.html#part"));
  ASSERT_EQ(archive.parts.size(), 6U);
  EXPECT_EQ(archive.parts[0].location, site.Url("/dir/page.html"));
  for (const char* path : {"/dir/pic.gif", "/root.gif", "/css/bg.gif", "/dir/f/in.gif"}) {
    ASSERT_NE(archive.At(site.Url(path)), nullptr) << path;
    EXPECT_EQ(archive.At(site.Url(path))->body, kGif + path);
    EXPECT_EQ(site.Asked(path).size(), 1U);
  }
  EXPECT_THAT(archive.Page(), HasSubstr("href=\"" + site.Url("/up.html") + "\""));
  EXPECT_THAT(archive.Page(), HasSubstr("src=\"" + site.Url("/dir/gone.gif") + "\""));
  EXPECT_THAT(archive.Page(), HasSubstr("b{background:url(" + site.Url("/dir/pic.gif") + ")}"));
  EXPECT_THAT(site.Asked("/root.gif")[0].find("User-Agent")->second, HasSubstr("Trident"));

  Converter byId;
  const Message withIds = byId.Mht(site.Url("/dir/page.html"));
  EXPECT_THAT(withIds.Page(), HasSubstr("src=\"" + site.Url("/dir/gone.gif") + "\""));
  EXPECT_THAT(byId.told.reasons, testing::ElementsAre("the server answered 404"));
}

// A reader looks for the URL that the tag means.
TEST_F(MhtHttp, LocationsAreUrlsAndNoHtml) {
  site.Put("/p", "<img src='i?a=1&amp;b=2'><img src='i?a=1&b=2'><a data-href=x href=y>");
  site.Put("/i?a=1&b=2", kGif);
  converter.mht.put_UseCids(false);
  const Message archive = converter.Mht(site.Url("/p"));
  ASSERT_EQ(archive.parts.size(), 2U);
  EXPECT_EQ(archive.parts[1].location, site.Url("/i?a=1&b=2"));
  EXPECT_THAT(archive.Page(), HasSubstr("data-href=\"x\" href=\"" + site.Url("/y") + "\""));
  const Message byId = Converter().Mht(site.Url("/p"));
  ASSERT_EQ(byId.parts.size(), 2U);
  EXPECT_EQ(CountOf(byId.Page(), "cid:" + byId.parts[1].id), 2U);
}

TEST_F(MhtHttp, BasesAreThoseOfTheLastRedirection) {
  site.Redirect("/old", "/new/place/p.html");
  site.Put("/new/place/p.html", "<img src=a.gif>");
  site.Put("/new/place/a.gif", kGif);
  EXPECT_EQ(Converter().Mht(site.Url("/old")).parts.size(), 2U);

  // And those that the page names.
  site.Put("/based.html",
           "<base href=\"" + site.Url("/new/place/index.html") + "\"><img src=a.gif>");
  EXPECT_EQ(Converter().Mht(site.Url("/based.html")).parts.size(), 2U);
  const std::string page =
      folder.Write("p.html", "<base href='" + site.Url("/new") +
                                 "'><img src=place/a.gif><img src=/new/place/a.gif>");
  EXPECT_EQ(Converter().Mht(page).parts.size(), 2U);
}

TEST_F(MhtHttp, APageThatCannotBeHadFails) {
  EXPECT_EQ(converter.mht.getMHT(site.Url("/none").c_str()), nullptr);
  EXPECT_EQ(converter.mht.getEML("http://127.0.0.1:9/"), nullptr);
  site.Redirect("/circle", "/circle");
  EXPECT_EQ(converter.mht.getMHT(site.Url("/circle").c_str()), nullptr);
  EXPECT_THAT(
      converter.told.reasons,
      testing::ElementsAre("the server answered 404", testing::Ne(""), HasSubstr("redirects")));
  converter.mht.put_NoNetwork(true);
  site.Put("/", "x");
  EXPECT_EQ(converter.mht.getMHT(site.Url("/").c_str()), nullptr);
  EXPECT_TRUE(site.Asked("/").empty());
}

TEST_F(MhtHttp, APageFromTheNetworkShowsNoFiles) {
  const std::string secret = folder.Write("secret.gif", kGif);
  site.Put("/p.html", "<img src=\"file://" + secret + "\"><style>@import 'file://" + secret +
                          "'; b{background:url(file://" + secret +
                          ")}</style><iframe src='file://" + secret + "'></iframe>");
  EXPECT_EQ(converter.Mht(site.Url("/p.html")).parts.size(), 1U);
  EXPECT_TRUE(converter.told.got.empty());
  // Nor does a frame from there in a page on disk.
  const std::string page =
      folder.Write("p.html", "<iframe src='" + site.Url("/p.html") + "'></iframe>");
  EXPECT_EQ(converter.Mht(page).parts.size(), 2U);
}

TEST_F(MhtHttp, CharsetOfTheResponseAndOfThePage) {
  site.Put("/both", "<meta charset=iso-8859-1>\xC3\xA4", "text/html; charset=utf-8");
  site.Put("/one", "<title>t</title>\xC3\xA4", "text/html; charset=utf-8");
  site.Put("/lie", "<meta charset=utf-16>\xC3\xA4", "text/html; charset=utf-8");
  const Message both = converter.Mht(site.Url("/both"));
  EXPECT_EQ(both.parts[0].type, "text/html; charset=\"iso-8859-1\"");
  EXPECT_THAT(both.text, HasSubstr(">=E4"));
  const Message one = converter.Mht(site.Url("/one"));
  EXPECT_THAT(one.text, HasSubstr("=C3=A4"));
  EXPECT_THAT(one.Page(), HasSubstr("</title><META http-equiv=\"Content-Type\" "
                                    "content=\"text/html;charset=utf-8\">"));
  EXPECT_THAT(converter.Mht(site.Url("/lie")).text, HasSubstr("charset=\"utf-8\""));
  // A mark, and units of two bytes, count more than either.
  const std::string wide = test_support::WideBytes(u"\uFEFF<html lang=x>\u20AC\n<img src=a.gif>");
  site.Put("/marked", wide, "text/html; charset=iso-8859-1");
  site.Put("/told", wide.substr(2), "text/html; charset=utf-16le");
  site.Put("/bytes", "\xEF\xBB\xBF<meta charset=utf-8>\xC3\xA4", "text/html; charset=iso-8859-1");
  site.Put("/narrow", "<meta charset=koi8-r>\xC1", "text/html; charset=utf-16");
  site.Put("/a.gif", kGif);
  for (const char* path : {"/marked", "/told"}) {
    const Message message = converter.Mht(site.Url(path));
    ASSERT_EQ(message.parts.size(), 2U) << path;
    EXPECT_EQ(message.parts[0].type, "text/html; charset=\"utf-8\"");
    EXPECT_THAT(message.Page(), HasSubstr("\xE2\x82\xAC\r\n"));
  }
  EXPECT_THAT(converter.Mht(site.Url("/bytes")).text, HasSubstr(">=C3=A4"));
  EXPECT_THAT(converter.Mht(site.Url("/narrow")).parts[0].type, HasSubstr("koi8-r"));
  // A page from the network forgets what was known.
  site.Put("/none", "x", "text/html");
  EXPECT_THAT(converter.Mht(site.Url("/none")).text, Not(HasSubstr("charset")));
}

// A server that wants a login answers with a page, whatever it is asked for.
TEST_F(MhtHttp, OnlyWhereBytesAreJudgedIsAPageNoPicture) {
  const std::string login = "\r\n<!DOCTYPE html><html>log in";
  site.Put("/login.png", login);
  site.Put("/text.png", "no such picture", "text/plain");
  site.Put("/none.png", "", "image/png");
  site.Put("/s.css", login);
  site.Put("/odd.tif", "II*", "image/tiff");
  site.Put("/drawn", "<svg><title>x</title></svg>", "image/svg+xml");
  folder.Write("frame", "<html><img src=in.gif>");
  folder.Write("in.gif", kGif);
  std::string html = "<html><iframe src=frame></iframe>";
  for (const char* name : {"login.png", "text.png", "none.png", "odd.tif", "drawn"}) {
    html += "<img src=\"" + site.Url("/") + name + "\">";
  }
  html += "<link rel=stylesheet href='" + site.Url("/s.css") + "'>";
  // In UTF-16 without a mark.
  const std::string page =
      folder.Write("p.html", test_support::WideBytes(platform::Utf8ToUtf16(html)));
  (void)converter.Mht(page);
  EXPECT_TRUE(converter.told.lacking.empty());
  converter.mht.put_JudgeByBytes(true);
  const Message archive = converter.Mht(page);
  EXPECT_THAT(converter.told.reasons,
              testing::UnorderedElementsAre("it is a page and no style sheet",
                                            "it is a page and no picture",
                                            "it is text and no picture", "there is nothing in it"));
  EXPECT_EQ(archive.parts.size(), 5U);  // the page, the frame and its picture, two pictures
  EXPECT_THAT(archive.Page(), HasSubstr("src=\"" + site.Url("/login.png") + "\""));
}

TEST_F(MhtHttp, APageThatIsNotReadyYetIsFetchedAgain) {
  site.Put("/", "<META HTTP-EQUIV=\"Refresh\" CONTENT=\"0.1\">");
  EXPECT_EQ(Converter().Mht(site.Url("/")).parts.size(), 1U);
  EXPECT_EQ(site.Asked("/").size(), 2U);
}

TEST_F(MhtHttp, OnlyLocalPictures) {
  site.Put("/a.gif", kGif);
  folder.Write("b.gif", kGif);
  const std::string tag = "<img src=" + site.Url("/a.gif") + ">";
  const std::string page = folder.Write("p.html", tag + "<img src=b.gif>");
  converter.mht.put_EmbedLocalOnly(true);
  const Message archive = converter.Mht(page);
  EXPECT_EQ(archive.parts.size(), 2U);
  EXPECT_THAT(archive.Page(), HasSubstr(tag));
  converter.mht.put_EmbedLocalOnly(false);
  EXPECT_EQ(converter.Mht(page).parts.size(), 3U);
}

TEST_F(MhtHttp, FramesThatShowThemselvesEnd) {
  site.Put("/self.html", "<iframe src=self.html></iframe>");
  EXPECT_EQ(Converter().Mht(site.Url("/self.html")).parts.size(), 2U);
  // Each level under a name of its own: 32 documents at most.
  for (int n = 0; n < 40; ++n) {
    site.Put("/f" + std::to_string(n) + ".html",
             "<iframe src=f" + std::to_string(n + 1) + ".html></iframe>");
  }
  EXPECT_EQ(Converter().Mht(site.Url("/f0.html")).parts.size(), 32U);
}

}  // namespace
