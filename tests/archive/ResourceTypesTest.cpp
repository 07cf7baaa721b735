// What URLs and first bytes tell of resources.

#include <array>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "archive/ResourceTypes.h"
#include "archive/UrlText.h"

namespace {

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

TEST(UrlText, Combination) {
  struct Case {
    const char* base;
    const char* url;
    const char* result;
  };
  for (const Case& c : std::to_array<Case>({
           {"http://h/a/b.html", "c.gif", "http://h/a/c.gif"},
           {"http://h/a/b.html", "./c/./d?x=../y", "http://h/a/c/d?x=../y"},
           {"http://h/a/b/", "../../../c", "http://h/c"},
           {"http://h:81", "c", "http://h:81/c"},
           {"http://h/a/b?q=/x/", "c", "http://h/a/c"},
           {"HTTPS://h/a", "//o/c", "https://o/c"},
           {"http://h/a/b", "/c", "http://h/c"},
           {"http://h/a/b", "?q", "http://h/a/b?q"},
           {"http://h/a/b", "..", "http://h/"},
           {"http://h/a/b", "data:x", "data:x"},
           {"no base", "c", "c"},
       })) {
    EXPECT_EQ(mail::combineUrl(c.base, c.url), c.result) << c.base << ' ' << c.url;
  }
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
