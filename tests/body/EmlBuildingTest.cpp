#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "charset/LibraryNarrow.h"
#include "ews/Settings.h"
#include "mime/CkMime.h"
#include "platform/NarrowText.h"
#include "target/CTarnyOutlookHandler.h"
#include "tests/archive/PageServer.h"
#include "tests/pipeline/TempRunFolder.h"

namespace {

const std::string kPicture = "\x89PNG\r\n\x1A\n picture";

class EmlBuilding : public testing::Test {
 protected:
  EmlBuilding() { mail::installLibraryNarrow(); }
  ~EmlBuilding() override {
    platform::SetAnsiCodePage(1252);
    ews::Settings() = {};
  }

  CString Path(std::u16string_view name) { return GetCurrPath() + name; }
  // The archive of a page with that body.
  std::string Archive(const std::string& html) {
    folder.WriteWork("p.html", html);
    EXPECT_EQ(handler.ConvertHtmlToMime(Path(u"p.html")), Path(u"p.html.eml"));
    return folder.ReadWork("p.html.eml");
  }
  // The mail that is made of a raw text; empty if there is none.
  std::string Mail(const std::string& raw) {
    folder.WriteWork("EmlFile.Eml", "old");
    folder.WriteWork("ssaa.txt", raw);
    handler.CreateEML(GetCurrPath());
    return folder.HasWork("EmlFile.Eml") ? folder.ReadWork("EmlFile.Eml") : "";
  }

  TempRunFolder folder;
  CTarnyOutlookHandler handler;
};

bool Has(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

TEST_F(EmlBuilding, APageBecomesAnArchiveWithItsPictures) {
  folder.WriteWork("HTMLFile_1.png", kPicture);
  // The link as the converter of rich text writes it, and the path in upper case as the engine
  // has it.
  const std::string link = "file://" + Path(u"").MakeUpper().ToUtf8() + "HTMLFile_1.png";
  folder.WriteWork("HTMLFile.html", "\xEF\xBB\xBF\n\n\n<html><img src=\"" + link + "\"></html>");
  const CString path = Path(u"").MakeUpper() + u"HTMLFile.html";
  EXPECT_EQ(handler.ConvertHtmlToMime(path), path + u".eml");
  const std::string archive = folder.ReadWork("HTMLFile.html.eml");
  EXPECT_TRUE(Has(archive, "Content-Type: multipart/related")) << archive;
  EXPECT_TRUE(Has(archive, "src=3D\"cid:")) << archive;
  EXPECT_TRUE(Has(archive, "Content-ID: <")) << archive;
  EXPECT_TRUE(Has(archive, "iVBORw0KGgogcGljdHVyZQ==")) << archive;
}

TEST_F(EmlBuilding, APageThatCannotBeReadLeavesNoArchive) {
  EXPECT_EQ(handler.ConvertHtmlToMime(Path(u"none.html")), u"");
  EXPECT_FALSE(folder.HasWork("none.html.eml"));
  // Where the archive's name is taken by a folder its text comes back, which names no file.
  folder.WriteWork("p.html", "<p>a</p>");
  std::filesystem::create_directory(folder.Work("p.html.eml"));
  EXPECT_TRUE(handler.ConvertHtmlToMime(Path(u"p.html")).Contains(u"MIME-Version"));
}

TEST_F(EmlBuilding, APageIsNotLabelledByTheOneBefore) {
  EXPECT_TRUE(Has(Archive("<meta charset=\"koi8-r\"><p>a"), "koi8-r"));
  EXPECT_FALSE(Has(Archive("<p>a"), "koi8-r"));
}

// Not from a folder around the page's, nor from anywhere on this machine or in the network.
TEST_F(EmlBuilding, SafeArchivesHoldNothingFromElsewhere) {
  archive_support::PageServer site;
  site.Put("/far.png", "distant", "image/png");
  const std::string own = folder.Write("elsewhere.png", "machine");
  const std::pair<std::string, std::string> links[] = {{"../secret.png", "c2VjcmV0"},
                                                       {"file://" + own, "bWFjaGluZQ"},
                                                       {site.Url("/far.png"), "ZGlzdGFudA"}};
  folder.WriteWork("secret.png", "secret");
  folder.WriteWork("page/own.png", kPicture);
  std::string page = "<img src=\"own.png\">";
  for (const auto& [link, bytes] : links) page += "<img src=\"" + link + "\">";
  folder.WriteWork("page/p.html", page);
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = safe;
    (void)handler.ConvertHtmlToMime(Path(u"page\\p.html"));
    std::string archive = folder.ReadWork("page/p.html.eml");
    for (std::size_t at; (at = archive.find("=\r\n")) != std::string::npos;) archive.erase(at, 3);
    EXPECT_TRUE(Has(archive, "iVBORw0KGgogcGljdHVyZQ"));
    for (const auto& [link, bytes] : links) {
      EXPECT_EQ(Has(archive, bytes), !safe) << link;
    }
    EXPECT_EQ(site.Asked("/far.png").size(), 1U);
    EXPECT_EQ(Has(archive, "src=3D\"../secret.png"), safe) << archive;
  }
}

TEST_F(EmlBuilding, AFragmentGivesWayToItsBareBytes) {
  CkMime mime;
  const std::string bytes = "a\r\n\r\nb\xFF";
  folder.WriteWork("i.png",
                   "Content-ID: <i.png>\r\nContent-Transfer-Encoding: base64\r\n\r\n"
                   "YQ0KDQpi/w==\r\n");
  EXPECT_EQ(handler.EncodeWithString(&mime, GetCurrPath(), u"i.png"), 1);
  EXPECT_EQ(folder.ReadWork("i.png"), bytes);
  EXPECT_FALSE(folder.HasWork("Temp.min") || folder.HasWork("Mime.min"));
  // A file that is not there gets what the object still holds.
  EXPECT_EQ(handler.EncodeWithString(&mime, GetCurrPath(), u"j.png"), 1);
  EXPECT_EQ(folder.ReadWork("j.png"), bytes);
}

// A rest of an item that was broken off stands where the fragment has to go.
TEST_F(EmlBuilding, OnlySafeFragmentsAreNotMistakenForOlderOnes) {
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = safe;
    folder.WriteWork("Temp.min", "Content-Type: text/plain\r\n\r\nold");
    folder.WriteWork("i.txt", "Content-Type: text/plain\r\n\r\nnew");
    CkMime mime;
    EXPECT_EQ(handler.EncodeWithString(&mime, GetCurrPath(), u"i.txt"), 1);
    EXPECT_EQ(folder.ReadWork("i.txt"), safe ? "new" : "old");
  }
}

