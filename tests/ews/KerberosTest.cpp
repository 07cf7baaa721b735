#include "ews/KerberosTicket.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <thread>

#include <fmt/format.h>

#include "platform/ChildProcess.h"
#include "tests/ews/Answers.h"
#include "tests/ews/WiredService.h"
#include "tests/support/ReservedPort.h"
#include "tests/support/TemporaryFolder.h"

// A logon with tickets of a key distribution centre of our own, where its programs are installed.
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* kCentre = "/usr/sbin/krb5kdc";

class Kerberos : public OverHttp {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kCentre)) GTEST_SKIP() << "no key distribution centre here";
    const int port = m_port.Port();
    m_folder.Write("krb5.conf",
                   fmt::format("[libdefaults]\ndefault_realm = CORP.EXAMPLE\n"
                               "dns_lookup_kdc = false\ndns_lookup_realm = false\nrdns = false\n"
                               "dns_canonicalize_hostname = false\n"
                               "[realms]\nCORP.EXAMPLE = {{\nkdc = 127.0.0.1:{}\n}}\n",
                               port));
    m_folder.Write("kdc.conf", fmt::format("[kdcdefaults]\nkdc_listen = \"\"\n"
                                           "kdc_tcp_listen = 127.0.0.1:{}\n"
                                           "[realms]\nCORP.EXAMPLE = {{\ndatabase_name = {}\n"
                                           "key_stash_file = {}\n}}\n",
                                           port, m_folder.File("db"), m_folder.File("stash")));
    setenv("KRB5_CONFIG", m_folder.File("krb5.conf").c_str(), 1);
    setenv("KRB5_KDC_PROFILE", m_folder.File("kdc.conf").c_str(), 1);
    setenv("KRB5CCNAME", ("FILE:" + m_folder.File("tickets")).c_str(), 1);
    Run("kdb5_util create -s -P master");
    Run("kadmin.local addprinc -randkey HTTP/localhost");
    Run("kadmin.local addprinc -randkey tom");
    Run("kadmin.local ktadd -k " + m_folder.File("tom.keytab") + " tom");
    platform::ChildOptions options;
    options.arrArguments = {kCentre, "-n", "-P", m_folder.File("pid")};
    m_centre = platform::ChildProcess::Start(options);
    WaitForCentre(port);
    setenv("KRB5_CLIENT_KTNAME", m_folder.File("tom.keytab").c_str(), 1);
  }
  void TearDown() override {
    for (const char* name : {"KRB5_CONFIG", "KRB5_KDC_PROFILE", "KRB5_CLIENT_KTNAME"}) {
      unsetenv(name);
    }
    if (!m_centre) return;
    m_centre->Signal(SIGTERM);
    m_centre->Wait();
  }

  // Each message of the handshake that came, and whether the request's body came with it.
  std::string Seen() const {
    std::string kinds;
    for (const auto& request : m_server.Requests()) {
      const std::string header = request.Header("Authorization");
      kinds += header.substr(0, header.find(' ')) + (request.body.empty() ? " " : "+ ");
    }
    return kinds;
  }
  void Refuse() { m_server.Push({.status = 401, .headers = {{"WWW-Authenticate", "Negotiate"}}}); }

  WiredService m_local{m_server.Url("/EWS/Exchange.asmx", "localhost")};

 private:
  void Run(const std::string& command) {
    const std::string line = "/usr/sbin/" + command + " > " + m_folder.File("out") + " 2>&1";
    ASSERT_EQ(std::system(line.c_str()), 0)
        << command << ": " << test_support::ReadAll(m_folder.File("out"));
  }
  void WaitForCentre(int port) {
    const std::string probe = fmt::format("bash -c ': < /dev/tcp/127.0.0.1/{}' 2>/dev/null", port);
    while (std::system(probe.c_str()) != 0) {
      ASSERT_FALSE(m_centre->TryWait()) << "the centre does not listen";
      std::this_thread::sleep_for(25ms);
    }
  }

  const test_support::ReservedPort m_port;
  const test_support::TemporaryFolder m_folder;
  std::optional<platform::ChildProcess> m_centre;
};

TEST_F(Kerberos, ATicketOfTheUserLogsOnWithTheRequest) {
  EXPECT_EQ(ews::KerberosTicketHolder(), "tom@CORP.EXAMPLE");
  m_local.Service().SetCredentials(ews::WebCredentials(u"tom@example.com", u"secret"));
  Refuse();
  m_server.Push({.body = answers::Found({})});
  m_server.Push({.body = answers::Item("I")});
  EXPECT_EQ(m_local.Find(), "no exception");
  EXPECT_EQ(Seen(), "Basic+ Negotiate+ ");
  EXPECT_EQ(m_server.Requests().at(1).body, m_server.Requests().at(0).body);
  EXPECT_EQ(m_local.Save(), "no exception");  // Basic is not tried again
  EXPECT_FALSE(m_server.Requests().at(2).Header("Authorization").starts_with("Basic"));
  EXPECT_FALSE(m_server.Requests().at(2).body.empty());
}

TEST_F(Kerberos, ATicketOfSomebodyElseIsNotUsed) {
  m_local.Service().SetCredentials(ews::WebCredentials(u"jane@example.com", u"secret"));
  Refuse();
  EXPECT_THAT(m_local.Find(), HasSubstr("the ticket here is that of tom@CORP.EXAMPLE"));
  EXPECT_EQ(Seen(), "Basic+ ");
}

}  // namespace
