#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "charset/LibraryNarrow.h"
#include "ews/Settings.h"
#include "mime/CkMime.h"
#include "target/CTarnyOutlookHandler.h"
#include "tests/pipeline/TempRunFolder.h"

namespace {

class BodyExtraction : public testing::Test {
 protected:
  BodyExtraction() { mail::installLibraryNarrow(); }
  ~BodyExtraction() override { ews::Settings() = {}; }

  // The text that is made of a mail, in UTF-8; "none" where no file is.
  std::string Text(const std::string& mime) {
    std::filesystem::remove(folder.Work("TextFile1.txt"));
    folder.WriteWork("EmlFile.Eml", mime);
    EXPECT_EQ(handler.GetHTMLbODY(Folder()), 0);
    if (!folder.HasWork("TextFile1.txt")) return "none";
    return CString(test_support::WideText(folder.ReadWork("TextFile1.txt"))).ToUtf8();
  }
  // As the driver gives it, but for the backslash at the end.
  CString Folder() { return GetCurrPath().Left(GetCurrPath().GetLength() - 1); }

  struct Characters {
    bool decodes;
    std::string encoding, charset;
    bool operator==(const Characters&) const = default;
  };
  Characters Charater(const std::string& raw) {
    folder.WriteWork("ssaa.txt", raw);
    CString encoding = u"e", charset = u"c";
    const bool decodes = handler.GetCharater(GetCurrPath() + u"ssaa.txt", encoding, charset);
    return {decodes, encoding.ToUtf8(), charset.ToUtf8()};
  }

  // The page that is made of a raw text behind its result; "none" where there is none.
  std::string Page(const std::string& raw) {
    folder.WriteWork("ssaa.txt", raw);
    folder.WriteWork("ch111.html", "old");
    CkMime mime;
    const int result = handler.ExtractHtmlFile(&mime, GetCurrPath(), u"");
    EXPECT_FALSE(folder.HasWork("HtmlTemFile.txt"));
    return std::to_string(result) +
           (folder.HasWork("ch111.html") ? folder.ReadWork("ch111.html") : " none");
  }

  TempRunFolder folder;
  CTarnyOutlookHandler handler;
};

TEST_F(BodyExtraction, TheHtmlOfAMailBecomesItsText) {
  const std::string html = "Subject: x\r\nContent-Type: text/html; charset=utf-8\r\n\r\n";
  EXPECT_EQ(Text(html + "<h1>One</h1><p>caf\xC3\xA9 &amp; two<br>three</p>"),
            "One\r\n\r\ncaf\xC3\xA9 & two\r\nthree");
  const std::string plain = "Subject: x\r\n\r\nplain\ttext";
  EXPECT_EQ(Text(plain), "none");
  folder.WriteWork("TextFile1.txt", "of the item itself");
  EXPECT_EQ(handler.GetHTMLbODY(Folder()), 0);
  EXPECT_EQ(folder.ReadWork("TextFile1.txt"), "of the item itself");
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = safe;
    EXPECT_EQ(Text(""), "none");
    // A folder of the text's name stays, and so does the mail.
    std::filesystem::create_directory(folder.Work("TextFile1.txt"));
    folder.WriteWork("TextFile1.txt/in", "x");
    folder.WriteWork("EmlFile.Eml", html + "<p>a");
    EXPECT_EQ(handler.GetHTMLbODY(Folder()), 0);
    EXPECT_TRUE(folder.HasWork("TextFile1.txt/in") && folder.HasWork("EmlFile.Eml"));
    std::filesystem::remove_all(folder.Work("TextFile1.txt"));
    std::filesystem::remove(folder.Work("EmlFile.Eml"));
    std::filesystem::create_directory(folder.Work("EmlFile.Eml"));
    EXPECT_EQ(handler.GetHTMLbODY(Folder()), 0);
    std::filesystem::remove(folder.Work("EmlFile.Eml"));
    EXPECT_EQ(handler.GetHTMLbODY(Folder()), 1);
    EXPECT_FALSE(folder.HasWork("TextFile1.txt"));
  }
}