TEST_F(EmlBuilding, HeadersAreCutOffUpToALimit) {
  const auto Final = [&](std::size_t header) {
    folder.WriteWork("in", std::string(header, 'h') + "\r\n\r\ndata\r\n\r\nmore");
    EXPECT_EQ(handler.FinalIamge(Path(u"in"), Path(u"out")), 1);
    return folder.ReadWork("out");
  };
  EXPECT_EQ(Final(0), "data\r\n\r\nmore");
  EXPECT_EQ(Final(6552), "data\r\n\r\nmore");
  EXPECT_EQ(Final(6553).size(), 6553u + 16);
  EXPECT_EQ(handler.FinalIamge(Path(u"none"), Path(u"out2")), 1);
  EXPECT_FALSE(folder.HasWork("out2"));
  EXPECT_EQ(handler.FinalIamge(Path(u"in"), GetCurrPath()), 0);
}

// As raw messages have them, with the encoding before the line that names the picture, so that it
// is among the header's lines.
TEST_F(EmlBuilding, PicturesBehindThePageBecomeFiles) {
  const auto Part = [](const std::string& id, const std::string& name) {
    return "Content-Transfer-Encoding: base64\r\nContent-Type: image/png; name=" + name +
           "\r\nContent-ID: <" + id + ">\r\nContent-Transfer-Encoding: base64\r\n" +
           "cGlj\r\ndHVyZQ==\r\n\r\n";
  };
  const auto Extract = [&](const std::string& parts) {
    std::filesystem::remove(folder.Work("list.txt"));
    folder.WriteWork("raw.txt", "first\r\n<html>\r\n</html>\r\n" + parts);
    CkMime mime;
    EXPECT_EQ(handler.ExtractImageFromFile(&mime, Path(u"raw.txt"), u"list.txt"), 1);
    return CString(test_support::WideText(folder.ReadWork("list.txt"))).ToUtf8();
  };
  EXPECT_EQ(Extract(Part("a1", "a.png") + Part("b1", "b.jpg")), "a1\r\nb1\r\n");
  EXPECT_EQ(handler.m_arrImagePaths.GetSize(), 2);
  EXPECT_EQ(folder.ReadWork("a1"), "picture");
  EXPECT_EQ(folder.ReadWork("b1"), "picture");
  // kept: endings count by case, and the part is read past. What is no file's name is listed, and
  // counts as one that cannot be opened.
  std::filesystem::create_directory(folder.Work("x"));
  EXPECT_EQ(Extract(Part("c1", "c.PNG") + Part("../d1", "d.png") + Part("..", "d.png") +
                    Part(".", "d.png") + Part("", "d.png") + Part("x\\e1", "d.png") +
                    Part("f1", "f.gif")),
            "../d1\r\n..\r\n.\r\n\r\nx\\e1\r\nf1\r\n");
  EXPECT_EQ(folder.ReadWork("f1"), "picture");
  EXPECT_FALSE(folder.HasWork("c1") || folder.HasWork("../d1") || folder.HasWork("x/e1"));
  // A part of another type ends it, and so does the end inside of one.
  EXPECT_EQ(Extract("Content-Type: text/plain\r\n\r\n" + Part("g1", "g.png")).size(), 0u);
  EXPECT_EQ(Extract(Part("h1", "h.png").substr(0, 130)), "h1\r\n");
  EXPECT_EQ(Extract(""), "");
  EXPECT_TRUE(handler.m_arrImagePaths.IsEmpty());
}

