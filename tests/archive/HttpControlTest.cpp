// Single requests, and servers that do not behave. What a page makes of them: MhtHttpTest.cpp.

#include "archive/HttpControl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/CkLogger.h"
#include "tests/archive/PageServer.h"
#include "tests/support/ScriptedServer.h"

namespace {

using archive_support::PageServer;
using test_support::ScriptedAnswer;
using test_support::ScriptedServer;
using testing::HasSubstr;

struct Client {
  bool Get(const std::string& url) { return http.httpGetResource(url, bytes, pool, log); }
  bool GetPage(const std::string& url) { return http.httpGetDocument(url, page, pool, log); }

  mail::HttpControl http;
  mail::HttpConnPool pool;
  mail::DataBuffer bytes;
  mail::HttpControl::Document page;
  mail::_ckLogger log;
};

TEST(HttpControl, SendsItsHeadersAndKeepsCookiesAndConnection) {
  ScriptedServer server;
  server.Push({.body = "one", .headers = {{"Set-Cookie", "id=7"}}});
  server.Push({.body = "two"});
  Client client;
  ASSERT_TRUE(client.Get(server.Url("/a b?x=1&amp;y=2")));
  EXPECT_TRUE(client.bytes.equals("one"));
  ASSERT_TRUE(client.Get(server.Url("/x/../y/../../z")));
  EXPECT_TRUE(client.bytes.equals("two"));
  const auto requests = server.Requests();
  EXPECT_EQ(requests[0].Header("Accept"),
            "text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8");
  EXPECT_EQ(requests[0].Header("Accept-Encoding"), "gzip");
  EXPECT_EQ(requests[0].Header("Accept-Language"), "en-us,en;q=0.5");
  EXPECT_EQ(requests[0].Header("Connection"), "keep-alive");
  EXPECT_THAT(requests[0].Header("User-Agent"), HasSubstr("Gecko"));
  EXPECT_EQ(requests[0].Header("Cookie"), "");
  EXPECT_EQ(requests[1].Header("Cookie"), "id=7");
  EXPECT_EQ(requests[1].path, "/x/y/z");
  EXPECT_EQ(requests[0].remotePort, requests[1].remotePort);
  EXPECT_THAT(client.log.text(), HasSubstr("HttpResponseCode: 200"));
}

TEST(HttpControl, GzipIsUndoneAndOneThatIsNotWholeFails) {
  PageServer server;
  const std::string type = "image/x-any";  // the server packs texts itself
  // "packed" by gzip
  const std::string packed(
      "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\x2b\x48\x4c"
      "\xce\x4e\x4d\x01\x00\x10\xb4\xf6\x21\x06\x00\x00\x00",
      26);
  server.Put("/good", packed, type);
  server.Header("/good", "Content-Encoding", "gzip");
  std::string broken = packed;
  broken[11] = '\xFF';
  server.Put("/bad", broken, type);
  server.Put("/cut", packed.substr(0, packed.size() - 5), type);
  server.Put("/twice", packed + packed + std::string(3, '\0'), type);
  for (const char* path : {"/bad", "/cut", "/twice"}) {
    server.Header(path, "Content-Encoding", "gzip");
  }
  server.Put("/other", "x");
  server.Header("/other", "Content-Encoding", "br");
  Client client;
  EXPECT_TRUE(client.Get(server.Url("/good")));
  EXPECT_TRUE(client.bytes.equals("packed"));
  EXPECT_THAT(client.log.text(), HasSubstr("UnGzipping response data"));
  EXPECT_TRUE(client.Get(server.Url("/twice")));
  EXPECT_TRUE(client.bytes.equals("packedpacked"));
  const std::pair<const char*, const char*> failures[] = {
      {"/bad", "the packed answer is damaged"},
      {"/cut", "the packed answer is cut off"},
      {"/other", "the answer is packed in a way that was not asked for: br"}};
  for (const auto& [path, reason] : failures) {
    EXPECT_FALSE(client.Get(server.Url(path)));
    EXPECT_EQ(client.http.failure(), reason);
  }
}

TEST(HttpControl, FailsForWhatIsNoResource) {
  PageServer server;
  server.Put("/gone", "not here", "text/html", 410);
  server.Redirect("/circle", "/circle");
  server.Redirect("/file", "file:///etc/passwd");
  server.Put("/large", std::string(mail::HttpControl::kMebibyte + 1, 'x'));
  server.Put("/fits", std::string(mail::HttpControl::kMebibyte, 'x'));
  Client client;
  client.http.m_nMaxSizeMb = 1;
  EXPECT_FALSE(client.Get(server.Url("/gone")));
  EXPECT_EQ(client.http.failure(), "the server answered 410");
  EXPECT_FALSE(client.Get(server.Url("/circle")));
  EXPECT_EQ(server.Asked("/circle").size(), 11U);
  EXPECT_FALSE(client.Get(server.Url("/file")));
  EXPECT_FALSE(client.Get(server.Url("/large")));
  EXPECT_EQ(client.http.failure(), "the answer is too large");
  EXPECT_TRUE(client.Get(server.Url("/fits")));
  for (const char* url : {"", "About:Blank", "ftp://127.0.0.1/x", "http://", "http:/x"}) {
    EXPECT_FALSE(client.Get(url)) << url;
  }
  const std::string start = server.Url("/");
  EXPECT_FALSE(client.Get(start + std::string(8193 - start.size(), 'u')));
  EXPECT_EQ(client.http.failure(), "URL is longer than the maximum allowed length.");
  EXPECT_FALSE(client.Get(start + std::string(8192 - start.size(), 'u')));
  EXPECT_EQ(client.http.failure(), "the server answered 404");
  client.http.m_bNoNetwork = true;
  EXPECT_FALSE(client.Get(server.Url("/fits")));
  EXPECT_EQ(server.Asked("/fits").size(), 1U);
}

TEST(HttpControl, ServersThatBreakOffAreMissing) {
  ScriptedServer server;
  server.Push({.body = "half of it", .fault = ScriptedAnswer::Fault::kDropInBody});
  server.Push({.fault = ScriptedAnswer::Fault::kReset});
  server.Push({.body = "fine"});
  Client client;
  EXPECT_FALSE(client.Get(server.Url()));
  EXPECT_FALSE(client.Get(server.Url()));
  EXPECT_TRUE(client.Get(server.Url()));
}

TEST(HttpControl, ASilentHostIsAskedOnce) {
  ScriptedServer server;
  server.Push({.fault = ScriptedAnswer::Fault::kSilence});
  server.Push({.body = "awake"});
  Client client;
  client.http.m_nReadTimeoutMs = 1000;
  EXPECT_FALSE(client.Get(server.Url("/a")));
  EXPECT_FALSE(client.Get(server.Url("/b")));
  EXPECT_EQ(client.http.failure(), "the host did not answer before");
  EXPECT_EQ(server.Requests().size(), 1U);
  // Nor are others waited for where too many are silent, but those that have answered.
  ScriptedServer good, silent[2];
  good.Push({.body = "one"});
  good.Push({.body = "two"});
  EXPECT_TRUE(client.Get(good.Url()));
  for (ScriptedServer& other : silent) {
    other.Push({.fault = ScriptedAnswer::Fault::kSilence});
    EXPECT_FALSE(client.Get(other.Url()));
  }
  EXPECT_TRUE(client.Get(good.Url()));
  EXPECT_FALSE(client.Get(PageServer().Url("/")));
  EXPECT_EQ(client.http.failure(), "too many other hosts did not answer");
  client.http.forgetSilentHosts();
  EXPECT_TRUE(client.Get(server.Url("/b")));
}

TEST(HttpControl, CertificatesMustHold) {
  ScriptedServer server(ScriptedServer::Tls::k13);
  server.Push({.body = "secure"});
  Client client;
  EXPECT_FALSE(client.Get(server.Url()));
  client.http.m_strCaFile = server.CertificateFile();
  EXPECT_TRUE(client.Get(server.Url()));
  EXPECT_TRUE(client.bytes.equals("secure"));
}

TEST(HttpControl, ALoginIsSentAtOnceAndOnceMore) {
  ScriptedServer server;
  server.Push({.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"x\""}}});
  server.Push({.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"x\""}}});
  server.Push({.body = "in", .contentType = "text/html; Charset=\"utf-8\"; x=y"});
  Client client;
  EXPECT_FALSE(client.GetPage(server.Url()));  // nobody to log in as
  EXPECT_EQ(server.Requests().size(), 1U);
  client.http.m_strLogin = "user:pass";
  ASSERT_TRUE(client.GetPage(server.Url()));
  EXPECT_TRUE(client.page.arrBytes.equals("in"));
  EXPECT_EQ(client.page.strCharset, "utf-8");
  EXPECT_EQ(server.Requests()[1].Header("Authorization"), "Basic dXNlcjpwYXNz");
  EXPECT_THAT(client.log.text(), HasSubstr("Retrying after 401 response"));
  EXPECT_THAT(client.log.text(), testing::Not(HasSubstr("pass")));
}

TEST(HttpControl, ABodyThatBeginsWithNulBeginsAtItsTag) {
  PageServer server;
  server.Put("/", std::string("\0\0junk<html>", 12));
  server.Put("/none", std::string("\0\0junk", 6));
  Client client;
  ASSERT_TRUE(client.GetPage(server.Url("/")));
  EXPECT_TRUE(client.page.arrBytes.equals("<html>"));
  EXPECT_TRUE(client.GetPage(server.Url("/none")));
  EXPECT_TRUE(client.page.arrBytes.isEmpty());
}

}  // namespace