TEST_F(BodyExtraction, OnlySafeTextsKeepWhatTheAnsiPageLacksAndMailsWithoutHtml) {
  const std::string html =
      "Content-Type: text/html; charset=utf-8\r\n\r\n<p>\xD0\x9F\xD1\x80\xD0\xB8 \xE6\x97\xA5 "
      "\xF0\x9F\x98\x80!";
  const std::string bothForms =
      "Content-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\n\r\nplain\r\n"
      "--b\r\nContent-Type: text/html\r\n\r\n<meta charset=koi8-r><p>html</p>\r\n--b--\r\n";
  EXPECT_EQ(Text(html).find("\xE6"), std::string::npos);
  EXPECT_EQ(Text(bothForms), "html");
  ews::Settings().bSafe = true;
  EXPECT_EQ(Text(html), "\xD0\x9F\xD1\x80\xD0\xB8 \xE6\x97\xA5 \xF0\x9F\x98\x80!");
  EXPECT_EQ(Text(html + "<br>&#128512;&#x2F600;"),
            Text(html) + "\r\n\xF0\x9F\x98\x80\xF0\xAF\x98\x80");
  EXPECT_EQ(Text("Subject: x\r\nContent-Type: text/plain; charset=koi8-r\r\n\r\n\xF0\t1\r\n2"),
            "\xD0\x9F\t1\r\n2");
  EXPECT_EQ(Text(bothForms), "html");
  EXPECT_EQ(Text("Content-Type: application/pdf\r\n\r\nnot text"), "none");
}

// Forms of one text are one, and nothing else is: texts around a file are several.
TEST_F(BodyExtraction, SafeTextsHoldEachTextOnce) {
  ews::Settings().bSafe = true;
  const auto multipart = [](const std::string& type, const std::vector<std::string>& parts) {
    std::string mime = "Content-Type: multipart/" + type + "; boundary=" + type + "\r\n\r\n";
    for (const std::string& part : parts) mime += "--" + type + "\r\n" + part + "\r\n";
    return mime + "--" + type + "--\r\n";
  };
  const auto html = [](const std::string& page) {
    return "Content-Type: text/html; charset=utf-8\r\n\r\n" + page;
  };
  const std::string plain = "Content-Type: text/plain\r\n\r\nplain";
  const std::string pdf = "Content-Type: application/pdf; name=a.pdf\r\n\r\nnot text";
  const std::string file = "Content-Disposition: attachment\r\n" + html("<p>file</p>");
  const std::string picture =
      html("<p>\xC2\xA0&nbsp;</p><a href='http://x/'><img src='cid:1'></a>");
  std::string nested;
  for (int n = 0; n < 2000; ++n) nested += "<b>";
  const std::pair<std::string, std::string> rows[] = {
      {multipart("mixed", {html("<p>page</p>"), plain, pdf}), "page\r\nplain"},
      {multipart("mixed", {plain, pdf, html("<p>footer</p>")}), "plain\r\nfooter"},
      {multipart("mixed", {plain, html("<p>page</p>")}), "plain\r\npage"},
      {multipart("mixed", {html("<p>one</p>"), pdf, html("<p>two</p>"), file}), "one\r\ntwo"},
      {multipart("mixed", {multipart("alternative", {plain, html("<p>page</p>")}), pdf}), "page"},
      {multipart("alternative", {plain, html("")}), "plain"},
      {multipart("alternative", {plain, picture}), "plain\r\n\xC2\xA0\r\n<http://x/>"},
      {multipart("alternative", {plain, multipart("related", {picture})}),
       "plain\r\n\xC2\xA0\r\n<http://x/>"},
      {html(nested + "deep"), "deep"},
      // What calls itself us-ascii and is not.
      {"Content-Type: text/html; charset=us-ascii\r\n\r\nGr\xC3\xBC\xC3\x9F", "Grüß"},
      {"Content-Type: text/html\r\n\r\n<meta charset=us-ascii>Gr\xC3\xBC\xC3\x9F", "Grüß"},
      {"Content-Type: text/plain; charset=us-ascii\r\n\r\nGr\xFC\xDF \x80", "Grüß €"},
  };
  for (const auto& [mime, text] : rows) EXPECT_EQ(Text(mime), text) << mime.substr(0, 1000);
}

TEST_F(BodyExtraction, EncodingAndCharsetStandAtTheTop) {
  using C = Characters;
  EXPECT_EQ(Charater("Content-Transfer-Encoding: 8bit \r\nContent-Type: t; charset= utf-8\r\n"),
            (C{true, "8bit", "utf-8"}));
  EXPECT_EQ(Charater("nothing"), (C{true, "e", "c"}));
  std::filesystem::remove(folder.Work("ssaa.txt"));
  CString encoding = u" e ", charset;
  EXPECT_TRUE(handler.GetCharater(GetCurrPath() + u"ssaa.txt", encoding, charset));
  EXPECT_EQ(encoding, u"e");
  // Quotes count for the length; what is too long is none. The first "=" of the line is meant.
  EXPECT_EQ(Charater("charset=\"12345678901\"").charset, "\"12345678901\"");
  EXPECT_EQ(Charater("charset=\"windows-1252\"").charset, "");
  EXPECT_EQ(Charater("a=b charset=c").charset, "b charset=c");
  // The second charset and the page's beginning end the search, their own lines included.
  EXPECT_EQ(Charater("charset=a\ncharset=b\ncharset=c\nContent-Transfer-Encoding: x"),
            (C{true, "e", "b"}));
  EXPECT_EQ(Charater("<html charset=a\ncharset=b").charset, "a");
  for (const char* name : {"iso-8859-1", "us-ascii", "US-ASCII"}) {
    const std::string line = std::string("charset=") + name;
    EXPECT_FALSE(Charater("Content-Transfer-Encoding: quoted-printable\n" + line).decodes) << name;
    EXPECT_TRUE(Charater("Content-Transfer-Encoding: 7bit\n" + line).decodes) << name;
  }
  EXPECT_TRUE(Charater("Content-Transfer-Encoding: quoted-printable\ncharset=ISO-8859-1").decodes);
}

