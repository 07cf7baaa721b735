#include "mime/CkEmail.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/CkLogger.h"
#include "mime/CkCrypt2.h"
#include "mime/CkFileAccess.h"
#include "mime/CkMailMan.h"
#include "mime/email/ClsEmail.h"
#include "mime/email/EmailBodies.h"
#include "mime/email/EmailBuilding.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/MailFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class CkEmailTest : public testing::Test {
 protected:
  CkEmailTest() { m_email.put_Utf8(true); }

  // What SaveEml writes.
  std::string Saved() { return Saved(m_email); }
  std::string Saved(CkEmail& email) {
    EXPECT_TRUE(email.SaveEml(Path("out.eml").c_str())) << email.lastErrorText();
    return test_support::ReadBytes(Path("out.eml"));
  }
  std::string Path(const std::string& name) const { return m_folder.File(name); }

  test_support::TemporaryFolder m_folder;
  CkEmail m_email;
};

TEST_F(CkEmailTest, ANewMailIsAnEmptyTextOfNow) {
  const std::string saved = Saved();
  EXPECT_THAT(saved, testing::MatchesRegex(
                         "MIME-Version: 1\\.0\r\n"
                         "Date: [A-Z][a-z]+, [0-9]+ [A-Z][a-z]+ [0-9]+ [0-9:]+ [+-][0-9]+\r\n"
                         "Content-Type: text/plain\r\n"
                         "Content-Transfer-Encoding: 7bit\r\n"
                         "X-Priority: 3 \\(Normal\\)\r\n\r\n"));
  EXPECT_FALSE(m_email.HasHtmlBody());
  EXPECT_EQ(m_email.getHtmlBody(), nullptr);
  EXPECT_THAT(m_email.lastErrorText(), HasSubstr("No HTML alternative."));
}

TEST_F(CkEmailTest, ALongTextAndOneWithAMimeVersionAreTheMailItself) {
  m_folder.Write("in.eml", "Subject: from a file\r\n\r\n");
  EXPECT_TRUE(m_email.LoadEml(Path("in.eml").c_str()));
  EXPECT_THAT(Saved(), HasSubstr("Subject: from a file"));
  EXPECT_TRUE(m_email.LoadEml("MIME-Version: 1.0\r\nSubject: short\r\n\r\n"));
  EXPECT_THAT(Saved(), HasSubstr("Subject: short"));
  // 1,000 characters are a path, of whatever bytes; 1,001 are a text.
  const std::string text = "Subject: " + test_support::Repeated(991, "\xC3\xA4");
  EXPECT_FALSE(m_email.LoadEml(text.c_str()));
  EXPECT_THAT(Saved(), HasSubstr("Subject: short"));  // the old mail stays
  EXPECT_TRUE(m_email.LoadEml((text + "!").c_str()));
  EXPECT_THAT(Saved(), Not(HasSubstr("short")));
}

TEST_F(CkEmailTest, TextIsInTheEncodingThatTheFlagSays) {
  const char* const mime =
      "MIME-Version: 1.0\r\nContent-Type: text/html; charset=koi8-r\r\n\r\n<p>\xC3\xA4</p>\n";
  ASSERT_TRUE(m_email.SetFromMimeText(mime));
  EXPECT_TRUE(m_email.HasHtmlBody());
  EXPECT_STREQ(m_email.getHtmlBody(), "<p>\xC3\xA4</p>\r\n");
  EXPECT_THAT(m_email.lastErrorText(),
              HasSubstr("This is an HTML-only email.  It is not multipart/alternative."));
  // A text whose first 50,000 bytes are 7-bit names its charset itself.
  std::string late = "Content-Type: text/html; charset=iso-8859-1\r\n\r\n";
  late.append(50000, 'x').append("\xC3\xA4");
  ASSERT_TRUE(m_email.SetFromMimeText(late.c_str()));
  EXPECT_TRUE(std::string(m_email.getHtmlBody()).ends_with("x\xC3\x83\xC2\xA4"));
}

struct Sender {
  const char* text;
  const char* field;
};
const Sender kSenders[] = {
    {"Last, First <a@b.example>", "From: \"Last, First\" <a@b.example>\r\n"},
    {"\"Last\", First  <a@b.example>", "From: \"Last, First\" <a@b.example>\r\n"},
    {"Ann <a@b.example>", "From: Ann <a@b.example>\r\n"},
    {"a@b.example", "From: a@b.example\r\n"},
    {"Ann <a@b.example>, \xC3\xA4 <c@d.example>",
     "From: Ann <a@b.example>, =?iso-8859-1?Q?=E4?= <c@d.example>\r\n"},
    {"nobody", "From: nobody\r\n"},
    {"\xD0\x90 <\xD0\x90@b.example>", "From: =?iso-8859-5?Q?=B0_<=B0@b.example>?=\r\n"},
    {"=?utf-8?Q?M=C3=BCller=2C_A?= <a@b.example>",
     "From: =?iso-8859-1?Q?M=FCller=2C_A?= <a@b.example>\r\n"},
    {"\xD0\x90\xD0\xBD <a@b.example>", "From: =?iso-8859-5?Q?=B0=DD?= <a@b.example>\r\n"},
};

TEST_F(CkEmailTest, SendersAreWrittenAsAddresses) {
  for (const Sender& sender : kSenders) {
    CkEmail email;
    email.put_Utf8(true);
    email.put_From(sender.text);
    EXPECT_TRUE(email.get_LastMethodSuccess());
    EXPECT_THAT(Saved(email), HasSubstr(sender.field));
  }
}

