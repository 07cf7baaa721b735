#include "ews/CWebAccessHandler.h"
#include "ews/ServicePointManager.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"

namespace {

using testing::HasSubstr;
using Root = ews::WellKnownFolderName;

class WebAccessHandler : public Scripted {
 protected:
  bool Logon(int route, const CString& impersonated, const CString& target) {
    CString tenant = u"tenant";
    CString client = u"client";
    CString secret = u"secret";
    CString logPath;
    m_error = {};
    return m_handler.LogonUserAndServer(u"admin@example.com", u"pw", impersonated, target, m_error,
                                        tenant, client, secret, &route, logPath);
  }
  void LogonByPassword() {
    ews::Settings().strEwsUrl = u"https://mail.example.com/EWS/Exchange.asmx";
    ASSERT_TRUE(Logon(0, u"", u"Mailbox"));
  }
  // What the last request said about a header, or "".
  std::string Header(const std::string& name) const {
    for (const auto& [key, value] : m_transport.Requests().back().headers) {
      if (key == name) return value;
    }
    return {};
  }
  bool LastHolds(const std::string& text) const {
    return LastBody().find(text) != std::string::npos;
  }
  void PushToken() { m_transport.Push(answers::Token("T")); }
  // A search below that folder, which finds nothing.
  int Check(const ews::FolderId& folder) {
    m_transport.Push(answers::Found({}));
    return m_handler.CheckArchiveMailboxLogin(folder);
  }

  CWebAccessHandler m_handler;
  CString m_error;
};

TEST_F(WebAccessHandler, ThePasswordRouteImpersonatesOnlyWhatIsNamed) {
  ews::Settings().strEwsUrl = u"https://mail.example.com/EWS/Exchange.asmx";
  const struct {
    const char16_t* impersonated;
    const char16_t* target;
    bool impersonates;
  } rows[] = {{u"", u"Mailbox", false},
              {u"a@example.com", u"Mailbox", true},
              {u"a@example.com", u"Group", false},
              {u"a@example.com", u" Group ", true}};
  for (const auto& row : rows) {
    ASSERT_TRUE(Logon(0, row.impersonated, row.target));
    EXPECT_EQ(Check(Root::ArchiveMsgFolderRoot), 1);
    EXPECT_EQ(LastHolds("ExchangeImpersonation"), row.impersonates);
    EXPECT_EQ(Header("X-AnchorMailbox"), "");
    EXPECT_TRUE(m_transport.Requests().back().authorization.starts_with("Basic "));
  }
}

TEST_F(WebAccessHandler, AFailedPasswordLogonTellsWhy) {
  m_transport.Push("", 401);
  EXPECT_FALSE(Logon(2, u"", u"Mailbox"));
  EXPECT_TRUE(m_error.Contains(u"HTTP 401")) << m_error.ToUtf8();
}

TEST_F(WebAccessHandler, TheTokenRouteUsesTheFixedEndpoint) {
  PushToken();
  ASSERT_TRUE(Logon(1, u"box@example.com", u"Mailbox"));
  EXPECT_EQ(Check(Root::MsgFolderRoot), 1);
  const auto& sent = m_transport.Requests().back();
  EXPECT_EQ(sent.url, "https://outlook.office365.com/EWS/Exchange.asmx");
  EXPECT_EQ(sent.authorization, "Bearer T");
  EXPECT_EQ(Header("X-AnchorMailbox"), "box@example.com");
  EXPECT_TRUE(LastHolds("<t:SmtpAddress>box@example.com</t:SmtpAddress>"));
  EXPECT_EQ(m_handler.m_dtTime.GetStatus(), COleDateTime::valid);
  EXPECT_GT(m_handler.m_dtTime.Value(), 40000.0);

  PushToken();
  ASSERT_TRUE(Logon(1, u"group@example.com", u"Group"));
  Check(Root::MsgFolderRoot);
  EXPECT_EQ(Header("X-AnchorMailbox"), "");
  EXPECT_FALSE(LastHolds("ExchangeImpersonation"));
}

TEST_F(WebAccessHandler, WithoutATokenTheOldConnectionStaysAndNoReasonLeaves) {
  LogonByPassword();
  const auto service = m_handler.m_pService;
  m_transport.Push("{\"error_description\":\"no\"}", 401);
  EXPECT_FALSE(Logon(1, u"box@example.com", u"Mailbox"));
  EXPECT_TRUE(m_error.IsEmpty());
  EXPECT_EQ(m_handler.m_pService, service);
}

TEST_F(WebAccessHandler, AnEmptyImpersonatedMailFailsAtTheFirstRequest) {
  PushToken();
  ASSERT_TRUE(Logon(1, u"", u"Mailbox"));
  EXPECT_EQ(m_handler.CheckArchiveMailboxLogin(Root::MsgFolderRoot), 0);
  EXPECT_EQ(m_transport.Requests().size(), 1u);
  PushToken();
  EXPECT_FALSE(Logon(1, u"a\r\nX-Evil: 1", u"Mailbox"));
}

TEST_F(WebAccessHandler, BeforeALogonEverythingFailsQuietly) {
  EXPECT_EQ(m_handler.CheckArchiveMailboxLogin(Root::ArchiveMsgFolderRoot), 0);
  EXPECT_EQ(m_handler.CreateFolderInStore(u"A\\", 0, Root::MsgFolderRoot, false), 1);
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), kAbsentFolder);
  EXPECT_EQ(TextOf([&] { m_handler.Service(); }), ews::kNoService);
}

