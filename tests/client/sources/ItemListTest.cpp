#include "client/sources/ItemList.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <system_error>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "client/sources/SortedNames.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using client::ItemList;
using client::MailState;
using client::SortedNames;
using client::SourceItem;
using test_support::TemporaryFolder;

auto Fields(const SourceItem& item) {
  std::vector<std::uint64_t> extents;
  for (const SourceItem::Extent& extent : item.extents) {
    extents.push_back(extent.offset);
    extents.push_back(extent.length);
  }
  const MailState& state = item.state;
  return std::tuple(item.location, item.folder, item.read, item.offset, item.length, item.prepared,
                    item.type, extents, item.file, item.appendix, item.isStoreData, state.answered,
                    state.forwarded, state.flagged, state.draft, state.deleted, state.categories,
                    state.received);
}

// What sources make of mails, events and cards, and what none makes.
std::vector<SourceItem> Kinds() {
  constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
  std::vector<SourceItem> items = {
      {"/m/cur/17096.M1P2.host,S=120:2,FS", "Inbox\\", true, 0, 120},
      {.location = "/m/a.mbox:0", .folder = "a\\", .length = 700, .file = "/m/a.mbox"},
      {.location = "/m/a.mbox:700",
       .folder = "a\\",
       .read = false,
       .offset = 700,
       .length = 5ull << 32,
       .file = "/m/a.mbox"},
      {.location = "/m/a.ics: Harbour round (2024-03-05)",
       .folder = "Calendar\\",
       .type = TYPE_CALENDER,
       .extents = {{0, 90}, {5ull << 32, kMost}},
       .file = "/m/a.ics",
       .appendix = std::string("BEGIN:VEVENT\r\n\0", 15)},
      {.location = "/elsewhere:12", .folder = "", .offset = 13, .file = "/m/a.ics"},
      {.location = "no folder", .folder = "", .prepared = true, .type = TYPE_UNKNOWN},
      {.location = "", .folder = "", .isStoreData = true},
  };
  items[0].state = {.answered = true, .flagged = true, .categories = {"Later", "", "Süd"}};
  items[1].state = {.forwarded = true, .draft = true, .received = -1};
  items[2].state = {.deleted = true, .received = std::numeric_limits<std::int64_t>::min()};
  items[4].state.received = std::numeric_limits<std::int64_t>::max();
  return items;
}

// Where temporary files are made, while the object lives.
class TemporaryFilesIn {
 public:
  explicit TemporaryFilesIn(const std::string& path) {
    if (m_before) m_saved = m_before;
    setenv("TMPDIR", path.c_str(), 1);
  }
  ~TemporaryFilesIn() { m_before ? setenv("TMPDIR", m_saved.c_str(), 1) : unsetenv("TMPDIR"); }

 private:
  const char* m_before = std::getenv("TMPDIR");
  std::string m_saved;
};

// Bytes in files that are open here and lie in the folder no more.
std::uintmax_t BytesWithoutName(const std::string& folder) {
  std::uintmax_t bytes = 0;
  for (const auto& open : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const std::string path = std::filesystem::read_symlink(open.path(), error).string();
    if (!path.starts_with(folder) || !path.ends_with(" (deleted)")) continue;
    bytes += std::filesystem::file_size(open.path());
  }
  return bytes;
}

constexpr int kItems = 3000;
constexpr std::size_t kChanged[] = {0, 1, 203, 1500, 2995};

