#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

class FolderOperations : public LocalMailbox {
 protected:
  std::string Search(const std::string& parent, const std::string& restriction,
                     const std::string& traversal = "Shallow", int offset = 0) {
    return Ask(Envelope("<m:FindFolder Traversal=\"" + traversal +
                        "\"><m:FolderShape><t:BaseShape>AllProperties</t:BaseShape>"
                        "</m:FolderShape><m:IndexedPageFolderView MaxEntriesReturned=\"10\" "
                        "Offset=\"" +
                        std::to_string(offset) + "\" BasePoint=\"Beginning\"/>" + restriction +
                        "<m:ParentFolderIds>" + parent + "</m:ParentFolderIds></m:FindFolder>"));
  }
  static std::string Named(const std::string& name) {
    return "<m:Restriction><t:Contains ContainmentMode=\"Substring\" "
           "ContainmentComparison=\"IgnoreCase\"><t:FieldURI FieldURI=\"folder:DisplayName\"/>"
           "<t:Constant Value=\"" +
           name + "\"/></t:Contains></m:Restriction>";
  }
  std::string Make(const std::string& parent, const std::string& name,
                   const std::string& element = "Folder") {
    return Ask(CreateFolder(parent, "<t:" + element + "><t:DisplayName>" + name +
                                        "</t:DisplayName></t:" + element + ">"));
  }
};

TEST_F(FolderOperations, ANewMailboxHasItsWellKnownFolders) {
  const std::string answer = Search(WellKnown("msgfolderroot"), "");
  EXPECT_NE(answer.find("TotalItemsInView=\"11\""), std::string::npos) << answer;
  EXPECT_NE(answer.find("IncludesLastItemInRange=\"false\""), std::string::npos);
  EXPECT_EQ(CountOf(answer, "<t:DisplayName>"), 10u);
  EXPECT_NE(answer.find("<t:CalendarFolder>"), std::string::npos);
  const std::string rest = Search(WellKnown("msgfolderroot"), "", "Shallow", 10);
  EXPECT_EQ(CountOf(rest, "<t:DisplayName>"), 1u);
  EXPECT_NE(rest.find("IncludesLastItemInRange=\"true\""), std::string::npos);
}

TEST_F(FolderOperations, NamesAreFoundAsPartsInAnyCase) {
  Make(WellKnown("inbox"), "\xC3\x84rger &amp; Pl\xC3\xA4ne");
  EXPECT_EQ(CountOf(Search(WellKnown("inbox"), Named("\xC3\xA4RGER &amp; PL\xC3\x84")),
                    "<t:DisplayName>"),
            1u);
  EXPECT_EQ(CountOf(Search(WellKnown("inbox"), Named("Plans")), "<t:DisplayName>"), 0u);
  EXPECT_EQ(CountOf(Search(WellKnown("inbox"), Named("")), "<t:DisplayName>"), 1u);
}

TEST_F(FolderOperations, DeepSearchFindsGrandchildrenAndShallowDoesNot) {
  const std::string child = FolderId(Make(WellKnown("inbox"), "one"));
  Make(ById(child), "two");
  EXPECT_EQ(CountOf(Search(WellKnown("inbox"), Named("two")), "<t:DisplayName>"), 0u);
  EXPECT_EQ(CountOf(Search(WellKnown("inbox"), Named("two"), "Deep"), "<t:DisplayName>"), 1u);
}

TEST_F(FolderOperations, EqualityAndNegationFilterByTheWholeName) {
  Make(WellKnown("inbox"), "one");
  Make(WellKnown("inbox"), "one more");
  const std::string equal =
      "<t:IsEqualTo><t:FieldURI FieldURI=\"folder:DisplayName\"/><t:FieldURIOrConstant>"
      "<t:Constant Value=\"ONE\"/></t:FieldURIOrConstant></t:IsEqualTo>";
  const auto count = [&](const std::string& filter) {
    return CountOf(Search(WellKnown("inbox"), "<m:Restriction>" + filter + "</m:Restriction>"),
                   "<t:DisplayName>");
  };
  EXPECT_EQ(count(equal), 1u);
  EXPECT_EQ(count("<t:Not>" + equal + "</t:Not>"), 1u);
  EXPECT_EQ(count("<t:And>" + equal + equal + "</t:And>"), 1u);
  EXPECT_EQ(count("<t:Or>" + equal + "<t:Not>" + equal + "</t:Not></t:Or>"), 2u);
}

TEST_F(FolderOperations, ANameIsTakenInAnyCaseBelowOneParentOnly) {
  EXPECT_EQ(Code(Make(WellKnown("inbox"), "Projects")), "NoError");
  const std::string again = Make(WellKnown("inbox"), "PROJECTS");
  EXPECT_EQ(Code(again), "ErrorFolderExists");
  EXPECT_NE(again.find("A folder with the specified name already exists."), std::string::npos);
  EXPECT_EQ(Code(Make(WellKnown("drafts"), "Projects")), "NoError");
}

TEST_F(FolderOperations, TheElementAloneGivesTheClass) {
  const std::string id = FolderId(Make(WellKnown("inbox"), "Dates", "CalendarFolder"));
  const std::string answer =
      Ask(Envelope("<m:GetFolder><m:FolderShape><t:BaseShape>AllProperties</t:BaseShape>"
                   "</m:FolderShape><m:FolderIds>" +
                   ById(id) + "</m:FolderIds></m:GetFolder>"));
  EXPECT_NE(answer.find("<t:CalendarFolder>"), std::string::npos);
  EXPECT_NE(answer.find("<t:FolderClass>IPF.Appointment<"), std::string::npos);
}

TEST_F(FolderOperations, EmptyNamesAndUnknownParentsAreRefused) {
  EXPECT_EQ(Code(Make(WellKnown("inbox"), "")), "ErrorFolderSavePropertyError");
  EXPECT_EQ(Code(Make(ById("-NO-"), "a")), "ErrorInvalidIdMalformed");
  EXPECT_EQ(Code(Search(ById("AAMkgarbagegarbage!"), "")), "ErrorInvalidIdMalformed");
  EXPECT_EQ(Code(Make(ById(mailbox::MakeId(mailbox::IdKind::kFolder, 999)), "a")),
            "ErrorItemNotFound");
  EXPECT_EQ(Code(Make(ById(mailbox::MakeId(mailbox::IdKind::kItem, 1)), "a")),
            "ErrorInvalidIdMalformed");
}

TEST_F(FolderOperations, ImpersonationAndTheMailboxElementChooseTheMailbox) {
  const auto inbox = [&](const std::string& header, const std::string& folder) {
    return FolderId(
        Ask(Envelope("<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape>"
                     "</m:FolderShape><m:FolderIds>" +
                         folder + "</m:FolderIds></m:GetFolder>",
                     header)));
  };
  const std::string header =
      "<t:ExchangeImpersonation><t:ConnectingSID><t:SmtpAddress>Other@Example.com</t:SmtpAddress>"
      "</t:ConnectingSID></t:ExchangeImpersonation>";
  const std::string named =
      "<t:DistinguishedFolderId Id=\"inbox\"><t:Mailbox><t:EmailAddress>other@example.com"
      "</t:EmailAddress></t:Mailbox></t:DistinguishedFolderId>";
  const std::string own = inbox("", WellKnown("inbox"));
  const std::string other = inbox(header, WellKnown("inbox"));
  EXPECT_NE(own, other);
  EXPECT_EQ(other, inbox("", named));
  EXPECT_EQ(inbox("", WellKnown("publicfoldersroot")),
            inbox(header, WellKnown("publicfoldersroot")));
}

}  // namespace
