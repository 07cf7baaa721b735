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

struct HttpControl : testing::Test {
  bool Get(const std::string& url) { return http.httpGetResource(url, bytes, pool, log); }
  bool GetPage(const std::string& url) { return http.httpGetDocument(url, page, pool, log); }

  mail::HttpControl http;
  mail::HttpConnPool pool;
  mail::DataBuffer bytes;
  mail::HttpControl::Document page;
  mail::_ckLogger log;
};

TEST_F(HttpControl, SendsItsHeadersAndKeepsCookiesAndConnection) {
  ScriptedServer server;
  server.Push({.body = "one", .headers = {{"Set-Cookie", "id=7"}}});
  server.Push({.body = "two"});
  ASSERT_TRUE(Get(server.Url("/a b?x=1&amp;y=2")));
  EXPECT_TRUE(bytes.equals("one"));
  ASSERT_TRUE(Get(server.Url("/x/../y/../../z")));
  EXPECT_TRUE(bytes.equals("two"));
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
  EXPECT_THAT(log.text(), HasSubstr("HttpResponseCode: 200"));
}

TEST_F(HttpControl, GzipIsUndoneAndOneThatIsNotWholeFails) {
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
  EXPECT_TRUE(Get(server.Url("/good")));
  EXPECT_TRUE(bytes.equals("packed"));
  EXPECT_THAT(log.text(), HasSubstr("UnGzipping response data"));
  EXPECT_TRUE(Get(server.Url("/twice")));
  EXPECT_TRUE(bytes.equals("packedpacked"));
  const std::pair<const char*, const char*> failures[] = {
      {"/bad", "the packed answer is damaged"},
      {"/cut", "the packed answer is cut off"},
      {"/other", "the answer is packed in a way that was not asked for: br"}};
  for (const auto& [path, reason] : failures) {
    EXPECT_FALSE(Get(server.Url(path)));
    EXPECT_EQ(http.failure(), reason);
  }
}

TEST_F(HttpControl, FailsForWhatIsNoResource) {
  PageServer server;
  server.Put("/gone", "not here", "text/html", 410);
  server.Redirect("/circle", "/circle");
  server.Redirect("/file", "file:///etc/passwd");
  server.Put("/large", std::string(mail::HttpControl::kMebibyte + 1, 'x'));
  server.Put("/fits", std::string(mail::HttpControl::kMebibyte, 'x'));
  http.m_nMaxSizeMb = 1;
  EXPECT_FALSE(Get(server.Url("/gone")));
  EXPECT_EQ(http.failure(), "the server answered 410");
  EXPECT_FALSE(Get(server.Url("/circle")));
  EXPECT_EQ(server.Asked("/circle").size(), 11U);
  EXPECT_FALSE(Get(server.Url("/file")));
  EXPECT_FALSE(Get(server.Url("/large")));
  EXPECT_EQ(http.failure(), "the answer is too large");
  EXPECT_TRUE(Get(server.Url("/fits")));
  for (const char* url : {"", "About:Blank", "ftp://127.0.0.1/x", "http://", "http:/x"}) {
    EXPECT_FALSE(Get(url)) << url;
  }
  const std::string start = server.Url("/");
  EXPECT_FALSE(Get(start + std::string(8193 - start.size(), 'u')));
  EXPECT_EQ(http.failure(), "URL is longer than the maximum allowed length.");
  EXPECT_FALSE(Get(start + std::string(8192 - start.size(), 'u')));
  EXPECT_EQ(http.failure(), "the server answered 404");
  http.m_bNoNetwork = true;
  EXPECT_FALSE(Get(server.Url("/fits")));
  EXPECT_EQ(server.Asked("/fits").size(), 1U);
}

TEST_F(HttpControl, ServersThatBreakOffAreMissing) {
  ScriptedServer server;
  server.Push({.body = "half of it", .fault = ScriptedAnswer::Fault::kDropInBody});
  server.Push({.fault = ScriptedAnswer::Fault::kReset});
  server.Push({.body = "fine"});
  EXPECT_FALSE(Get(server.Url()));
  EXPECT_FALSE(Get(server.Url()));
  EXPECT_TRUE(Get(server.Url()));
}

TEST_F(HttpControl, ASilentHostIsAskedOnce) {
  ScriptedServer server;
  server.Push({.fault = ScriptedAnswer::Fault::kSilence});
  server.Push({.body = "awake"});
  const auto answers = [&](const std::string& url) {
    http.m_nReadTimeoutMs = 60000;
    const bool answered = Get(url);
    http.m_nReadTimeoutMs = 1000;
    return answered;
  };
  http.m_nReadTimeoutMs = 1000;
  EXPECT_FALSE(Get(server.Url("/a")));
  EXPECT_FALSE(Get(server.Url("/b")));
  EXPECT_EQ(http.failure(), "the host did not answer before");
  EXPECT_EQ(server.Requests().size(), 1U);
  // Nor are others waited for where too many are silent, but those that have answered.
  ScriptedServer good, silent[2];
  good.Push({.body = "one"});
  good.Push({.body = "two"});
  EXPECT_TRUE(answers(good.Url()));
  for (ScriptedServer& other : silent) {
    other.Push({.fault = ScriptedAnswer::Fault::kSilence});
    EXPECT_FALSE(Get(other.Url()));
  }
  EXPECT_TRUE(answers(good.Url()));
  EXPECT_FALSE(Get(PageServer().Url("/")));
  EXPECT_EQ(http.failure(), "too many other hosts did not answer");
  http.forgetSilentHosts();
  EXPECT_TRUE(answers(server.Url("/b")));
}

TEST_F(HttpControl, CertificatesMustHold) {
  ScriptedServer server(ScriptedServer::Tls::k13);
  server.Push({.body = "secure"});
  EXPECT_FALSE(Get(server.Url()));
  http.m_strCaFile = server.CertificateFile();
  EXPECT_TRUE(Get(server.Url()));
  EXPECT_TRUE(bytes.equals("secure"));
}

TEST_F(HttpControl, ALoginIsSentAtOnceAndOnceMore) {
  ScriptedServer server;
  server.Push({.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"x\""}}});
  server.Push({.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"x\""}}});
  server.Push({.body = "in", .contentType = "text/html; Charset=\"utf-8\"; x=y"});
  EXPECT_FALSE(GetPage(server.Url()));  // nobody to log in as
  EXPECT_EQ(server.Requests().size(), 1U);
  http.m_strLogin = "user:pass";
  ASSERT_TRUE(GetPage(server.Url()));
  EXPECT_TRUE(page.arrBytes.equals("in"));
  EXPECT_EQ(page.strCharset, "utf-8");
  EXPECT_EQ(server.Requests()[1].Header("Authorization"), "Basic dXNlcjpwYXNz");
  EXPECT_THAT(log.text(), HasSubstr("Retrying after 401 response"));
  EXPECT_THAT(log.text(), testing::Not(HasSubstr("pass")));
}

TEST_F(HttpControl, ABodyThatBeginsWithNulBeginsAtItsTag) {
  PageServer server;
  server.Put("/", std::string("\0\0junk<html>", 12));
  server.Put("/none", std::string("\0\0junk", 6));
  ASSERT_TRUE(GetPage(server.Url("/")));
  EXPECT_TRUE(page.arrBytes.equals("<html>"));
  EXPECT_TRUE(GetPage(server.Url("/none")));
  EXPECT_TRUE(page.arrBytes.isEmpty());
}

}  // namespace