TEST_F(BodyExtraction, ARawTextBecomesItsDecodedPage) {
  const std::string type = "Content-Type: text/html; charset=utf-8\r\n";
  const std::string quoted = "Content-Transfer-Encoding: quoted-printable\r\n";
  // Soft line ends go, and with them every line's end.
  EXPECT_EQ(Page(quoted + type + "\r\nx <html>=\r\n<p>caf=C3=A9\r\n= b=\r\n</html> y=\r\nz"),
            "1<html><p>caf\xC3\xA9= b</html> y");
  EXPECT_EQ(Page("Content-Transfer-Encoding: 8bit\r\n" + type + "<html>\r\na=41=\r\n</HTML>"),
            "1<html>a=41</HTML>");
  // kept: an encoding without "bit" in its name is taken for quoted-printable, and neither encoding
  // nor charset for 7bit.
  EXPECT_EQ(Page("Content-Transfer-Encoding: base64\r\n" + type + "<html>\r\na=41b</html>"),
            "1<html>aAb</html>");
  EXPECT_EQ(Page("<html>\r\na=41b charset </html>"), "1<html>a=41b charset </html>");
  EXPECT_EQ(Page("charset=utf-8\r\nwithout a tag: html lang=\r\na</html>"),
            "1without a tag: html langa</html>");
  // A page without an end is one, and has no result.
  EXPECT_EQ(Page(type + "<html>\r\nno end"), "0<html>no end");
  // One of which nobody named the charset is none, and so is one that ran into a file, unless
  // another page follows.
  EXPECT_EQ(Page("<html>\r\nno end"), "0 none");
  EXPECT_EQ(Page("<html>\r\n</html>"), "1 none");
  const std::string file = "Content-Transfer-Encoding: base64\r\nAAAA\r\n";
  EXPECT_EQ(Page("Content-Transfer-Encoding: 8bit\r\n" + type + "<html>\r\n" + file), "0 none");
  EXPECT_EQ(Page(type + "only text"), "0 none");
  EXPECT_EQ(Page(""), "0 none");
  const std::string twice = Page("Content-Transfer-Encoding: 8bit\r\n" + type + "<html>\r\na\r\n" +
                                 file + "<html>\r\nb</html>");
  EXPECT_EQ(twice.substr(0, 8), "1<html>a") << twice;
  // kept: before a page that needs no decoding an old one stays.
  EXPECT_EQ(Page(quoted + "charset=us-ascii\r\n<html>\r\n</html>"), "0old");
}

// A rest of an item that was broken off stands where the page has to go.
TEST_F(BodyExtraction, OnlySafePagesAreNotMistakenForOlderOnes) {
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = safe;
    const std::string part = "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\n";
    folder.WriteWork("HtmlTemFile.txt", part + "old");
    folder.WriteWork("ch111.html", part + "new");
    CkMime mime;
    EXPECT_EQ(handler.DecodeBodyString(&mime, GetCurrPath(), u"ch111.html"), 1);
    EXPECT_EQ(folder.ReadWork("ch111.html"), safe ? "new" : "old");
    EXPECT_FALSE(folder.HasWork("HtmlTemFile.txt"));
    std::filesystem::remove(folder.Work("ch111.html"));
    EXPECT_EQ(handler.DecodeBodyString(&mime, GetCurrPath(), u"ch111.html"), 0);
    // A message without parts has nothing to put there.
    folder.WriteWork("ch111.html", "Subject: x\r\n\r\nx");
    EXPECT_EQ(handler.DecodeBodyString(&mime, GetCurrPath(), u"ch111.html"), 1);
    EXPECT_FALSE(folder.HasWork("ch111.html") || folder.HasWork("HtmlTemFile.txt"));
  }
  EXPECT_EQ(handler.DecodeString(u"=41"), u"");
}

}  // namespace
