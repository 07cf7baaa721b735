#include "ews/Handshake.h"

#include <cstdlib>

#include "ews/KerberosTicket.h"
#include "tests/ews/ScriptedTransport.h"

// What is done about a server that takes no Basic.
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Handshakes : public testing::Test {
 protected:
  Handshakes() { setenv("KRB5CCNAME", "FILE:/nonexistent/tickets", 1); }

  std::vector<ews::Handshake> For(const std::vector<std::string>& offers,
                                  const CString& password = u"secret") {
    ews::HttpResponse refusal{401, {}, ""};
    for (const std::string& offer : offers)
      refusal.arrHeaders.push_back({"WWW-Authenticate", offer});
    return ews::HandshakesFor(refusal, {u"tom@example.com", password}, "https://mail.example.com/");
  }
  std::string Refused(const std::vector<std::string>& offers, const CString& password = u"secret") {
    return TextOf([&] { (void)For(offers, password); });
  }
};

TEST_F(Handshakes, WithoutATicketNtlmIsLeft) {
  EXPECT_EQ(ews::KerberosTicketHolder(), std::nullopt);
  EXPECT_THAT(For({"Negotiate, NTLM"}), ElementsAre(ews::Handshake::kNtlm));
  EXPECT_THAT(For({"NEGOTIATE", "ntlm"}), ElementsAre(ews::Handshake::kNtlm));
  EXPECT_THAT(For({"Negotiate", "Basic realm=\"x\""}), IsEmpty());  // the password was wrong
  EXPECT_THAT(For({"Digest realm=\"Negotiate\""}), IsEmpty());
}

TEST_F(Handshakes, WhatIsNotPossibleIsRefusedWithEveryReason) {
  EXPECT_EQ(Refused({"Negotiate"}),
            "The request failed. The server mail.example.com answered HTTP 401 (Unauthorized: the "
            "user name, the password or the token was refused). It asks for a Kerberos logon, and "
            "there is no ticket here: this logon is refused.");
  EXPECT_THAT(Refused({"Negotiate, NTLM"}, u"\u20AC"),
              AllOf(HasSubstr("no ticket here. It asks for an NTLM logon"),
                    HasSubstr("beyond Latin-1: this logon is refused.")));
}

TEST_F(Handshakes, ATicketIsThatOfTheUserOrOfAnother) {
  for (const char* login : {"tom@example.com", "CORP\\Tom", "TOM"}) {
    EXPECT_TRUE(ews::IsTicketOf("tom@CORP.EXAMPLE", login)) << login;
    EXPECT_FALSE(ews::IsTicketOf("tom/admin@CORP.EXAMPLE", login)) << login;
    EXPECT_FALSE(ews::IsTicketOf("jane@CORP.EXAMPLE", login)) << login;
  }
  EXPECT_FALSE(ews::IsTicketOf("@CORP.EXAMPLE", "@example.com"));
}

}  // namespace
