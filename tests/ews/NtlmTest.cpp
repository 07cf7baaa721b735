#include <array>
#include <cstdlib>

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "platform/Base64.h"
#include "tests/ews/Answers.h"
#include "tests/ews/WiredService.h"
#include "tests/support/TemporaryFolder.h"

// The handshake as a server sees it: a first message without the request's body, a challenge back,
// an answer to it together with the body. From then on the connection itself is logged on.
namespace {

using test_support::ScriptedAnswer;
using test_support::SeenRequest;
using test_support::WideBytes;
using testing::HasSubstr;

const std::string kServerChallenge = "\x01\x23\x45\x67\x89\xAB\xCD\xEF";
// MD4 of "pässword" in 16-bit units.
const std::string kPasswordHash =
    "\xF1\xB0\x94\xF2\x5B\xBD\xCB\x6F\xDB\xAA\x6C\xC8\xB4\x3F\x0C\x44";

// Names no target, offers 16-bit text and the second version of the answer.
std::string Challenge() {
  const std::string targetInfo = std::string("\x02\0\x04\0D\0M\0", 8) + std::string(4, '\0');
  return std::string("NTLMSSP\0\x02\0\0\0\0\0\0\0\x30\0\0\0\x01\x02\x88\0", 24) + kServerChallenge +
         std::string(8, '\0') + std::string("\x0C\0\x0C\0\x30\0\0\0", 8) + targetInfo;
}

// The bytes of the message in an Authorization header, "" if it holds none.
std::string Message(const SeenRequest& request) {
  const std::string header = request.Header("Authorization");
  std::string bytes;
  if (!header.starts_with("NTLM ") || !platform::Base64Decode(header.substr(5), bytes)) return {};
  return bytes;
}

size_t Little(const std::string& bytes, size_t at, int count) {
  size_t value = 0;
  while (count-- > 0) value = value << 8 | static_cast<unsigned char>(bytes.at(at + count));
  return value;
}

// A field of a message: its length and place stand at `at`.
std::string Field(const std::string& message, size_t at) {
  return message.substr(Little(message, at + 4, 4), Little(message, at, 2));
}

std::string HmacMd5(const std::string& key, const std::string& data) {
  std::array<unsigned char, 16> hash{};
  HMAC(EVP_md5(), key.data(), static_cast<int>(key.size()),
       reinterpret_cast<const unsigned char*>(data.data()), data.size(), hash.data(), nullptr);
  return {hash.begin(), hash.end()};
}

class Ntlm : public OverHttp {
 protected:
  Ntlm() {
    setenv("KRB5CCNAME", "FILE:/nonexistent/tickets", 1);  // where Kerberos is offered, too
    m_wire.Service().SetCredentials(ews::WebCredentials(u"CORP\\tom", u"pässword"));
  }
  void Refuse(const std::string& offer = "NTLM", const std::string& other = "Negotiate") {
    m_server.Push(
        {.status = 401, .headers = {{"WWW-Authenticate", other}, {"WWW-Authenticate", offer}}});
  }
  void PushChallenge() { Refuse("NTLM " + platform::Base64Encode(Challenge())); }
  void PushHandshake() {
    Refuse();
    PushChallenge();
  }
  // The requests in order: B with Basic, 1 and 3 with that message, - with neither; "+" behind one
  // that has its body.
  std::string Seen() const {
    std::string kinds;
    for (const SeenRequest& request : m_server.Requests()) {
      const std::string message = Message(request);
      kinds += request.Header("Authorization").starts_with("Basic ") ? 'B'
               : message.empty()                                     ? '-'
                                 : static_cast<char>('0' + Little(message, 8, 4));
      if (!request.body.empty()) kinds += '+';
      kinds += ' ';
    }
    return kinds;
  }
};

// A server takes the name in capitals of every kind into the key, and the domain as it came.
TEST_F(Ntlm, TheHandshakeProvesUserDomainAndPassword) {
  const struct {
    CString login;
    std::u16string domain, name, inKey;
  } rows[] = {{u"CORP\\tom", u"CORP", u"tom", u"TOMCORP"},
              {u"C\u00F6rp\\m\u00FCller/\u00DF", u"C\u00F6rp", u"m\u00DCller/\u00DF",
               u"M\u00DCLLER/\u00DFC\u00F6rp"},
              {u"m\u00FCller", u"", u"m\u00DCller", u"M\u00DCLLER"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.login.ToUtf8());
    WiredService wire(m_server.Url("/EWS/Exchange.asmx"));
    wire.Service().SetCredentials(ews::WebCredentials(row.login, u"p\u00E4ssword"));
    const size_t before = m_server.Requests().size();
    PushHandshake();
    m_server.Push({.body = answers::Found({})});
    EXPECT_EQ(wire.Find(), "no exception");
    ASSERT_EQ(m_server.Requests().size(), before + 3);
    const std::string answer = Message(m_server.Requests().at(before + 2));
    EXPECT_EQ(Field(answer, 28), WideBytes(row.domain));
    EXPECT_EQ(Field(answer, 36), WideBytes(row.name));
    const std::string proof = Field(answer, 20);
    ASSERT_GT(proof.size(), 16u);
    const std::string key = HmacMd5(kPasswordHash, WideBytes(row.inKey));
    EXPECT_EQ(proof.substr(0, 16), HmacMd5(key, kServerChallenge + proof.substr(16)));
    EXPECT_EQ(m_server.Requests().at(before + 2).body, m_server.Requests().at(before).body);
  }
}

TEST_F(Ntlm, AConnectionIsLoggedOnOnceAndEachNewOneAgain) {
  PushHandshake();
  for (int i = 0; i < 3; ++i) m_server.Push({.body = answers::Found({})});
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Find(), "no exception");
  EXPECT_EQ(Seen(), "B+ 1 3+ -+ -+ ");
  m_server.Push({.fault = ScriptedAnswer::Fault::kDropUnanswered});
  EXPECT_THAT(Save(), HasSubstr("It may have carried the request out."));
  EXPECT_EQ(Seen(), "B+ 1 3+ -+ -+ -+ ");  // what creates is not sent again
  PushChallenge();
  m_server.Push({.body = answers::Item("I")});
  EXPECT_EQ(Save(), "no exception");
  EXPECT_EQ(Seen(), "B+ 1 3+ -+ -+ -+ 1 3+ ");
  // A login that the server forgets is made anew: nothing was carried out.
  PushHandshake();
  m_server.Push({.body = answers::Item("I")});
  EXPECT_EQ(Save(), "no exception");
  EXPECT_EQ(Seen(), "B+ 1 3+ -+ -+ -+ 1 3+ -+ 1 3+ ");
}