TEST_F(WebAccessHandler, LevelsAreWhatBackslashesClose) {
  const struct {
    const char16_t* path;
    int count;
    std::vector<const char16_t*> names;
  } rows[] = {
      {u"", 0, {u""}},
      {u"A", 0, {u"", u""}},
      {u"A\\", 1, {u"A", u""}},
      {u"A\\B", 1, {u"A", u"", u""}},
      {u"A\\B\\", 2, {u"A", u"B", u""}},
      {u"A\\\\B\\", 3, {u"A", u"", u"B", u""}},
      {u"\\A\\", 0, {u"\\A", u"A", u""}},  // a leading backslash counts nothing
  };
  for (const auto& row : rows) {
    const std::string path = CString(row.path).ToUtf8();
    EXPECT_EQ(m_handler.getTotCountSlash(row.path), row.count) << path;
    for (size_t i = 0; i < row.names.size(); ++i) {
      EXPECT_EQ(m_handler.GetNameBySlash(row.path, static_cast<int>(i)), row.names[i])
          << path << " " << i;
    }
  }
}

TEST_F(WebAccessHandler, NamesAndTypesDecideTheClass) {
  EXPECT_EQ(m_handler.UpdateName(u"($Meetings)"), u"Calendar");
  EXPECT_EQ(m_handler.UpdateName(u"($inbox)"), u"($inbox)");
  EXPECT_EQ(m_handler.GetFolderType(u"By Diary Date"), u"IPF.Jornal");
  EXPECT_EQ(m_handler.GetFolderType(u"contacts"), u"IPF.Note");
  EXPECT_EQ(m_handler.GetFolderTypeGroupwise(u"Tasks", 4, false), u"IPF.Task");  // the name wins
  EXPECT_EQ(m_handler.GetFolderTypeGroupwise(u"x", 13, false), u"IPF.Task");
  EXPECT_EQ(m_handler.GetFolderTypeGroupwise(u"x", 6, true), u"IPF.Appointment");
  EXPECT_EQ(m_handler.GetFolderTypeGroupwise(u"x", 14, false), u"IPF.Contact");
  EXPECT_EQ(m_handler.GetFolderTypeGroupwise(u"x", 1, false), u"IPF.Note");
  m_handler.m_strCalendarName = u"($Inbox)";
  EXPECT_EQ(m_handler.GetFolderType(u"($Inbox)"), u"IPF.Appointment");
}

