// Archives of pages that a server on loopback gives.

#include <memory>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "archive/CkMht.h"
#include "archive/ResourceTypes.h"
#include "archive/UrlText.h"
#include "tests/support/ScriptedServer.h"

namespace {

using test_support::ScriptedAnswer;
using test_support::ScriptedServer;
using testing::HasSubstr;
using testing::Not;

using Headers = std::vector<std::pair<std::string, std::string>>;

ScriptedAnswer Page(std::string html, Headers headers = {}, int status = 200) {
  return {status, std::move(html), std::move(headers), "text/html"};
}

std::string Gzip(const std::string& text) {
  std::string packed(compressBound(text.size()) + 32, '\0');
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

class HttpArchive : public testing::Test {
 protected:
  HttpArchive() { m_mht.put_Utf8(true); }
  std::string Mht(const std::string& path) {
    const char* const text = m_mht.getMHT(m_server.Url(path).c_str());
    return text ? text : "failed";
  }

  ScriptedServer m_server;
  CkMht m_mht;
};

TEST_F(HttpArchive, AsksAsABrowserDoesAndTakesThePicturesOfThePage) {
  m_server.Push(Page(Gzip("<img src='a b.gif'><img src=\"/x/../c.gif?a=1&amp;b=2\">"),
                     {{"Content-Encoding", "gzip"}, {"Set-Cookie", "id=7"}}));
  m_server.Push({200, "GIF89a", {}, "image/gif"});
  m_server.Push({404, "gone", {}, "text/html"});
  const std::string mime = Mht("/dir/page.html#top");
  const auto requests = m_server.Requests();
  ASSERT_EQ(requests.size(), 3u);
  EXPECT_EQ(requests[0].path, "/dir/page.html");
  EXPECT_THAT(requests[0].Header("User-Agent"), HasSubstr("MALNJS"));
  EXPECT_EQ(requests[0].Header("Accept-Language"), "en-us,en;q=0.5");
  EXPECT_EQ(requests[0].Header("Accept-Encoding"), "gzip");
  EXPECT_EQ(requests[1].path, "/dir/a b.gif");  // decoded
  EXPECT_EQ(requests[1].Header("Cookie"), "id=7");
  EXPECT_EQ(requests[2].path, "/c.gif");
  EXPECT_THAT(mime, HasSubstr("Content-Location: " + m_server.Url("/dir/page.html")));
  EXPECT_THAT(mime, HasSubstr("Content-Type: image/gif"));
  EXPECT_THAT(mime, Not(HasSubstr("gone")));
}

TEST_F(HttpArchive, ARedirectionMovesWhatThePageRefersTo) {
  m_server.Push(Page("", {{"Location", m_server.Url("/new/home.html")}}, 302));
  m_server.Push(Page("<img src=a.gif>"));
  m_server.Push({200, "GIF89a", {}, "image/gif"});
  Mht("/old/page.html");
  ASSERT_EQ(m_server.Requests().size(), 3u);
  EXPECT_EQ(m_server.Requests()[2].path, "/new/a.gif");
}

TEST_F(HttpArchive, ACircleOfRedirectionsEnds) {
  for (int n = 0; n < 30; ++n) m_server.Push(Page("", {{"Location", m_server.Url("/a")}}, 302));
  EXPECT_EQ(Mht("/a"), "failed");
  EXPECT_LE(m_server.Requests().size(), 12u);
}

TEST_F(HttpArchive, APageBehindALoginIsAskedForOnceMoreAfterARefusal) {
  m_mht.put_WebSiteLogin("joe:secret");
  m_server.Push(Page("no", {{"WWW-Authenticate", "Basic realm=\"x\""}}, 401));
  m_server.Push(Page("<p>in</p>"));
  EXPECT_THAT(Mht("/"), HasSubstr("<p>in</p>"));
  EXPECT_EQ(m_server.Requests().at(0).Header("Authorization"), "Basic am9lOnNlY3JldA==");
}

TEST_F(HttpArchive, APageIsInTheCharsetThatItNames) {
  m_server.Push({200, "<meta charset=utf-8><p>\xE9</p>", {}, "text/html; charset=iso-8859-1"});
  EXPECT_THAT(Mht("/"), HasSubstr("=C3=A9"));
  m_server.Push({200, "<title>t</title><p>\xE9</p>", {}, "text/html; charset=iso-8859-1"});
  const std::string named = Mht("/");
  EXPECT_THAT(named, HasSubstr("<title>t</title><META http-equiv"));
  EXPECT_THAT(named, HasSubstr("=E9"));
}

TEST_F(HttpArchive, AServerThatFailsCostsThatResource) {
  m_mht.put_UseCids(true);
  m_server.Push(Page("<img src=/1.gif><img src=/2.gif><img src=/3.gif><p>text"));
  m_server.Push({200, "GIF89a and more", {}, "image/gif", ScriptedAnswer::Fault::kDropInBody});
  m_server.Push({200, "no gzip at all", {{"Content-Encoding", "gzip"}}, "image/gif"});
  m_server.Push({200, "GIF89a", {}, "image/gif"});
  const std::string mime = Mht("/");
  EXPECT_THAT(mime, HasSubstr("/1.gif"));
  EXPECT_THAT(mime, HasSubstr("/2.gif"));
  EXPECT_THAT(mime, HasSubstr("Content-Type: image/gif"));
  EXPECT_THAT(mime, HasSubstr("filename=\"3.gif\""));
}

TEST_F(HttpArchive, NothingIsAskedOfTheNetworkWhenThatIsOff) {
  m_mht.put_NoNetwork(true);
  EXPECT_EQ(Mht("/"), "failed");
  const std::string page = "<img src=" + m_server.Url("/a.gif") + "><p>text";
  EXPECT_THAT(m_mht.htmlToMHT(page.c_str()), HasSubstr("text"));
  EXPECT_TRUE(m_server.Requests().empty());
}

TEST_F(HttpArchive, PicturesOfTheNetworkStayAwayWhenOnlyLocalOnesAreWanted) {
  m_mht.put_EmbedLocalOnly(true);
  const std::string page = "<img src=\"" + m_server.Url("/a.gif") + "\">";
  EXPECT_THAT(m_mht.htmlToMHT(page.c_str()), HasSubstr("<img src=3D\"http://127.0.0.1"));
  EXPECT_TRUE(m_server.Requests().empty());
}

TEST(HttpsArchive, ACertificateThatDoesNotHoldIsAMissingResource) {
  ScriptedServer server(ScriptedServer::Tls::k13);
  server.Push({200, "GIF89a", {}, "image/gif"});
  CkMht mht;
  mht.put_UseCids(true);
  const std::string url = server.Url("/a.gif");
  const char* const mime = mht.htmlToMHT(("<img src=\"" + url + "\">").c_str());
  ASSERT_TRUE(mime);
  EXPECT_THAT(mime, Not(HasSubstr("image/gif")));
  EXPECT_TRUE(server.Requests().empty());
}

TEST(ResourceTypes, AreToldByBytesThenByExtension) {
  struct Row {
    std::string bytes;
    std::string url;
    std::string type;
    bool isScript;
  };
  const Row rows[] = {
      {"GIF89", "a.png", "image/gif", false},
      {"GIF8", "a.png", "image/png", false},  // too short to tell
      {"\xFF\xD8\xFF\xE0 ", "a", "image/jpeg", false},
      {"\x89PNG\r\n", "a.txt", "image/png", false},
      {"%PDF-1", "a.txt", "application/pdf", false},
      {"%PDF-", "a.txt", "text/plain", false},
      {"BM is no picture", "a.txt", "text/plain", false},
      {"alert(1);", "http://h/a.js", "application/octet-stream", true},
      {"<html>", "http://h/a/", "text/html", false},
      {"<html>", "http://h/a.unheard", "text/html", false},
      {"bytes", "a.unheard", "application/octet-stream", false},
      {"bytes", "name", "application/octet-stream", false},
  };
  for (const Row& row : rows) {
    const mail::DetectedType type = mail::detectContentType(row.bytes, row.url);
    EXPECT_EQ(type.strType, row.type) << row.bytes << ' ' << row.url;
    EXPECT_EQ(type.bIsScript, row.isScript) << row.url;
  }
}

TEST(ResourceTypes, NamesHaveTheExtensionOfTheirType) {
  EXPECT_EQ(mail::resourceName("image/jpeg", "http://h/x/photo"), "photo.jpeg");
  EXPECT_EQ(mail::resourceName("image/jpeg", "http://h/x/photo.jpeg?q=1.gif"), "photo.jpg");
  EXPECT_EQ(mail::resourceName("image/png", "a;b=c.gif"), "abc.png");
  EXPECT_EQ(mail::resourceName("text/css", "d/s.css"), "s.css");
}

TEST(UrlText, CombinesAsBrowsersDo) {
  const std::string base = "http://h:8/a/b/c.html?x=/y/";
  const std::pair<std::string, std::string> rows[] = {
      {"d.gif", "http://h:8/a/b/d.gif"},      {"./d.gif", "http://h:8/a/b/d.gif"},
      {"../d.gif", "http://h:8/a/d.gif"},     {"../../../d.gif", "http://h:8/d.gif"},
      {"/d.gif", "http://h:8/d.gif"},         {"//i/d.gif", "http://i/d.gif"},
      {"https://i/d.gif", "https://i/d.gif"}, {"data:x", "data:x"},
  };
  for (const auto& [url, combined] : rows) EXPECT_EQ(mail::combineUrl(base, url), combined) << url;
}

TEST(UrlText, TellsPagesFromPictures) {
  for (const char* const url : {"a.html", "A.ASP?x", "http://host", "http://host.com", "x.php"}) {
    EXPECT_TRUE(mail::isPageUrl(url)) << url;
  }
  for (const char* const url : {"a.gif", "http://host/", "http://host/a.gif", ""}) {
    EXPECT_FALSE(mail::isPageUrl(url)) << url;
  }
}

}  // namespace
