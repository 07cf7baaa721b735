#include <gtest/gtest.h>

#include "ews/CurlTransport.h"
#include "ews/EmailMessage.h"
#include "ews/ExchangeService.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TlsServer.h"

// Which certificates and which versions of TLS are taken, with and without verification.

namespace {

using test_support::TlsServer;
using Version = TlsServer::Highest;

class Tls : public testing::Test {
 protected:
  std::string Ask(const std::string& url) {
    ews::CurlTransport transport;
    const ews::ScopedTransport scope(transport);
    const auto service =
        std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
    service->SetUrl(CString::FromUtf8(url));
    return TextOf([&] {
      service->FindFolders(ews::WellKnownFolderName::MsgFolderRoot, ews::FolderView(10));
    });
  }

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
  ews::CurlTransport transport;
  const ews::ScopedTransport scope(transport);
  const auto service =
      std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
  service->SetUrl(CString::FromUtf8(server.Url()));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(TextOf([&] { ews::EmailMessage(service).Save(ews::WellKnownFolderName::Inbox); }),
              "no exception");
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
