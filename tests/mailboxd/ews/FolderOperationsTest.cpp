#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

const std::string kInbox = WellKnown("inbox");

class FolderOperations : public LocalMailbox {
 protected:
  std::string Search(const std::string& parent, const std::string& restriction,
                     const std::string& traversal = "Shallow", int offset = 0,
                     const std::string& base = "Beginning") {
    return Ask(FindFolder(parent, restriction, traversal,
                          "<m:IndexedPageFolderView MaxEntriesReturned=\"10\" Offset=\"" +
                              std::to_string(offset) + "\" BasePoint=\"" + base + "\"/>"));
  }
  std::string Make(const std::string& parent, const std::string& name,
                   const std::string& element = "Folder") {
    return Ask(CreateFolder(parent, Tag("t:" + element, Tag("t:DisplayName", name))));
  }
};

TEST_F(FolderOperations, ANewMailboxHasItsWellKnownFolders) {
  const std::string answer = Search(WellKnown("msgfolderroot"), "");
  EXPECT_TRUE(Holds(answer, {"TotalItemsInView=\"12\"", "IncludesLastItemInRange=\"false\"",
                             "<t:CalendarFolder>"}));
  EXPECT_EQ(CountOf(answer, "<t:DisplayName>"), 10u);
  const std::string rest = Search(WellKnown("msgfolderroot"), "", "Shallow", 10);
  EXPECT_EQ(CountOf(rest, "<t:DisplayName>"), 2u);
  EXPECT_TRUE(Holds(rest, {"IncludesLastItemInRange=\"true\""}));
  // Counted from the end, the page ends in front of the last nine.
  EXPECT_EQ(CountOf(Search(WellKnown("msgfolderroot"), "", "Shallow", 9, "End"), "<t:DisplayName>"),
            3u);
}

TEST_F(FolderOperations, NamesAreFoundInAnyCaseAsPartsOrAsAWholeAndBelowChildrenIfAsked) {
  Make(kInbox, "\xC3\x84rger &amp; Pl\xC3\xA4ne");
  Make(ById(FolderId(Make(kInbox, "one"))), "two");
  Make(kInbox, "one more");
  const auto holding = [](const std::string& part, const std::string& mode = "Substring") {
    return "<t:Contains ContainmentMode=\"" + mode +
           "\" ContainmentComparison=\"IgnoreCase\">"
           "<t:FieldURI FieldURI=\"folder:DisplayName\"/><t:Constant Value=\"" +
           part + "\"/></t:Contains>";
  };
  const std::string one = Equal(Uri("folder:DisplayName"), "ONE");
  const std::string others = Tag("t:Not", one);
  const struct {
    std::string filter;
    const char* traversal;
    size_t found;
  } rows[] = {
      {holding("\xC3\xA4RGER &amp; PL\xC3\x84"), "Shallow", 1},
      {holding("Plans"), "Shallow", 0},
      {holding(""), "Shallow", 3},
      {holding("ONE", "FullString"), "Shallow", 1},
      {holding("two"), "Shallow", 0},
      {holding("two"), "Deep", 1},
      {one, "Shallow", 1},
      {others, "Shallow", 2},
      {Tag("t:And", one + one), "Shallow", 1},
      {Tag("t:And", one + others), "Shallow", 0},
      {Tag("t:Or", one + others), "Shallow", 3},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(CountOf(Search(kInbox, row.filter, row.traversal), "<t:DisplayName>"), row.found)
        << row.filter;
  }
}

TEST_F(FolderOperations, ANameIsTakenInAnyCaseBelowOneParentThatIsThere) {
  const struct {
    std::string parent;
    const char* name;
    const char* code;
  } rows[] = {
      {kInbox, "Projects", "NoError"},
      {kInbox, "PROJECTS", "ErrorFolderExists"},
      {WellKnown("drafts"), "Projects", "NoError"},
      {kInbox, "", "ErrorFolderSavePropertyError"},
      {ById("-NO-"), "a", "ErrorInvalidIdMalformed"},
      {ById(mailbox::MakeId(mailbox::IdKind::kFolder, 999)), "a", "ErrorItemNotFound"},
      {ById(mailbox::MakeId(mailbox::IdKind::kItem, 1)), "a", "ErrorInvalidIdMalformed"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Code(Make(row.parent, row.name)), row.code) << row.parent << row.name;
  }
  EXPECT_TRUE(
      Holds(Make(kInbox, "projects"), {"A folder with the specified name already exists."}));
  EXPECT_EQ(Code(Search(ById("AAMkgarbagegarbage!"), "")), "ErrorInvalidIdMalformed");
}

TEST_F(FolderOperations, TheElementAloneGivesTheClass) {
  const std::string id = FolderId(Make(kInbox, "Dates", "CalendarFolder"));
  EXPECT_TRUE(
      Holds(Ask(GetFolder(ById(id))), {"<t:CalendarFolder>", "<t:FolderClass>IPF.Appointment<"}));
}

TEST_F(FolderOperations, ImpersonationAndTheMailboxElementChooseTheMailbox) {
  const auto idOf = [&](const std::string& header, const std::string& folder) {
    return FolderId(Ask(GetFolder(folder, kIdOnly, header)));
  };
  const std::string header =
      "<t:ExchangeImpersonation><t:ConnectingSID><t:SmtpAddress>Other@Example.com</t:SmtpAddress>"
      "</t:ConnectingSID></t:ExchangeImpersonation>";
  const std::string named =
      "<t:DistinguishedFolderId Id=\"inbox\"><t:Mailbox><t:EmailAddress>other@example.com"
      "</t:EmailAddress></t:Mailbox></t:DistinguishedFolderId>";
  const std::string other = idOf(header, kInbox);
  EXPECT_NE(idOf("", kInbox), other);
  EXPECT_EQ(other, idOf("", named));
  const std::string shared = WellKnown("publicfoldersroot");
  EXPECT_EQ(idOf("", shared), idOf(header, shared));
}

}  // namespace