TEST_F(WebAccessHandler, LevelsAreFoundInAnyCaseAndTheRestIsMade) {
  LogonByPassword();
  m_transport.PushAll({answers::Found({{"1", "My Inbox"}, {"2", "INBOX"}}), answers::Found({}),
                       answers::NewFolder("3"), answers::Found({}), answers::NewFolder("4")});
  EXPECT_EQ(
      m_handler.CreateFolderInStore(u"($Inbox)\\($ToDo)\\Sub\\", 4, Root::MsgFolderRoot, true), 1);
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), u"4");
  EXPECT_TRUE(m_handler.m_bChangeViewOfCalender);
  const auto& sent = m_transport.Requests();
  ASSERT_EQ(sent.size(), 5u);
  EXPECT_THAT(sent[0].body, HasSubstr("<t:Constant Value=\"Inbox\"/>"));
  EXPECT_THAT(sent[1].body, HasSubstr("<t:FolderId Id=\"2\"/>"));
  // A middle level takes its class from the source's name, the last one from the type.
  EXPECT_THAT(sent[2].body, HasSubstr("<t:TasksFolder><t:DisplayName>To Do<"));
  EXPECT_THAT(sent[4].body, HasSubstr("<t:CalendarFolder><t:DisplayName>Sub<"));
}

TEST_F(WebAccessHandler, AFolderThatCannotBeMadeIsAbsentAndSoIsAllBelow) {
  LogonByPassword();
  m_transport.PushAll({answers::Found({}),
                       answers::Error("CreateFolder", "ErrorFolderExists", "exists"),
                       answers::Error("FindFolder", "ErrorInvalidIdMalformed", "bad id"),
                       answers::Error("CreateFolder", "ErrorInvalidIdMalformed", "bad id")});
  EXPECT_EQ(m_handler.CreateNewFolderInStore(u"A\\B\\", 0, Root::MsgFolderRoot, false), 1);
  EXPECT_EQ(m_handler.m_fldNewFolder.ToString(), kAbsentFolder);
  ASSERT_EQ(m_transport.Requests().size(), 4u);
  EXPECT_TRUE(LastHolds("<t:FolderId Id=\"-NO-\"/>"));
}

TEST_F(WebAccessHandler, SafeLooksOnceMoreForAFolderThatTheServerRefuses) {
  LogonByPassword();
  ews::Settings().bSafe = true;
  m_transport.PushAll({answers::Found({}),
                       answers::Error("CreateFolder", "ErrorFolderExists", "exists"),
                       answers::Found({{"7", "a"}})});
  m_handler.CreateFolderInStore(u"A\\", 0, Root::MsgFolderRoot, false);
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), u"7");
  EXPECT_TRUE(LastHolds("<t:IsEqualTo>"));
  // A request that got no answer is no refusal.
  m_transport.Push(answers::Found({}));
  m_transport.PushFailure("gone");
  m_handler.CreateFolderInStore(u"A\\", 0, Root::MsgFolderRoot, false);
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), kAbsentFolder);
  EXPECT_EQ(m_transport.Requests().size(), 5u);
}

// A mailbox may lack its Archive, and an older server the name: then it is a folder as any other.
// A failure of the moment is neither, or what has a folder would get a second one.
TEST_F(WebAccessHandler, SafeTakesTheMailboxsOwnArchiveWhereTheServerHasIt) {
  LogonByPassword();
  ews::Settings().bSafe = true;
  const auto current = [&](const char16_t* path, Root root) {
    m_handler.CreateFolderInStore(path, 0, root, false);
    return m_handler.m_fldCurrent.ToString().ToUtf8();
  };
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(current(u"ARCHIVE\\", Root::MsgFolderRoot), "archive");
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(current(u"($Inbox)\\", Root::ArchiveMsgFolderRoot), "archiveinbox");
  for (const char* const refusal : {"ErrorFolderNotFound", "ErrorInvalidRequest"}) {
    m_transport.Push(answers::Error("FindFolder", refusal, "no"));
    m_transport.Push(answers::Found({{"1", "Archive"}}));
    EXPECT_EQ(current(u"Archive\\", Root::MsgFolderRoot), "1") << refusal;
  }
  m_transport.Push(answers::Envelope("<s:Fault><faultcode>a:ErrorSchemaValidation</faultcode>"
                                     "<faultstring>no such name</faultstring></s:Fault>"),
                   500);
  m_transport.PushAll({answers::Found({}), answers::NewFolder("2")});
  EXPECT_EQ(current(u"Archive\\", Root::MsgFolderRoot), "2");
  for (int i = 0; i < 4; ++i) {
    m_transport.Push(answers::Error("FindFolder", "ErrorInternalServerError", "no"));
  }
  EXPECT_EQ(current(u"Archive\\", Root::MsgFolderRoot), "-NO-");
}

