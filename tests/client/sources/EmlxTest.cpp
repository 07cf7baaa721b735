#include "client/sources/Emlx.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/sources/SentItem.h"
#include "tests/client/sources/StoreTexts.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Emlx;
using client_test::kText;
using client_test::MissingOf;
using client_test::Sent;
using client_test::WithCrLf;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Emlx, SaysWhereItsMailIsAndWhatBecameOfIt) {
  EXPECT_EQ(EmlxPlaceOf("12      \nSub")->offset, 9u);
  for (const char* head : {"", "12", "x\n", "12 x\n", "9999999999999\n", "-1\n"}) {
    EXPECT_FALSE(EmlxPlaceOf(head)) << head;
  }
  // The number need not be right, as long as a list of this kind ends the file.
  const std::string text = kText + "<?xml?>\n<plist/>\n" + kText;
  const std::string list = "<?xml?>\r\n<!DOCTYPE x>\r\n<plist>\r\n<key>flags</key></plist>\r\n";
  const auto lengthOf = [](std::uint64_t number, const std::string& behind) {
    return WithTrueLength({3, number}, "12\n" + behind).length;
  };
  for (const std::size_t number :
       {std::size_t{0}, text.size() - 2, text.size(), std::size_t{999999999999}}) {
    EXPECT_EQ(lengthOf(number, text + list), text.size()) << number;
  }
  EXPECT_EQ(lengthOf(kText.size(), text + list), kText.size());
  EXPECT_EQ(lengthOf(kText.size(), kText + "\n<plist>"), kText.size());
  EXPECT_EQ(lengthOf(kText.size(), kText + " \n"), kText.size());
  EXPECT_EQ(lengthOf(5, text), text.size());
  EXPECT_EQ(lengthOf(500, text), 500u);
  const EmlxState all = ReadEmlxState(Emlx("", 0x157));
  EXPECT_TRUE(all.read && all.state.deleted && all.state.answered && all.state.flagged &&
              all.state.draft && all.state.forwarded);
  EXPECT_EQ(all.state.received, 1551780000);
  EXPECT_TRUE(ReadEmlxState("<key>flags</key><string>0</string>").read);
}

TEST(Emlx, PartsThatLieBesideAMailComeToTheirPlaces) {
  const std::string cut = "X-Apple-Content-Length: 3\n\n";
  const std::string mail =
      "Subject: x\nContent-Type: multipart/mixed; boundary=\"a b\"\n\n--a b\n"
      "Content-Type: multipart/related;\n boundary=c\n\n--c\n\ntext\n--c\n"
      "Content-Transfer-Encoding: BASE64\n" +
      cut + "\n--c--\n--a b\nContent-Disposition: attachment; filename=notes.txt\n" + cut +
      "--a b--\n";
  const TemporaryFolder folder;
  folder.Write("INBOX.mbox/Data/Messages/12.partial.emlx", Emlx(mail, 1));
  folder.Write("INBOX.mbox/Data/Attachments/12/1.2/pic.png", "pic");
  const TemporaryFolder elsewhere;  // where links lead that the owner of the mail may have set
  elsewhere.Write("notes.txt", "secret");
  const std::string link = folder.File("INBOX.mbox/Data/Attachments/12/2");
  std::filesystem::create_directory_symlink(elsewhere.Path(), link);
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 1u);
  EXPECT_TRUE(plan.problems.empty());
  std::string wanted = mail;
  wanted.insert(wanted.find(cut) + cut.size(), "cGlj\n");
  const LoadedItem partial = Sent(plan.entries[0]);
  EXPECT_EQ(partial.bytes, WithCrLf(wanted));
  EXPECT_THAT(MissingOf(partial), ElementsAre("notes.txt: not in the source"));
  std::filesystem::remove(link);
  folder.Write("INBOX.mbox/Data/Attachments/12/2/notes.txt", "notes\n");
  wanted.insert(wanted.rfind(cut) + cut.size(), "notes\n");
  const LoadedItem whole = Sent(plan.entries[0]);
  EXPECT_EQ(whole.bytes, WithCrLf(wanted));
  EXPECT_THAT(MissingOf(whole), IsEmpty());
  EXPECT_EQ(whole.hash, partial.hash);
}

}  // namespace
}  // namespace client
