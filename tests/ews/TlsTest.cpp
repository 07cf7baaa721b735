#include "tests/ews/Answers.h"
#include "tests/ews/WiredService.h"

// Which certificates and which versions of TLS are taken, with and without verification.

namespace {

using test_support::ScriptedServer;
using testing::HasSubstr;
using testing::StartsWith;
using Version = ScriptedServer::Tls;

class Tls : public testing::Test {
 protected:
  static std::string Ask(ScriptedServer& server, const std::string& host = "127.0.0.1") {
    server.Push({.body = answers::Found({})});
    return WiredService(server.Url("/EWS/Exchange.asmx", host)).Find();
  }
  static void Trust(const ScriptedServer& server) {
    ews::Settings().strCaFile = CString::FromUtf8(server.CertificateFile());
  }

  SettingsKeeper m_settings;
};

TEST_F(Tls, WithoutVerificationAnyCertificateAndOldVersionsPass) {
  for (const Version highest : {Version::k13, Version::k10}) {
    ScriptedServer server(highest);
    EXPECT_EQ(Ask(server), "no exception");
  }
}

TEST_F(Tls, VerificationWantsAKnownCertificateForTheHost) {
  ScriptedServer server(Version::k13);
  ews::Settings().bVerifyCertificates = true;
  EXPECT_THAT(Ask(server), HasSubstr("certificate"));
  Trust(server);
  EXPECT_EQ(Ask(server), "no exception");
  EXPECT_THAT(Ask(server, "other.localhost"), HasSubstr("certificate"));
}

TEST_F(Tls, AConnectionThatTheServerEndedWhileIdleIsNoFailureOfTheNextMail) {
  ScriptedServer server(Version::k13);
  WiredService wire(server.Url());
  for (int i = 0; i < 3; ++i) {
    server.Push({.body = answers::Item("I=")});
    EXPECT_EQ(wire.Save(), "no exception");
    server.EndConnections();
  }
}

TEST_F(Tls, VerificationWantsTls12) {
  ScriptedServer server(Version::k11);
  ews::Settings().bVerifyCertificates = true;
  Trust(server);
  EXPECT_THAT(Ask(server), StartsWith("The request failed. "));
}

}  // namespace
