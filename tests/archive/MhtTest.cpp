// Archives of pages on disk and in memory: what becomes a part, what the page refers to it by, and
// what is left of what cannot be had.

#include "archive/CkMht.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mime/CkMime.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using test_support::TemporaryFolder;
using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kGif{"GIF89a\1\0\1\0\0\0\0;", 14};

std::size_t Count(std::string_view text, std::string_view needle) {
  std::size_t n = 0;
  for (std::size_t at = text.find(needle); at != text.npos; at = text.find(needle, at + 1)) ++n;
  return n;
}

// The body of the page: of the first part, or of a message that is nothing else.
std::string PageOf(const std::string& mime) {
  const TemporaryFolder folder;
  CkMime root;
  if (!root.LoadMimeFile(folder.Write("a.mht", mime).c_str())) return "no MIME";
  const std::unique_ptr<CkMime> part(root.GetPart(0));
  if (!(part ? *part : root).SaveBody(folder.File("body").c_str())) return "no body";
  return test_support::ReadAll(folder.File("body"));
}

class Archive : public testing::Test {
 protected:
  Archive() { m_mht.put_Utf8(true); }

  std::string Mht(const std::string& html) {
    const char* const text = m_mht.getMHT(m_folder.Write("page.html", html).c_str());
    return text ? text : "failed";
  }
  std::string Eml(const std::string& html) {
    const char* const text = m_mht.getEML(m_folder.Write("page.html", html).c_str());
    return text ? text : "failed";
  }

  TemporaryFolder m_folder;
  CkMht m_mht;
};

TEST_F(Archive, APageWithoutResourcesIsAPlainMessage) {
  const std::string eml = Eml("<html><body>hello</body></html>");
  EXPECT_THAT(eml, HasSubstr("X-Unsent: 1\r\n"));
  EXPECT_THAT(eml, HasSubstr("\r\nDate: "));
  EXPECT_THAT(eml, HasSubstr("Content-Type: text/html"));
  EXPECT_THAT(eml, Not(HasSubstr("multipart")));
  EXPECT_THAT(PageOf(eml), HasSubstr("hello"));
}

TEST_F(Archive, AWebArchiveHasNoDate) {
  EXPECT_THAT(Mht("<p>x"), Not(HasSubstr("Date:")));
  EXPECT_THAT(Mht("<p>x"), Not(HasSubstr("X-Unsent")));
}

TEST_F(Archive, OneUrlIsOnePartHoweverOftenItIsShown) {
  m_folder.Write("a.gif", std::string(kGif));
  m_mht.put_UseCids(true);
  const std::string mime = Mht("<body background=a.gif><IMG SRC=a.gif><img src='a.gif'>");
  EXPECT_EQ(Count(mime, "Content-ID: <CID-"), 1u);
  EXPECT_EQ(Count(PageOf(mime), "\"cid:CID-") + Count(PageOf(mime), "'cid:CID-"), 3u);
  EXPECT_THAT(mime, HasSubstr("Content-Type: image/gif"));
  EXPECT_THAT(mime, HasSubstr("a.gif"));
}

TEST_F(Archive, WithoutContentIdsPartsHaveTheirLocation) {
  m_folder.Write("a.gif", std::string(kGif));
  const std::string mime = Mht("<img src=a.gif>");
  EXPECT_THAT(mime, HasSubstr("Content-Location: a.gif"));
  EXPECT_THAT(Mht("<img src=a.gif><img src=./a.gif>"), HasSubstr("Content-Location: ./a.gif"));
  EXPECT_THAT(mime, Not(HasSubstr("Content-ID")));
  EXPECT_THAT(mime, Not(HasSubstr("Html--Url--Location")));
}

TEST_F(Archive, AMissingPictureKeepsItsUrlAndCostsNothingElse) {
  m_folder.Write("a.gif", std::string(kGif));
  m_mht.put_UseCids(true);
  const std::string mime = Mht("<img src=gone.gif><img src=a.gif><img src=\"data:image/gif,x\">");
  EXPECT_EQ(Count(mime, "Content-ID: <CID-"), 1u);
  const std::string page = PageOf(mime);
  EXPECT_THAT(page, HasSubstr("<img src=\"gone.gif\">"));
  EXPECT_EQ(Count(page, "cid:"), 1u);
  EXPECT_THAT(page, HasSubstr("<img src=\"data:image/gif,x\">"));
}