TEST_F(EmlBuilding, RawTextBecomesAMailOfItsPage) {
  const std::string header =
      "Subject: x\r\nContent-Type: text/html;\r\n\tcharset=\"utf-8\"\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n\r\n";
  const std::string start =
      "Content-Transfer-Encoding: quoted-printable\r\nContent-Type: text/html;\r\n"
      "\tcharset=\"utf-8\"\r\n\r\n";
  EXPECT_EQ(Mail(header + "text <html>=\r\n<p>caf=C3=A9=\r\n=\r\n</html> rest\r\nmore"),
            start + "<html><p>caf=C3=A9</html> rest");
  // A second page has a header of its own, with what came between.
  EXPECT_EQ(Mail(header + "<html>\r\n</html>\r\nContent-Type: t\r\n<html>\r\n</HTML>"),
            start +
                "<html></html>Content-Transfer-Encoding: quoted-printable\r\n"
                "Content-Type: t\r\n\tcharset=\"utf-8\"\r\n\r\n<html></HTML>");
  EXPECT_EQ(Mail(header + "<html>\r\nno end"), start + "<html>no end");
  const std::string meta = "<meta http-equiv=x content=\"text/html; charset=koi8-r\">";
  for (const bool safe : {false, true}) {  // a page that begins so is no line of a header
    ews::Settings().bSafe = safe;
    EXPECT_EQ(Has(Mail(header + meta + "\r\na</html>"), meta + "\r\n\r\n" + meta + "a"), !safe);
  }
  ews::Settings().bSafe = false;
  // What cannot be read leaves none, and none of before.
  EXPECT_EQ(Mail("Content-Type: text/html\r\n\r\n<html>\r\n</html>"), "");
  EXPECT_EQ(Mail(header + "<html>\r\nContent-Transfer-Encoding: base64\r\n"), "");
  EXPECT_EQ(Mail(header + "only text"), "");
  EXPECT_EQ(Mail(""), "");
  std::filesystem::remove(folder.Work("ssaa.txt"));
  folder.WriteWork("EmlFile.Eml", "old");
  handler.CreateEML(GetCurrPath());
  EXPECT_FALSE(folder.HasWork("EmlFile.Eml"));
}

TEST_F(EmlBuilding, APageGetsSenderAndSubject) {
  folder.WriteWork("ch111.html", "<html><p>caf&eacute;</p></html>");
  // kept: what is beyond ASCII is UTF-8 taken for ANSI text
  (void)handler.DecodeStringEML(GetCurrPath(), u"<a@x>", u"\u042F b", u"");
  EXPECT_TRUE(Has(folder.ReadWork("EmlFile.Eml"), "=?iso-8859-1?Q?=D0=AF_b?="))
      << folder.ReadWork("EmlFile.Eml");
  ews::Settings().bSafe = true;
  EXPECT_EQ(handler.DecodeStringEML(GetCurrPath(), u"\u042F <a@x>", u"\u042F b", u"1.1.2020"), u"");
  const std::string mail = folder.ReadWork("EmlFile.Eml");
  EXPECT_TRUE(Has(mail, "Subject: =?iso-8859-5?Q?=CF_b?=")) << mail;
  EXPECT_TRUE(Has(mail, "<a@x>")) << mail;
  EXPECT_TRUE(Has(mail, "<p>caf")) << mail;
  EXPECT_FALSE(Has(mail, "2020")) << mail;
  std::filesystem::remove(folder.Work("ch111.html"));
  std::filesystem::remove(folder.Work("EmlFile.Eml"));
  EXPECT_EQ(handler.DecodeStringEML(GetCurrPath(), u"a", u"b", u""), u"");
  EXPECT_FALSE(folder.HasWork("EmlFile.Eml"));
}

}  // namespace