std::vector<SourceItem> ManyItems() {
  const std::vector<SourceItem> kinds = Kinds();
  std::vector<SourceItem> items;
  for (int i = 0; i < kItems; ++i) {  // over many blocks, some of one record that needs more
    items.push_back(kinds[static_cast<std::size_t>(i) % kinds.size()]);
    if (i % 100 == 3) items.back().appendix = std::string(70'000, 'x');
  }
  return items;
}

// In order and across.
void ExpectEqual(const ItemList& list, const std::vector<SourceItem>& items) {
  ASSERT_EQ(list.size(), items.size());
  std::size_t at = 0;
  for (const SourceItem& item : list) ASSERT_TRUE(Fields(item) == Fields(items[at++])) << at;
  for (std::size_t i = 0; i < items.size(); ++i) {
    at = i * 1231 % items.size();
    ASSERT_TRUE(Fields(list[at]) == Fields(items[at])) << at;
  }
}

void ExpectIsTaken(ItemList& list, const std::vector<SourceItem>& items) {
  std::size_t at = 0;
  list.TakeAll([&](const SourceItem& item) {
    ASSERT_EQ(item.location, items[at].location);
    ASSERT_EQ(item.folder, items[at++].folder + "moved\\");
  });
  EXPECT_EQ(at, items.size());
  EXPECT_TRUE(list.empty());
}

TEST(ItemList, GivesBackWhatItWasGivenAndCountsWhatIsShared) {
  const TemporaryFolder folder;
  struct Case {
    const char* name;
    std::size_t inMemory;  // bytes
    std::string temporaryFiles = {};
    rlim_t disk = RLIM_INFINITY;  // bytes that a file may have
    rlim_t diskOfChange = RLIM_INFINITY;
    bool spills = false;
  };
  const Case cases[] = {
      {.name = "in memory", .inMemory = 64 << 20, .temporaryFiles = folder.Path()},
      {.name = "a part on disk",
       .inMemory = 500'000,
       .temporaryFiles = folder.Path(),
       .spills = true},
      {.name = "no folder", .inMemory = 0, .temporaryFiles = folder.File("none")},
      {.name = "the disk becomes full",
       .inMemory = 0,
       .temporaryFiles = folder.Path(),
       .disk = 200'000,
       .spills = true},
      {.name = "the disk takes no change",
       .inMemory = 0,
       .temporaryFiles = folder.Path(),
       .diskOfChange = 1,
       .spills = true},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    const TemporaryFilesIn temporary(test.temporaryFiles);
    std::vector<SourceItem> items = ManyItems();
    ItemList list(test.inMemory);
    {
      const test_support::FullDisk disk(test.disk);
      for (const SourceItem& item : items) list.Add(item);
    }
    EXPECT_EQ(BytesWithoutName(folder.Path()) > 0, test.spills);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    ExpectEqual(list, items);
    {
      const test_support::FullDisk disk(test.diskOfChange);
      for (const std::size_t at : kChanged) list.SetUnread(at);
    }
    for (const std::size_t at : kChanged) items[at].read = false;
    ExpectEqual(list, items);
    ASSERT_EQ(list.Parts().size(), 6u);  // the two of the mbox share one
    EXPECT_EQ(list.Parts()[1].folder, "a\\");
    EXPECT_EQ(list.Parts()[1].items, 858u);
    EXPECT_EQ(list.Parts()[1].bytes, 429 * 700 + 429 * (5ull << 32));

    list.Move([](const ItemList::Shared& shared) { return shared.folder + "moved\\"; });
    EXPECT_EQ(list[1500].folder, items[1500].folder + "moved\\");
    ExpectIsTaken(list, items);
    EXPECT_EQ(BytesWithoutName(folder.Path()), 0u);
    list.Add(items[0]);
    EXPECT_EQ(Fields(list[0]), Fields(items[0]));
  }
}

// Folders whose names are sorted at once, in several runs, and in hundreds.
TEST(SortedNames, ComeInTheOrderOfTheirBytesHoweverManyThereAre) {
  std::mt19937 random(1);
  std::vector<std::string> names = {"a", "ab", "a\xFF", "a\x01", "\xC3\xA4", "b"};
  for (int i = 0; i < 30'000; ++i) {
    names.push_back(std::to_string(random() % 20'000) + (i % 3 ? ":2,S" : ".\xE4"));
  }
  std::vector<std::string> sorted = names;
  std::ranges::sort(sorted);
  for (const std::size_t atOnce : {std::size_t{500}, std::size_t{100'000}, SortedNames::kAtOnce}) {
    SortedNames list(atOnce);
    for (int round = 0; round < 2; ++round) {
      for (const std::string& name : names) list.Add(name);
      std::vector<std::string> found;
      list.TakeAll([&](const char* name) { found.emplace_back(name); });
      ASSERT_EQ(found, sorted) << atOnce;
    }
    list.TakeAll([](const char* name) { ADD_FAILURE() << name; });
  }
}

}  // namespace