TEST_F(Ntlm, AnAnswerThatIsLostIsNotAskedForAgain) {
  PushHandshake();
  m_server.Push({.fault = ScriptedAnswer::Fault::kDropUnanswered});
  EXPECT_THAT(Save(), HasSubstr("It may have carried the request out."));
  EXPECT_EQ(Seen(), "B+ 1 3+ ");
}

TEST_F(Ntlm, OnlyAPasswordForAServerWithoutBasicStartsIt) {
  Refuse("NTLM", "Basic realm=\"x\"");
  EXPECT_THAT(Find(), HasSubstr("HTTP 401"));
  Refuse("NTLMX, x NTLM", "Digest realm=\"x\"");
  EXPECT_THAT(Find(), HasSubstr("HTTP 401"));
  EXPECT_EQ(Seen(), "B+ B+ ");
  m_wire.Service().SetCredentials(ews::OAuthCredentials(u"token"));
  Refuse();
  EXPECT_THAT(Find(), HasSubstr("HTTP 401"));
  EXPECT_EQ(Seen(), "B+ B+ -+ ");
}

TEST_F(Ntlm, AWrongPasswordIsToldAndBasicIsTriedFirstAgain) {
  PushHandshake();
  Refuse();
  EXPECT_THAT(Find(), HasSubstr("HTTP 401"));
  m_server.Push({.body = answers::Found({})});
  EXPECT_EQ(Find(), "no exception");
  EXPECT_EQ(Seen(), "B+ 1 3+ B+ ");
}

TEST_F(Ntlm, OneThatHasWorkedIsAskedForAtOnceAsLongAsItIsOffered) {
  PushHandshake();
  m_server.Push({.body = answers::Found({})});
  EXPECT_EQ(Find(), "no exception");
  PushHandshake();
  Refuse();
  EXPECT_THAT(Find(), HasSubstr("HTTP 401"));
  EXPECT_EQ(Seen(), "B+ 1 3+ -+ 1 3+ ");
  PushChallenge();
  m_server.Push({.body = answers::Found({})});
  EXPECT_EQ(Find(), "no exception");
  EXPECT_EQ(Seen(), "B+ 1 3+ -+ 1 3+ 1 3+ ");
  Refuse("Basic realm=\"x\"");  // it has changed its ways
  EXPECT_THAT(Find(), HasSubstr("HTTP 401"));
  m_server.Push({.body = answers::Found({})});
  EXPECT_EQ(Find(), "no exception");
  EXPECT_EQ(Seen(), "B+ 1 3+ -+ 1 3+ 1 3+ -+ B+ ");
}

TEST_F(Ntlm, WhatItCannotProveIsToldAndNotTried) {
  const ews::WebCredentials logins[] = {{u"tom", u"p\u20ACssword"},
                                        {u"\u0422om", u"password"},
                                        {u"ma\u00FF", u"password"},
                                        {u"\u00B5", u"password"}};
  for (const ews::WebCredentials& login : logins) {
    WiredService wire(m_server.Url("/EWS/Exchange.asmx"));
    wire.Service().SetCredentials(login);
    Refuse();
    EXPECT_THAT(wire.Find(), AllOf(HasSubstr("HTTP 401"), HasSubstr("beyond Latin-1"),
                                   HasSubstr("logon is refused")));
    EXPECT_THAT(wire.Find(), HasSubstr("beyond Latin-1"));
  }
  EXPECT_EQ(Seen(), "B+ B+ B+ B+ ");
}

}  // namespace
