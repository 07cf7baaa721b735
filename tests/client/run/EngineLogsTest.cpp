#include "client/run/EngineLogs.h"

#include <gtest/gtest.h>

#include "charset/LibraryNarrow.h"
#include "pipeline/ST_EML_INFO.h"
#include "tests/client/WideText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Wide;
using test_support::ReadAll;
using test_support::TemporaryFolder;
using test_support::WideBytes;

TEST(EngineLogs, GiveTheLastStatusOfTheCommandAlone) {
  mail::installLibraryNarrow();
  const TemporaryFolder folder;
  EngineLogs logs(folder.Path());
  logs.Mark();
  EXPECT_EQ(logs.LastStatus(), "");
  const std::string success = "\t\tSaving Status : Success\r\r\n";
  folder.Write("StatusLog.txt", success);
  EXPECT_EQ(logs.LastStatus(), "Saving Status : Success");
  logs.Mark();
  EXPECT_EQ(logs.LastStatus(), "");
  const std::string failure = "\t\t+Saving Status : Fail\r\r\n\t\tError Message :No caf\xe9.\r\r\n";
  folder.Write("StatusLog.txt", success + failure + "\r\r\n");
  EXPECT_EQ(logs.LastStatus(), "No caf\xC3\xA9.");
}

TEST(EngineLogs, OnlyASaveSinceTheMarkCountsAndNoSubjectThatLooksLikeOne) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("TarnyEngine.txt", Wide("a\r\n Email Save out \r\n"));
  EngineLogs logs(folder.Path());
  EXPECT_TRUE(logs.HasSaved(TYPE_EMAIL));
  logs.Mark();
  EXPECT_FALSE(logs.HasSaved(TYPE_EMAIL));
  folder.Write("TarnyEngine.txt", ReadAll(path) + Wide("Subject  = Email Save out \r\n"));
  EXPECT_FALSE(logs.HasSaved(TYPE_EMAIL));
  // Nor one whose units, read from the middle of each, are the line.
  std::u16string apart = u"Subject  =";
  for (const char c : std::string("\n Email Save out \r\n\n Email Save in x"))
    apart += static_cast<char16_t>(c << 8);
  folder.Write("TarnyEngine.txt", ReadAll(path) + WideBytes(apart + u"\n\r\n"));
  EXPECT_FALSE(logs.HasSaved(TYPE_EMAIL));
  EXPECT_FALSE(logs.MayHaveSent());
  folder.Write("TarnyEngine.txt", ReadAll(path) + Wide(" Email Save out \r\n"));
  EXPECT_TRUE(logs.HasSaved(TYPE_EMAIL));
  EXPECT_FALSE(EngineLogs(folder.File("missing")).HasSaved(TYPE_EMAIL));
}

TEST(EngineLogs, TellWhatIsLeftOut) {
  const TemporaryFolder folder;
  const std::string note = "ItemProps.json holds a wrong value, left out: ";
  folder.Write("TarnyEngine.txt",
               Wide("a\r\n" + note + "changed\r\n" + note + "zone\r\n" + note + "zone\r\nb\r\n" +
                    "Subject  =" + note + "no\r\nThe item goes without: a \xF0\x9F\x98\x80\r\n"));
  EngineLogs logs(folder.Path());
  EXPECT_EQ(logs.LeftOut(), "left out for a wrong value: changed, zone; goes without: a 😀");
  logs.Mark();
  EXPECT_EQ(logs.LeftOut(), "");
}

TEST(EngineLogs, EachTypeHasLinesOfItsOwnAndForContactsOneIsNotEnough) {
  const struct {
    std::int32_t type;
    std::string lines;
    bool saved;
  } rows[] = {
      {TYPE_CALENDER, " TYPE_CALENDER Save( in \r\n Save( TYPE_CALENDER out \r\n", true},
      {TYPE_CALENDER, "catch  try TYPE_CALENDER Save( out \r\n", true},
      {TYPE_CALENDER, "catch  try TYPE_CALENDER Save( in \r\n", false},
      {TYPE_TASK, " task Save out   \r\n", true},
      {TYPE_TASK, " catch task Save out   \r\n", true},
      {TYPE_TASK, " catch Exception^ ex 2 task Save out  : no\r\n", false},
      {TYPE_CONTACT, " TYPE_CONTACT Save IN   \r\n TYPE_CONTACT Save IN   \r\n", true},
      {TYPE_CONTACT,
       " TYPE_CONTACT Save IN   \r\nmail does not answer\r\n TYPE_CONTACT Save IN   \r\n", true},
      {TYPE_CONTACT, " TYPE_CONTACT Save IN   \r\n TYPE_CONTACT IN SAVE CATCH \r\n", false},
      {TYPE_CONTACT, "Catch TYPE_CONTACT SAVE OUT \r\n", true},
      {TYPE_DIST_LIST, " TYPE_CONTACT Save IN   \r\n", false},
      {TYPE_DIST_LIST, " TYPE_CONTACT Save IN   \r\nImportItem_0\r\n TYPE_CONTACT Save IN   \r\n",
       false},
      {TYPE_CALENDER, " Save( TYPE_CALENDER out \r\nImportItem_0\r\nImportItem_1\r\n", true},
      {TYPE_DIST_LIST, " TYPE_CONTACT Save IN   \r\n TYPE_CONTACT Save IN   \r\n", true},
  };
  for (const auto& row : rows) {
    const TemporaryFolder folder;
    folder.Write("TarnyEngine.txt", Wide("ImportItem_2\r\n" + row.lines));
    EXPECT_EQ(EngineLogs(folder.Path()).HasSaved(row.type), row.saved) << row.lines;
    EXPECT_FALSE(EngineLogs(folder.Path()).HasSaved(TYPE_EMAIL));
  }
  const TemporaryFolder folder;
  const EngineLogs logs(folder.Path());
  EXPECT_TRUE(logs.MayHaveSent()) << "the trace cannot be written";
  folder.Write("TarnyEngine.txt", Wide("ImportItem_2\r\n"));
  EXPECT_FALSE(logs.MayHaveSent());
  folder.Write("TarnyEngine.txt", Wide("ImportItem_2\r\n task Save in   \r\n"));
  EXPECT_TRUE(logs.MayHaveSent());
}

}  // namespace
}  // namespace client
