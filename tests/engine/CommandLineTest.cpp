#include "engine/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

#include "ews/Settings.h"

namespace {

struct Result {
  CommandLine line;
  ews::ServiceSettings settings;
};

Result Read(const std::vector<std::string>& arguments) {
  Result result;
  result.line = ReadCommandLine(arguments, result.settings);
  return result;
}

TEST(CommandLine, TitleIsTheTailFromTheFirstMarkerOn) {
  EXPECT_EQ(Read({"<GUID>/home/u/run"}).line.strTitle, u"<GUID>/home/u/run");
  EXPECT_EQ(Read({"word", "x<GUID>a", " b \"c\"", "<GUID>", "--safe"}).line.strTitle,
            u"<GUID>a  b \"c\" <GUID> --safe");
  EXPECT_EQ(Read({"<GUID>\xC3\xA9"}).line.strTitle, u"<GUID>\u00E9");
}

TEST(CommandLine, MarkerIsMatchedByCase) {
  EXPECT_FALSE(Read({"<guid>"}).line.bMarker);
  EXPECT_FALSE(Read({}).line.bMarker);
  EXPECT_FALSE(Read({"<GU", "ID>"}).line.bMarker);
}

TEST(CommandLine, OptionsStandInFrontOfTheMarkerOnly) {
  const Result result = Read({"--ews-url", "https://h/e", "--trust-host", "a", "--trust-host", "b",
                              "--safe", "--ca-file", "/x y", "<GUID>t", "--token-cache"});
  EXPECT_EQ(result.line.strError, "");
  EXPECT_EQ(result.settings.strEwsUrl, u"https://h/e");
  EXPECT_EQ(result.settings.arrTrustHosts, (std::vector<CString>{u"a", u"b"}));
  EXPECT_EQ(result.settings.strCaFile, u"/x y");
  EXPECT_TRUE(result.settings.bSafe);
  EXPECT_FALSE(result.settings.bTokenCache);
  EXPECT_FALSE(result.settings.bVerifyCertificates);
  EXPECT_EQ(result.line.strTitle, u"<GUID>t --token-cache");
}

TEST(CommandLine, BadOptionsAreNamed) {
  EXPECT_EQ(Read({"--sefa", "<GUID>"}).line.strError, "unknown option: --sefa");
  EXPECT_EQ(Read({"--ca-file", "<GUID>"}).line.strError, "option without its value: --ca-file");
  EXPECT_EQ(Read({"--sefa"}).line.strError, "");  // nobody is addressed
}

TEST(CommandLine, PatienceAndProxyAreTakenOnlyAsWhatTheyAre) {
  const Result result =
      Read({"--patience", "604800", "--proxy", "http://proxy.example.com:3128", "<GUID>"});
  EXPECT_EQ(result.line.strError, "");
  EXPECT_EQ(result.settings.nPatience, std::chrono::hours(168));
  EXPECT_EQ(result.settings.strProxy, u"http://proxy.example.com:3128");
  EXPECT_EQ(Read({"<GUID>"}).settings.nPatience.count(), 0);
  for (const char* value : {"604801", "-1", "30m", " 1", "99999999999"}) {
    const Result bad = Read({"--patience", value, "<GUID>"});
    EXPECT_EQ(bad.line.strError, "--patience wants a number of seconds, 604800 at most") << value;
    EXPECT_EQ(bad.settings.nPatience.count(), 0) << value;
  }
  for (const char* value :
       {"proxy.example.com:3128", "socks5://h", "http://u:secret@h", "http://"}) {
    EXPECT_EQ(Read({"--proxy", value, "<GUID>"}).line.strError,
              "--proxy wants http://HOST:PORT or https://HOST:PORT without a user name")
        << value;
  }
}

}  // namespace