TEST_F(Archive, AMailOfAPageWithAnAlternativeToScriptsShowsIt) {
  const std::string page =
      "<body onload=\"go()\"><script>var a='<img src=x.gif>';</script>"
      "<noscript><b>plain</b></noscript>";
  const std::string mail = PageOf(Eml(page));
  EXPECT_THAT(mail, HasSubstr("<b>plain</b>"));
  EXPECT_THAT(mail, Not(HasSubstr("script")));
  EXPECT_THAT(mail, Not(HasSubstr("onload")));
  const std::string archive = PageOf(Mht(page));
  EXPECT_THAT(archive, HasSubstr("<script>var a='<img src=x.gif>';</script>"));
  EXPECT_THAT(archive, HasSubstr("<noscript>"));
  EXPECT_THAT(archive, HasSubstr("onload"));
}

TEST_F(Archive, AFileInUtf16IsReadAsSuch) {
  const std::string mime =
      Mht(test_support::WideBytes(u"\uFEFF<html><head></head><body>\u0416</body></html>"));
  EXPECT_THAT(PageOf(mime), HasSubstr("\xD0\x96"));
  EXPECT_THAT(PageOf(mime), HasSubstr("charset=utf-8"));
}

TEST_F(Archive, StyleSheetsBecomeInlineAndTheirPicturesParts) {
  m_folder.Write("a.gif", std::string(kGif));
  m_folder.Write("b.gif", std::string(kGif));
  m_folder.Write("more.css", "p { background: url(b.gif) }");
  m_folder.Write("s.css", "@import url(more.css); td { background-image: url('a.gif') }");
  m_mht.put_UseCids(true);
  const std::string mime =
      Mht("<head><LINK rel=stylesheet href=s.css><link rel=stylesheet media=print href=s.css>"
          "<style>b{}</style></head>");
  const std::string page = PageOf(mime);
  EXPECT_THAT(page, HasSubstr("<style type=\"text/css\">"));
  EXPECT_THAT(page, Not(HasSubstr("<link")));
  EXPECT_THAT(page, Not(HasSubstr("@import")));
  EXPECT_THAT(page, Not(HasSubstr("velkor")));
  EXPECT_THAT(page, HasSubstr("<style>b{}</style>"));
  EXPECT_EQ(Count(page, "cid:CID-"), 2u);
  EXPECT_EQ(Count(mime, "Content-ID: <CID-"), 2u);
}

TEST_F(Archive, SheetsThatImportEachOtherEnd) {
  m_folder.Write("one.css", "@import \"two.css\"; .one{}");
  m_folder.Write("two.css", "@import 'one.css'; .two{}");
  const std::string page = PageOf(Mht("<style>@import url(one.css);</style>"));
  EXPECT_EQ(Count(page, ".one{}"), 1u);
  EXPECT_EQ(Count(page, ".two{}"), 1u);
}

TEST_F(Archive, ImportsStopAtTheSixthLevel) {
  for (int n = 1; n < 9; ++n) {
    m_folder.Write(
        "s" + std::to_string(n) + ".css",
        "@import \"s" + std::to_string(n + 1) + ".css\"; .level" + std::to_string(n) + "{}");
  }
  const std::string page = PageOf(Mht("<style>@import \"s1.css\";</style>"));
  EXPECT_THAT(page, HasSubstr(".level6{}"));
  EXPECT_THAT(page, Not(HasSubstr(".level7{}")));
}

TEST_F(Archive, FramesAreLinkedByLocationAndBringTheirOwnPictures) {
  m_folder.Write("a.gif", std::string(kGif));
  m_folder.Write("sub/a.gif", std::string(kGif) + "other");
  m_folder.Write("sub/frame.html", "<img src=a.gif><iframe src=frame.html></iframe>");
  const std::string mime = Mht("<img src=a.gif><iframe src=sub/frame.html></iframe>");
  EXPECT_EQ(Count(mime, "Content-Type: image/gif"), 2u);
  EXPECT_THAT(PageOf(mime), HasSubstr("sub/frame.html"));
}