TEST_F(WebAccessHandler, SafeMakesFoldersOfMailOfMailWhateverTheirNames) {
  LogonByPassword();
  const struct {
    bool safe;
    const char16_t* path;
    int type;
    const char* last;
  } rows[] = {{true, u"A\\Contacts\\", 0, "Folder"},
              {true, u"A\\Tasks\\", 4, "TasksFolder"},
              {false, u"A\\Contacts\\", 0, "ContactsFolder"}};
  for (const auto& row : rows) {
    ews::Settings().bSafe = row.safe;
    for (const char* const id : {"1", "2"}) {
      m_transport.PushAll({answers::Found({}), answers::NewFolder(id)});
    }
    m_handler.CreateFolderInStore(row.path, row.type, Root::MsgFolderRoot, false);
    EXPECT_TRUE(LastHolds(std::string("<t:") + row.last + "><t:DisplayName>"));
  }
}

// What the mailbox calls its calendar may be called so in any language.
TEST_F(WebAccessHandler, SafePutsMailWhereItIsShown) {
  LogonByPassword();
  const auto found = [](const char* id, const char* folderClass) {
    return answers::Success("FindFolder", std::string("<m:RootFolder TotalItemsInView=\"1\">") +
                                              "<t:Folders><t:CalendarFolder><t:FolderId Id=\"" +
                                              id + "\"/><t:FolderClass>" + folderClass +
                                              "</t:FolderClass><t:DisplayName>K</t:DisplayName>"
                                              "</t:CalendarFolder></t:Folders></m:RootFolder>");
  };
  const struct {
    bool safe;
    int type;
    const char* folderClass;
    bool staysThere;
  } rows[] = {{true, 0, "IPF.Appointment", false},
              {true, 0, "ipf.contact.RecipientCache", false},
              {true, 0, "IPF.Task", false},
              {true, 0, "IPF.StickyNote", false},
              {true, 0, "IPF.Journal", false},
              {true, 0, "IPF.Journals", true},
              {true, 0, "IPF.Note.OutlookHomepage", true},
              {true, 0, "", true},
              {true, 4, "IPF.Appointment", true},
              {false, 0, "IPF.Appointment", true}};
  for (const auto& row : rows) {
    ews::Settings().bSafe = row.safe;
    m_transport.Push(found("1", row.folderClass));
    if (!row.staysThere) {
      for (const char* const made : {"2", "3"}) {
        m_transport.PushAll({answers::Found({}), answers::NewFolder(made)});
      }
    } else {
      m_transport.PushAll({answers::Found({}), answers::NewFolder("3")});
    }
    m_handler.CreateFolderInStore(u"K\\Sub\\", row.type, Root::MsgFolderRoot, false);
    EXPECT_EQ(m_handler.m_fldCurrent.ToString(), u"3") << row.folderClass;
    EXPECT_TRUE(LastHolds(row.staysThere ? "<t:FolderId Id=\"1\"/>" : "<t:FolderId Id=\"2\"/>"));
  }
  ews::Settings().bSafe = true;
  for (int i = 0; i < 2; ++i) {
    m_transport.PushAll({found("1", "IPF.Task"), found("2", "IPF.Task")});
    if (i == 0) m_handler.CreateFolderInStore(u"K\\", 0, Root::MsgFolderRoot, false);
  }
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), kAbsentFolder);
  EXPECT_THAT(TextOf([&] { m_handler.EnsureCurrentFolder(); }), HasSubstr("shows no mail"));
  // An archive mailbox has none of its own.
  m_transport.PushAll({answers::Found({}), answers::NewFolder("5")});
  m_handler.CreateFolderInStore(u"Contacts\\", 0, Root::ArchiveMsgFolderRoot, false);
  EXPECT_TRUE(LastHolds("<t:Folder><t:DisplayName>Contacts<"));
}

