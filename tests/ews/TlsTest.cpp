#include "tests/ews/Answers.h"
#include "tests/ews/WiredService.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TlsServer.h"

// Which certificates and which versions of TLS are taken, with and without verification.

namespace {

using test_support::TlsServer;
using Version = TlsServer::Highest;

class Tls : public testing::Test {
 protected:
  static std::string Ask(const std::string& url) { return WiredService(url).Find(); }

  SettingsKeeper m_settings;
  const test_support::TemporaryFolder m_folder;
  const std::string m_certificate = m_folder.File("server.pem");
};

TEST_F(Tls, WithoutVerificationAnyCertificateAndOldVersionsPass) {
  EXPECT_EQ(Ask(TlsServer(Version::kTls13, answers::Found({})).Url()), "no exception");
  EXPECT_EQ(Ask(TlsServer(Version::kTls10, answers::Found({})).Url()), "no exception");
}

TEST_F(Tls, VerificationWantsAKnownCertificateForTheHost) {
  const TlsServer server(Version::kTls13, answers::Found({}));
  ews::Settings().bVerifyCertificates = true;
  EXPECT_NE(Ask(server.Url()).find("certificate"), std::string::npos);
  server.WriteCertificate(m_certificate);
  ews::Settings().strCaFile = CString::FromUtf8(m_certificate);
  EXPECT_EQ(Ask(server.Url()), "no exception");
  EXPECT_TRUE(Ask(server.Url("localhost")).starts_with("The request failed. "));
}

TEST_F(Tls, AConnectionThatTheServerEndedWhileIdleIsNoFailureOfTheNextMail) {
  TlsServer server(Version::kTls13, answers::Item("I="));
  WiredService wire(server.Url());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(wire.Save(), "no exception");
    server.EndConnections();
  }
}

TEST_F(Tls, VerificationWantsTls12) {
  const TlsServer server(Version::kTls11, answers::Found({}));
  ews::Settings().bVerifyCertificates = true;
  server.WriteCertificate(m_certificate);
  ews::Settings().strCaFile = CString::FromUtf8(m_certificate);
  EXPECT_TRUE(Ask(server.Url()).starts_with("The request failed. "));
}

}  // namespace