TEST_F(Archive, IncludesOfFilesStandInThePageAndAChainEnds) {
  m_folder.Write("foot.html", "<i>foot</i><!--#include file=\"page.html\" -->");
  const std::string page = PageOf(
      Mht("<b>x</b><!--#INCLUDE file=\"foot.html\"--><!--#include file=\"gone.html\"-->end"));
  EXPECT_EQ(Count(page, "<i>foot</i>"), 1u);
  EXPECT_EQ(Count(page, "<b>x</b>"), 1u);
  EXPECT_THAT(page, Not(HasSubstr("#include")));
  EXPECT_THAT(page, HasSubstr("end"));
}

TEST_F(Archive, FilesAreFoundInTheSpellingsThatMailProgramsUse) {
  m_folder.Write("My Picture.gif", std::string(kGif));
  m_folder.Write("B.GIF", std::string(kGif));
  m_mht.put_UseCids(true);
  const std::string sources[] = {"My%20Picture.gif",
                                 "my picture.gif",
                                 "b.gif",
                                 ".\\b.gif",
                                 "file://" + m_folder.File("b.gif"),
                                 "file:///" + m_folder.File("B.GIF"),
                                 m_folder.File("b.gif")};
  for (const std::string& src : sources) {
    EXPECT_EQ(Count(Mht("<img src=\"" + src + "\">"), "Content-ID: <CID-"), 1u) << src;
  }
}

TEST_F(Archive, NothingOutsideTheFolderWhenConfined) {
  TemporaryFolder outside;
  outside.Write("secret.gif", std::string(kGif));
  m_folder.Write("a.gif", std::string(kGif));
  std::filesystem::create_symlink(outside.File("secret.gif"), m_folder.File("link.gif"));
  const std::string page = "<img src=a.gif><img src=link.gif><img src=\"" +
                           outside.File("secret.gif") + "\"><img src=\"../" +
                           std::filesystem::path(outside.Path()).filename().string() +
                           "/secret.gif\">";
  m_mht.put_UseCids(true);
  EXPECT_EQ(Count(Mht(page), "Content-ID: <CID-"), 3u);  // one file has one part
  m_mht.put_ConfineToFolder(true);
  EXPECT_EQ(Count(Mht(page), "Content-ID: <CID-"), 1u);
}

TEST_F(Archive, APageInMemoryBelongsToItsBaseUrl) {
  m_folder.Write("a.gif", std::string(kGif));
  m_mht.put_UseCids(true);
  m_mht.put_BaseUrl(("file:///" + m_folder.Path()).c_str());
  EXPECT_EQ(Count(m_mht.htmlToMHT("<img src=a.gif>"), "Content-ID: <CID-"), 1u);
  m_mht.put_BaseUrl("");
  EXPECT_EQ(Count(m_mht.htmlToMHT("<img src=a.gif>"), "Content-ID: <CID-"), 0u);
}

TEST_F(Archive, APageThatIsNotThereIsTheOnlyFailure) {
  CkString mime;
  EXPECT_FALSE(m_mht.GetMHT(m_folder.File("gone.html").c_str(), mime));
  EXPECT_STREQ(mime.getString(), "");
  EXPECT_FALSE(m_mht.get_LastMethodSuccess());
  EXPECT_TRUE(m_mht.GetMHT(m_folder.Write("empty.html", "").c_str(), mime));
}

TEST_F(Archive, BrokenPagesKeepTheirTextAndEnd) {
  const std::string pages[] = {"text <script>never closed",
                               "text <style>p{",
                               "text <img src=\"a.gif",
                               "text <iframe src=x",
                               "text <a href='x>y</a><img src=b.gif>",
                               "text <td " + std::string(5000, 'x'),
                               "text <!--#include file=x"};
  for (const std::string& broken : pages) {
    EXPECT_THAT(PageOf(Mht(broken)), HasSubstr("text")) << broken.substr(0, 40);
  }
}

// Ten thousand pictures, of one URL and of as many, and an unclosed quote in each tag.
TEST_F(Archive, ManyTagsTakeLinearTime) {
  std::string html;
  for (int n = 0; n < 10'000; ++n) {
    html += "<img src=\"p" + std::to_string(n) + ".gif\"><img src=one.gif><a title=\" href=x>";
  }
  m_mht.put_UseCids(true);
  EXPECT_THAT(PageOf(Mht(html)), HasSubstr("<img src=\"p9999.gif\">"));
}

}  // namespace