TEST_F(WebAccessHandler, SafeTriesAFolderAgainThatCouldNotBeMadeAndTellsWhy) {
  LogonByPassword();
  ews::Settings().bSafe = true;
  const auto refuse = [&] {
    m_transport.Push(answers::Found({}));
    m_transport.Push(answers::Error("CreateFolder", "ErrorQuotaExceeded", "It is full."));
    m_transport.Push(answers::Found({}));
  };
  const auto ensured = [&] { return TextOf([&] { m_handler.EnsureCurrentFolder(); }); };
  refuse();
  EXPECT_EQ(m_handler.CreateFolderInStore(u"A\\B\\", 4, Root::MsgFolderRoot, false), 1);
  EXPECT_EQ(m_transport.Requests().size(), 3u);  // nothing is asked below what is not there
  refuse();
  EXPECT_EQ(ensured(), "The folder could not be made: It is full; the mailbox is full.");
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), kAbsentFolder);
  m_transport.PushAll({answers::Found({{"1", "A"}}), answers::Found({}), answers::NewFolder("2")});
  EXPECT_EQ(ensured(), "no exception");
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), u"2");
  EXPECT_TRUE(LastHolds("<t:CalendarFolder>"));
  EXPECT_EQ(ensured(), "no exception");
  EXPECT_EQ(m_transport.Requests().size(), 9u);
}

// A folder cannot be made twice, so one of which nobody knows is waited for as a question is.
TEST_F(WebAccessHandler, SafeWaitsForAFolderThatMayHaveBeenMade) {
  LogonByPassword();
  ews::Settings().bSafe = true;
  ews::Settings().nPatience = std::chrono::seconds(60);
  m_transport.Push(answers::Found({}));
  for (int i = 0; i < 4; ++i) {
    m_transport.Push(
        answers::Error("CreateFolder", "ErrorInternalServerTransientError", "Not now."));
  }
  m_transport.Push(answers::Error("CreateFolder", "ErrorFolderExists", "exists"));
  m_transport.Push(answers::Found({{"7", "A"}}));
  m_handler.CreateFolderInStore(u"A\\", 0, Root::MsgFolderRoot, false);
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), u"7");
  EXPECT_GT(m_transport.Waited(), std::chrono::seconds(10));
  ews::Settings().nPatience = {};
  m_transport.Push(answers::Found({}));
  m_transport.Push("", 404);
  m_handler.CreateFolderInStore(u"A\\", 0, Root::MsgFolderRoot, false);
  m_transport.Push(answers::Found({}));
  m_transport.Push("", 502);
  m_transport.Push(answers::Found({}));
  // The text is for an item, and that was not sent.
  EXPECT_EQ(TextOf([&] { m_handler.EnsureCurrentFolder(); }),
            "The folder could not be made: The request failed. The server mail.example.com "
            "answered HTTP 502 (Bad Gateway); waited for 0 s");
}

TEST_F(WebAccessHandler, APathWithoutALevelIsTheRootItself) {
  m_handler.CreateFolderInStore(u"Inbox", 0, Root::PublicFoldersRoot, false);
  EXPECT_EQ(m_handler.m_fldCurrent.ToString(), u"publicfoldersroot");
}

TEST_F(WebAccessHandler, AGroupHasThreeFolders) {
  LogonByPassword();
  const struct {
    const char16_t* path;
    const char* name;
  } rows[] = {{u"Calendar\\", "calendar"},
              {u"Contacts\\", "contacts"},
              {u"Calendar", "inbox"},
              {u"A\\Calendar\\", "inbox"},
              {u"", "inbox"}};
  for (const auto& row : rows) {
    m_handler.SetFolderStore(row.path, u"group@example.com");
    Check(m_handler.m_fldCurrent);
    EXPECT_TRUE(LastHolds(std::string("<t:DistinguishedFolderId Id=\"") + row.name +
                          "\"><t:Mailbox>"
                          "<t:EmailAddress>group@example.com<"));
  }
}

TEST(ServicePointManager, VerificationStandsAboveTheCallback) {
  const SettingsKeeper keeper;
  EXPECT_TRUE(CMyClass::AcceptingCertificate(nullptr, nullptr, nullptr, 7));
  EXPECT_TRUE(ews::ServicePointManager::AcceptsEveryCertificate());
  ews::Settings().bVerifyCertificates = true;
  EXPECT_FALSE(ews::ServicePointManager::AcceptsEveryCertificate());
}

}  // namespace
