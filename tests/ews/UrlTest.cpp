#include "ews/Url.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(Url, AHostIsTheOneThatIsConnectedTo) {
  struct Row {
    const char* url;
    const char* host;  // empty: refused
  };
  const Row rows[] = {
      {"https://Mail.Example.COM:8443/EWS", "mail.example.com"},
      {"https://[::1]/", "::1"},
      {"http://127.1/", "127.0.0.1"},
      {"http://%31%32%37.0.0.1/", "127.0.0.1"},
      {"http://%327/", ""},  // is read as another host when it is written out
      {"https://user@example.com/", ""},
      {"ftp://example.com/", ""},
      {"https:///example.com", "example.com"},
  };
  for (const Row& row : rows) {
    const auto url = ews::ParseUrl(row.url);
    EXPECT_EQ(url ? url->strHost : "", row.host) << row.url;
  }
}

}  // namespace