TEST_F(CkEmailTest, TheFirstTextThatNeedsACharsetChoosesIt) {
  m_email.put_Subject("plain");
  EXPECT_THAT(m_email.lastErrorText(), Not(HasSubstr("usingCharset")));
  m_email.put_Subject("\xCE\xB1");
  EXPECT_THAT(m_email.lastErrorText(), HasSubstr("usingCharset: iso-8859-7"));
  EXPECT_THAT(Saved(), HasSubstr("Subject: =?iso-8859-7?Q?=E1?=\r\n"));
  EXPECT_THAT(Saved(), HasSubstr("Content-Type: text/plain; charset=iso-8859-7\r\n"));
  m_email.put_Subject("\xD0\x90");  // not in that page, which stays
  EXPECT_THAT(m_email.lastErrorText(), Not(HasSubstr("usingCharset")));
  EXPECT_THAT(Saved(), HasSubstr("Subject: =?utf-8?Q?=D0=90?=\r\n"));
}

TEST_F(CkEmailTest, SavingTellsWhatFailed) {
  EXPECT_FALSE(m_email.SaveEml(" \t"));
  EXPECT_THAT(m_email.lastErrorText(), HasSubstr("The filename parameter is missing"));
  EXPECT_FALSE(m_email.SaveEml(m_folder.Path().c_str()));
  EXPECT_THAT(m_email.lastErrorText(), HasSubstr("Failed to create EML file."));
  EXPECT_FALSE(m_email.SaveEml("/dev/full"));
  EXPECT_THAT(m_email.lastErrorText(), HasSubstr("Failed to write EML file."));
}

TEST_F(CkEmailTest, SavingTakesTheDraftMarkAway) {
  ASSERT_TRUE(m_email.SetFromMimeText("X-Unsent: 1\r\nSubject: s\r\n\r\n"));
  EXPECT_FALSE(m_email.SaveEml("/dev/full"));
  EXPECT_THAT(Saved(), HasSubstr("X-Unsent: 1"));
  EXPECT_THAT(Saved(), Not(HasSubstr("X-Unsent")));
}

TEST_F(CkEmailTest, AMailThatIsBeingSentIsNotChanged) {
  struct Change {
    bool (mail::ClsEmail::*operation)(mail::XString&);
    const char* argument;  // and how the log shows it
    const char* logged;
  };
  const std::string path = Path("out.eml");
  const std::string shown = "path: " + path;
  const Change changes[] = {
      {&mail::ClsEmail::LoadEml, path.c_str(), shown.c_str()},
      {&mail::ClsEmail::LoadEml, "MIME-Version: 1.0\r\n\r\n", "numMimeBytes: 21"},
      {&mail::ClsEmail::SetFromMimeText, "Subject: new\r\n\r\n", "numMimeBytes: 16"},
      {&mail::ClsEmail::SaveEml, path.c_str(), shown.c_str()},
      {&mail::ClsEmail::put_From, "a@b.example", "from: a@b.example"},
      {&mail::ClsEmail::put_Subject, "new", "subject: new"},
  };
  const mail::OwnedPtr<mail::ClsEmail> email(new mail::ClsEmail);
  for (const bool sending : {true, false}) {
    email->m_bSending = sending;
    m_folder.Write("out.eml", "X-Unsent: 1\r\n\r\n");
    for (const Change& change : changes) {
      mail::XString argument;
      (void)argument.setFromUtf8(change.argument);
      EXPECT_EQ((email.get()->*change.operation)(argument), !sending) << change.logged;
      const std::string& log = email->m_log.text();
      EXPECT_THAT(log, HasSubstr(change.logged));
      EXPECT_THAT(log, HasSubstr(sending ? "Failed.\r\n" : "Success.\r\n"));
      EXPECT_EQ(log.find("This email object is read-only while it is in the process of being "
                         "sent...") != std::string::npos,
                sending);
    }
    EXPECT_EQ(email->email()->header().find("subject") == nullptr, sending);
  }
}

TEST_F(CkEmailTest, EveryNodeHasItsReason) {
  const std::string path =
      test_support::MailFolder() / "email/attachments/inline-with-and-without-name.eml";
  mail::_ckLogger log;
  log.m_bVerbose = true;
  const auto email = mail::buildEmail(test_support::ReadBytes(path), /*bUtf8=*/false, log);
  std::size_t files = 0;
  for (const mail::PlacedEmail& placed : mail::nodesOf(*email)) {
    files += mail::isAttachment(placed, log) ? 1 : 0;
  }
  EXPECT_EQ(files, 1U);
  for (const char* reason : {"No (multipart enclosure)", "No, attachment is not indicated.",
                             "Yes, inline AND has filename", "No, inline AND no filename"}) {
    EXPECT_THAT(log.text(), HasSubstr(reason));
  }
  log.clearLog();
  EXPECT_NE(mail::findAlternative(*email, "text/html", log), nullptr);
  EXPECT_THAT(log.text(), HasSubstr("isAttachment: No, attachment is not indicated."));
}

TEST_F(CkEmailTest, WholeFilesAreWrittenOrNot) {
  CkFileAccess access;
  CkByteData bytes;
  bytes.append("a\0b", 3);
  EXPECT_TRUE(access.WriteEntireFile(Path("f").c_str(), bytes));
  EXPECT_EQ(test_support::ReadBytes(Path("f")), std::string("a\0b", 3));
  EXPECT_FALSE(access.WriteEntireFile(m_folder.Path().c_str(), bytes));
  EXPECT_FALSE(access.get_LastMethodSuccess());
  EXPECT_TRUE(CkMailMan().get_LastMethodSuccess());
  EXPECT_TRUE(CkCrypt2().get_LastMethodSuccess());
}

}  // namespace
