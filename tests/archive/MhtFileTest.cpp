// Pages on disk: what becomes a part, what the page refers to it by, and what stays as it was.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/NarrowText.h"
#include "tests/archive/ArchiveSupport.h"

namespace {

using namespace archive_support;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using MhtFile = PagesOfAFolder;

TEST_F(MhtFile, PageWithoutResourcesIsPlainMessage) {
  const std::string page = folder.Write("p.html", "<html><body>nothing here</body></html>");
  const Message mail = converter.Eml(page);
  ASSERT_EQ(mail.parts.size(), 1U);
  EXPECT_THAT(mail.parts[0].type, HasSubstr("text/html"));
  EXPECT_EQ(mail.Header("X-Unsent"), "1");
  EXPECT_NE(mail.Header("Date"), "");
  EXPECT_EQ(mail.Page(), "<html><body>nothing here</body></html>");
  const Message archive = converter.Mht(page);
  EXPECT_EQ(archive.Header("Date"), "");
  EXPECT_EQ(archive.Header("X-Unsent"), "1");  // stays with the object
  EXPECT_EQ(Converter().Mht(page).Header("X-Unsent"), "");
}

TEST_F(MhtFile, PageThatCannotBeReadFails) {
  CkString text;
  text.setString("old");
  EXPECT_FALSE(converter.mht.GetMHT("/nowhere/p.html", text));
  EXPECT_TRUE(text.isEmpty());
  EXPECT_FALSE(converter.mht.get_LastMethodSuccess());
  EXPECT_EQ(converter.mht.getEML("/"), nullptr);
}

TEST_F(MhtFile, OneUrlHasOnePartAndOneId) {
  folder.Write("a.gif", kGif);
  const std::string page = folder.Write(
      "p.html",
      "<IMG SRC=a.gif alt=x> <img src='a.gif'> <img src=\"A.GIF\"><table background=a.gif>");
  const Message archive = converter.Mht("file:///" + page.substr(1));
  ASSERT_EQ(archive.parts.size(), 2U);
  const Part& picture = archive.parts[1];
  EXPECT_EQ(picture.body, kGif);
  EXPECT_THAT(picture.type, HasSubstr("image/gif"));
  EXPECT_EQ(CountOf(archive.Page(), "cid:" + picture.id), 4U);
  EXPECT_EQ(picture.location, "");
  EXPECT_EQ(picture.id.substr(0, 4), "CID-");
  EXPECT_EQ(picture.id.size(), 40U);
  EXPECT_THAT(converter.told.got, ElementsAre("a.gif"));
}

TEST_F(MhtFile, WhatIsMissingKeepsItsUrl) {
  folder.Write("there.png", kPng);
  const std::string page =
      folder.Write("p.html",
                   "<style>b{background:url(no.gif)}</style><img src=gone.png><img src=there.png>"
                   "<img src=\"data:image/gif;base64,R0\"><a href=x.html><input src=none.gif>");
  const Message archive = converter.Mht(page);
  ASSERT_EQ(archive.parts.size(), 2U);
  EXPECT_THAT(archive.Page(), HasSubstr("src=\"gone.png\""));
  EXPECT_THAT(archive.Page(), HasSubstr("src=\"cid:" + archive.parts[1].id + "\""));
  EXPECT_THAT(archive.Page(), HasSubstr("<img src=\"data:image/gif;base64,R0\">"));
  EXPECT_THAT(archive.Page(), HasSubstr("url(no.gif)"));
  EXPECT_EQ(CountOf(archive.Page(), "cid:"), 1U);
  EXPECT_THAT(converter.told.lacking,
              testing::UnorderedElementsAre("gone.png", "no.gif", "none.gif"));
}

TEST_F(MhtFile, WithoutIdsPartsHaveLocations) {
  folder.Write("img/a.gif", kGif);
  const std::string page = folder.Write("p.html", "Html--Url--Location <img src=img/a.gif>");
  converter.mht.put_UseCids(false);
  const Message archive = converter.Mht(page);
  ASSERT_EQ(archive.parts.size(), 2U);
  EXPECT_EQ(archive.parts[1].location, "img/a.gif");
  EXPECT_EQ(archive.parts[1].id, "");
  EXPECT_THAT(archive.Page(), HasSubstr("src=\"img/a.gif\""));
  EXPECT_THAT(archive.text, Not(HasSubstr("Html--Url--Location")));

  converter.mht.put_BaseUrl(("file://" + folder.Path()).c_str());
  const Message absolute = converter.Mht(page);
  const std::string url = "file://" + folder.Path() + "/img/a.gif";
  EXPECT_THAT(absolute.Page(), HasSubstr("src=\"" + url + "\""));
  ASSERT_NE(absolute.At(url), nullptr);
  EXPECT_EQ(absolute.At(url)->body, kGif);
}

TEST_F(MhtFile, MailShowsWhatIsForReadersWithoutScripts) {
  folder.Write("s.js", "alert(1)");
  const std::string page = folder.Write(
      "p.html",
      "<script src=s.js></script><SCRIPT>document.write('<style>q{}</style>')</SCRIPT>"
      "<style>b{}</style><noscript>plain</noscript><p onclick=\"go()\" onLoad = x>t</p>"
      "<a href=\"javascript:go()\">l</a>");
  const Message mail = converter.Eml(page);
  EXPECT_EQ(mail.Page(), "<style>b{}</style>plain<p  >t</p><a href=\"#\">l</a>");
  EXPECT_EQ(mail.parts.size(), 1U);
  const Message archive = converter.Mht(page);
  ASSERT_EQ(archive.parts.size(), 2U);
  EXPECT_EQ(archive.parts[1].body, "alert(1)");
  EXPECT_THAT(archive.Page(), HasSubstr("<script src=\"cid:" + archive.parts[1].id + "\">"));
  EXPECT_THAT(archive.Page(), HasSubstr("document.write('<style>q{}</style>')"));
  EXPECT_THAT(archive.Page(), HasSubstr("<noscript>plain</noscript>"));
  EXPECT_THAT(archive.Page(), HasSubstr("onclick=\"go()\""));
}

TEST_F(MhtFile, PlacesOfSetAsideBlocksCannotBeForged) {
  folder.Write("s.css", "i{} <velkor_script>");
  const std::string page = folder.Write("p.html",
                                        "<velkor_style><velkor_script><link rel=stylesheet "
                                        "href=s.css><style>b{}</style>|<script>go()</script>");
  const Message archive = Converter().Mht(page);
  EXPECT_THAT(archive.Page(), testing::EndsWith("<style>b{}</style>|<script>go()</script>"));
}

TEST_F(MhtFile, ScriptsThatDoNotEnd) {
  const std::string page = folder.Write("p.html", "a<script>x --> b<script>c");
  EXPECT_EQ(Converter().Mht(page).Page(), "a<script>x --> b<script>c");
  converter.mht.put_NoScripts(true);
  EXPECT_EQ(converter.Mht(page).Page(), "a bc");
}

TEST_F(MhtFile, SheetsComeIntoThePage) {
  folder.Write("img/a.gif", kGif);
  folder.Write(
      "css/site.css",
      "\xEF\xBB\xBF@import \"deep/more.css\" screen;\n.a{background-image : url( '../img/a.gif' )}"
      "</style><style>z{}</style>");
  folder.Write("css/deep/more.css", ".b{background:url(../../img/a.gif)}");
  const std::string page = folder.Write(
      "p.html",
      "<link rel=stylesheet href=css\\site.css title=T><LINK rel=stylesheet href=s.css media=print>"
      "<link rel=icon href=i.ico><link type=text/css href=none.css><style>@import "
      "url(css/site.css);"
      ".c{background: url(\"img/a.gif\")}</style>");
  const Message archive = converter.Mht(page);
  ASSERT_EQ(archive.parts.size(), 2U);
  const std::string url = "url(cid:" + archive.parts[1].id + ")";
  const std::string text = archive.Page();
  EXPECT_THAT(text, HasSubstr("<style type=\"text/css\" title=\"T\">\r\n<!--\r\n"));
  EXPECT_THAT(text, HasSubstr("@media screen {\r\n.b{background:" + url + "}\r\n}"));
  EXPECT_THAT(text, HasSubstr(".a{background-image : " + url + "}<\\/style>"));
  EXPECT_THAT(text, HasSubstr(".c{background: " + url + "}"));
  EXPECT_THAT(text, Not(HasSubstr("z{}")));
  EXPECT_THAT(text, Not(HasSubstr("print")));
  EXPECT_THAT(text, HasSubstr("<link type=\"text/css\" href=\"none.css\">"));
}

// Pages of rich text are UTF-8 and name their pictures' folder in the ANSI page.
TEST_F(MhtFile, AFolderInTheAnsiPageIsFoundInAPageThatIsUtf8) {
  folder.Write("m\xC3\xBC/a.gif", kGif);
  const std::string page = folder.Write(
      "m\xC3\xBC/p.html", "\xEF\xBB\xBF<p>x<img src=\"file://" + folder.Path() + "/m\xFC/a.gif\">");
  EXPECT_EQ(Converter().Mht(page).parts.size(), 2U);
}

// As the addresses of fonts do: "family=Sans:wght@400;700".
TEST_F(MhtFile, AddressesOfImportsHoldSemicolons) {
  folder.Write("a;1.css", "a{}");
  folder.Write("b;1.css", "b{}");
  const std::string page =
      folder.Write("p.html",
                   "<style>@import url(a;1.css);@import 'b;1.css' screen;@import 'b;1.css';"
                   "@import url(no;1.css);t{}</style>"
                   "<style>@import url(a;1.css</style>");
  EXPECT_EQ(Converter().Mht(page).Page(),
            "<style>a{}\r\n@media screen {\r\nb{}\r\n}\r\nb{}\r\n@import url(no;1.css);t{}</style>"
            "<style>@import url(a;1.css</style>");
}

TEST_F(MhtFile, SheetsForOtherMediaThanAScreenAreLeftOut) {
  folder.Write("s.css", "s{}");
  const auto taken = [&](const std::string& media) {
    const std::string link = "<link rel=stylesheet href=s.css media='" + media + "'>";
    return CountOf(Converter().Mht(folder.Write("p.html", link)).Page(), "s{}") == 1;
  };
  for (const char* media : {"", "all", "Screen", "print, screen", "screen, projection",
                            "only screen and (max-width: 9px)", "(min-width: 9px)"}) {
    EXPECT_TRUE(taken(media)) << media;
  }
  for (const char* media : {"print", "not screen", "handheld,tv", "screens"}) {
    EXPECT_FALSE(taken(media)) << media;
  }
}

TEST_F(MhtFile, ImportsEnd) {
  folder.Write("self.css", "@import 'self.css'; s{}");
  for (int n = 1; n <= 8; ++n) {
    folder.Write("l" + std::to_string(n) + ".css",
                 "@import \"l" + std::to_string(n + 1) + ".css\"; .l" + std::to_string(n) + "{}");
  }
  const std::string page = folder.Write(
      "p.html", "<style>@import url(self.css); @import 'l1.css'; @import 'gone.css'; t{}</style>");
  const std::string text = Converter().Mht(page).Page();
  EXPECT_EQ(CountOf(text, "s{}"), 1U);
  EXPECT_THAT(text, HasSubstr(".l6{}"));
  EXPECT_THAT(text, HasSubstr("@import \"l7.css\""));  // the sixth level imports nothing more
  EXPECT_THAT(text, Not(HasSubstr(".l7{}")));
  EXPECT_THAT(text, HasSubstr("@import 'gone.css'; t{}"));
}

TEST_F(MhtFile, FramesAreDocumentsOfTheirFolder) {
  folder.Write("a.gif", kGif + "outer");
  folder.Write("sub/a.gif", kGif + "inner");
  folder.Write("sub/f.html",
               "<meta charset=utf-8><img src=a.gif><img src=../a.gif><img src=no.gif>");
  const std::string page =
      folder.Write("p.html", "<iframe src=sub/f.html></iframe><img src=a.gif>");
  const Message archive = converter.Mht(page);
  ASSERT_EQ(archive.parts.size(), 4U);  // page, frame and two pictures
  const Part& frame = archive.parts[1];
  EXPECT_EQ(frame.type, "text/html; charset=\"utf-8\"; name=\"f.html\"");
  const Part* const inner = archive.ById(Between(frame.body, "src=\"cid:", "\""));
  const Part* const outer = archive.ById(Between(archive.Page(), "<img src=\"cid:", "\""));
  ASSERT_TRUE(inner != nullptr && outer != nullptr);
  EXPECT_EQ(inner->body, kGif + "inner");
  EXPECT_EQ(outer->body, kGif + "outer");
  EXPECT_THAT(frame.body, HasSubstr("cid:" + outer->id));
  EXPECT_THAT(frame.body, HasSubstr("<img src=\"no.gif\">"));
  EXPECT_THAT(archive.Page(), HasSubstr("<iframe src=\"sub/f.html\">"));

  converter.mht.put_UseCids(false);
  EXPECT_EQ(converter.Mht(page).parts.size(), 5U);  // "a.gif" of two folders and "../a.gif"
}

TEST_F(MhtFile, IncludesOfAServer) {
  folder.Write("head.inc", "[head <!--#include file=\"page.html\" -->]");
  for (int n = 0; n < 20; ++n) {
    folder.Write("d" + std::to_string(n),
                 std::to_string(n) + ",<!--#include file=d" + std::to_string(n + 1) + " -->");
  }
  const std::string page = folder.Write("page.html",
                                        "<!--#INCLUDE file=\"head.inc\"--><!--#include "
                                        "file=gone-->|<!--#include file=d0-->|<!--#include x> y");
  EXPECT_EQ(Converter().Mht(page).Page(),
            "[head ]|0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,|<!--#include x> y");
}

// The two files named by what the page means, however it spells them.
TEST_F(MhtFile, NamesAreFoundHoweverTheyAreSpelt) {
  folder.Write("Pic Of\xC3\xBC.gif", kGif);
  folder.Write("raw\xE4.gif", kGif + "raw");
  folder.Write("a&b.gif", kGif + "and");
  const std::string name = folder.File("Pic Of\xC3\xBC.gif");
  const std::string page =
      folder.Write("p.html",
                   "<meta charset=iso-8859-1><img src=\"Pic%20Of\xFC.gif\">"
                   "<img src='pic of%FC.gif'><img src='pic%20of%C3%BC.GIF'><img src=raw\xE4.gif>"
                   "<img src='a&amp;b.gif'><img src='file://" +
                       name + "'><img src='file:\\\\" + name + "'><img src='" + name + "'>");
  const Message archive = converter.Mht("file:///" + page);
  EXPECT_THAT(converter.told.lacking, IsEmpty());
  EXPECT_EQ(archive.parts.size(), 7U);  // the last three mean one file
}

TEST_F(MhtFile, CharsetsOfPages) {
  const auto type = [](const Message& message) { return message.parts.at(0).type; };
  const Message plain = converter.Mht(folder.Write("none.html", "<title>t</title>caf\xE9"));
  EXPECT_EQ(type(plain), "text/html");
  EXPECT_THAT(plain.text, HasSubstr("caf=E9"));
  // UTF-16, either way round, is read as UTF-8, and its own word for itself goes.
  const std::u16string wide =
      u"\uFEFF<html><head><meta http-equiv=Content-Type content='text/html;charset=utf-16'></head>"
      u"\u20AC";
  std::string bytes = test_support::WideBytes(wide);
  const Message little = converter.Mht(folder.Write("le.html", bytes));
  for (std::size_t n = 0; n < bytes.size(); n += 2) std::swap(bytes[n], bytes[n + 1]);
  const Message big = converter.Mht(folder.Write("be.html", bytes));
  for (const Message* message : {&little, &big}) {
    EXPECT_EQ(type(*message), "text/html; charset=\"utf-8\"");
    EXPECT_THAT(message->Page(), HasSubstr("\xE2\x82\xAC"));
    EXPECT_THAT(message->Page(), HasSubstr("content=\"text/html;charset=utf-8\""));
    EXPECT_THAT(message->Page(), Not(HasSubstr("utf-16")));
  }
  // One that is known from the page before is used where a page names none, and only there.
  const Message after = converter.Mht(folder.Write("after.html", "<title>t</title>x"));
  EXPECT_EQ(type(after), "text/html; charset=\"utf-8\"");
  EXPECT_THAT(after.Page(), HasSubstr("</title><META http-equiv=\"Content-Type\" content="));
  const Message own =
      converter.Mht(folder.Write("own.html", "<meta charset=windows-1251><title>t</title>\xCF"));
  EXPECT_EQ(type(own), "text/html; charset=\"windows-1251\"");
  EXPECT_THAT(own.Page(), HasSubstr("\xD0\x9F"));
  // A mark counts more than what the page says; one that says nothing is not guessed at.
  const std::string mark = "\xEF\xBB\xBF", name = "text/html; charset=\"utf-8\"";
  const Message marked = converter.Mht(folder.Write("bom.html", mark + "\xC3\xA4"));
  EXPECT_EQ(type(marked), name);
  EXPECT_EQ(marked.Page(), "\xC3\xA4");
  const std::string meta = "<meta http-equiv=Content-Type content='text/html;charset=koi8-r'>";
  const Message other = converter.Mht(folder.Write("bom2.html", mark + meta + "\xC3\xA4"));
  EXPECT_EQ(type(other), name);
  EXPECT_THAT(other.text, HasSubstr("=C3=A4"));
  EXPECT_THAT(other.text, Not(HasSubstr("koi8")));
  folder.Write("sub/f.html", test_support::WideBytes(u"\uFEFF<html lang=x>\u20AC"));
  const Message framed = converter.Mht(folder.Write("frame.html", "<iframe src=sub/f.html>"));
  EXPECT_EQ(framed.parts.at(1).type, name + "; name=\"f.html\"");
  const Message lie = Converter().Mht(folder.Write("lie.html", "<meta charset=utf-16>caf"));
  EXPECT_THAT(lie.text, HasSubstr("Content-Type: text/html\r\n"));
}

TEST_F(MhtFile, NothingOutsideOfTheFolder) {
  folder.Write("secret.gif", kGif);
  folder.Write("secret.css", "q{}");
  folder.Write("secret.inc", "secret text");
  folder.Write("in/sub/a.gif", kGif);
  folder.Write("in2/b.gif", kGif);
  std::filesystem::create_symlink("../secret.gif", folder.File("in/link.gif"));
  std::filesystem::create_symlink("..", folder.File("in/up"));
  const std::string page = folder.Write(
      "in/p.html", "<img src=../secret.gif><img src=link.gif><img src=up/secret.gif><img src='" +
                       folder.File("secret.gif") +
                       "'><img src=../in2/b.gif><img src=sub/../sub/a.gif><link rel=stylesheet "
                       "href=../secret.css><!--#include file=../secret.inc -->"
                       "<img src=http://127.0.0.1:9/x.gif>");
  converter.mht.put_ConfineToFolder(true);
  converter.mht.put_NoNetwork(true);
  const Message archive = converter.Mht(page);
  EXPECT_EQ(archive.parts.size(), 2U);
  EXPECT_THAT(converter.told.got, ElementsAre("sub/../sub/a.gif"));
  EXPECT_EQ(converter.told.lacking.size(), 6U);  // one of them by two names
  EXPECT_THAT(archive.Page(), HasSubstr("<link rel=\"stylesheet\" href=\"../secret.css\">"));
  EXPECT_THAT(archive.text, Not(HasSubstr("secret text")));
  EXPECT_THAT(converter.told.reasons, testing::Contains("nothing is fetched from the network"));

  converter.mht.put_ConfineToFolder(false);
  EXPECT_EQ(converter.Mht(page).parts.size(), 6U);
}

TEST_F(MhtFile, WhatIsTakenInIsTheCallersChoice) {
  folder.Write("a.gif", kGif);
  folder.Write("b.gif", kGif);
  const std::string sheet = folder.Write("x.css", ".extra{}");
  const std::string page =
      folder.Write("p.html", "<head></head><img src=a.gif><img src=b.gif border = 0>");
  converter.mht.AddExcludedUrl("");
  converter.mht.AddExcludedUrl("b.g");
  converter.mht.AddStyleSheet(sheet.c_str());
  converter.mht.put_UseFilename(false);
  const Message archive = converter.Mht(page);
  EXPECT_EQ(archive.parts.size(), 2U);
  EXPECT_THAT(archive.Page(), HasSubstr(".extra{}\r\n-->\r\n</style>\r\n</head>"));
  EXPECT_THAT(archive.Page(), HasSubstr("<img src=\"b.gif\" border=\"0\">"));
  EXPECT_THAT(archive.text, HasSubstr("Content-Disposition: inline\r\n"));
  converter.mht.put_UseInline(false);
  EXPECT_THAT(converter.Mht(page).text, Not(HasSubstr("Content-Disposition")));
  converter.mht.put_EmbedImages(false);
  EXPECT_THAT(converter.Mht(page).Page(), HasSubstr("<img src=a.gif><img src=b.gif border = 0>"));
}

TEST_F(MhtFile, RolloversAndLinks) {
  folder.Write("on.gif", kGif);
  const std::string page = folder.Write(
      "p.html",
      "<a href=b.html onmouseover=\"swap('on.gif','name')\">x</a><a href=\"mailto:a@b\">y</a>"
      "<a\thref=#>z</a><form action=go.cgi><area href='javascript:f()'>");
  converter.mht.put_BaseUrl("http://host/dir/");
  const Message archive = converter.Mht(page);
  ASSERT_EQ(archive.parts.size(), 2U);
  EXPECT_EQ(archive.Page(),
            "<a href=\"http://host/dir/b.html\" onmouseover=\"swap('cid:" + archive.parts[1].id +
                "','name')\">x</a><a href=\"mailto:a@b\">y</a><a href=\"\">z</a>"
                "<form action=\"http://host/dir/go.cgi\"><area href='javascript:f()'>");
}

TEST_F(MhtFile, NamesOfParts) {
  folder.Write("a.jpeg", "\xFF\xD8\xFF\xE0 a picture");
  folder.Write("b", "\xFF\xD8\xFF\xE0 a picture");
  folder.Write("c.png", kGif);
  folder.Write("bm.xyz", "BM but a text that goes on and on");
  folder.Write("bmp",
               std::string("BM\x20\0\0\0\0\0\0\0\x1A\0\0\0\x28\0\0\0 and the rest of it", 36));
  folder.Write("v.svg", "<?xml version='1.0'?><svg/>");
  folder.Write("d;=\xC3\xA4.pdf", "%PDF-1.4");
  const std::string page = folder.Write("p.html",
                                        "<img src=a.jpeg><img src=b><img src=c.png><img src=bm.xyz>"
                                        "<img src=bmp><img src=v.svg><img src='d;=\xC3\xA4.pdf'>");
  std::vector<std::string> types;
  for (const Part& part : converter.Mht(page).parts) types.push_back(part.type);
  EXPECT_THAT(types,
              ElementsAre("text/html", "image/jpeg; name=\"a.jpg\"", "image/jpeg; name=\"b.jpeg\"",
                          "image/gif; name=\"c.gif\"", "application/octet-stream; name=\"bm.xyz\"",
                          "image/bmp; name=\"bmp.bmp\"", "image/svg+xml; name=\"v.svg\"",
                          "application/pdf; name=\"d\xC3\xA4.pdf\""));
}

TEST_F(MhtFile, TextsAndFiles) {
  folder.Write("a.gif", kGif);
  const std::string html = "<meta charset=iso-8859-1>\xC3\xA4<img src=a.gif>";
  converter.mht.put_BaseUrl(("file://" + folder.Path()).c_str());
  converter.mht.put_ConfineToFolder(true);
  const Message archive = Read(converter.mht.htmlToMHT(html.c_str()));
  ASSERT_EQ(archive.parts.size(), 2U);
  EXPECT_THAT(archive.Page(), HasSubstr("\xC3\xA4"));
  EXPECT_THAT(archive.Page(), HasSubstr("charset=utf-8"));
  EXPECT_TRUE(converter.mht.HtmlToEMLFile(html.c_str(), folder.File("o.eml").c_str()));
  EXPECT_EQ(Read(test_support::ReadAll(folder.File("o.eml")).c_str()).parts.size(), 2U);
  EXPECT_FALSE(converter.mht.HtmlToMHTFile(html.c_str(), folder.File("no/o.mht").c_str()));

  const std::string page = folder.Write("p.html", html);
  EXPECT_TRUE(converter.mht.GetAndSaveMHT(page.c_str(), folder.File("o.mht").c_str()));
  EXPECT_EQ(Read(test_support::ReadAll(folder.File("o.mht")).c_str()).parts.size(), 2U);
  EXPECT_TRUE(converter.mht.GetAndZipMHT(page.c_str(), "in.mht", folder.File("o.zip").c_str()));
  const std::string read =
      "python3 -c \"import zipfile,sys; z=zipfile.ZipFile(sys.argv[1]); "
      "sys.exit(z.namelist() != ['in.mht'] or b'multipart/related' not in z.read('in.mht'))\" ";
  EXPECT_EQ(std::system((read + folder.File("o.zip")).c_str()), 0);

  // A text without a base belongs to no folder.
  converter.mht.put_BaseUrl("");
  EXPECT_EQ(Read(converter.mht.htmlToMHT(("<img src=" + folder.File("a.gif") + ">").c_str()))
                .parts.size(),
            1U);
}

}  // namespace
