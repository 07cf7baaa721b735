#include "client/sources/ItemList.h"

#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace {

using client::ItemList;
using client::MailState;
using client::SourceItem;

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

TEST(ItemList, GivesBackWhatItWasGivenAndCountsWhatIsShared) {
  const std::vector<SourceItem> kinds = Kinds();
  ItemList list;
  std::vector<SourceItem> items;
  for (int i = 0; i < 3000; ++i) {  // over several blocks, some of one record that needs more
    SourceItem item = kinds[static_cast<std::size_t>(i) % kinds.size()];
    if (i % 1000 == 3) item.appendix = std::string(70'000, 'x');
    list.Add(item);
    items.push_back(std::move(item));
  }
  for (const std::size_t at : {0, 1, 1500, 2995}) {
    list.SetUnread(at);
    items[at].read = false;
  }
  ASSERT_EQ(list.size(), items.size());
  std::size_t at = 0;
  for (const SourceItem& item : list) ASSERT_EQ(Fields(item), Fields(items[at++])) << at;
  EXPECT_EQ(Fields(list[2999]), Fields(items[2999]));
  ASSERT_EQ(list.Parts().size(), 6u);  // the two of the mbox share one
  EXPECT_EQ(list.Parts()[1].folder, "a\\");
  EXPECT_EQ(list.Parts()[1].items, 858u);
  EXPECT_EQ(list.Parts()[1].bytes, 429 * 700 + 429 * (5ull << 32));

  list.Move([](const ItemList::Shared& shared) { return shared.folder + "moved\\"; });
  EXPECT_EQ(list[1500].folder, items[1500].folder + "moved\\");
  at = 0;
  list.TakeAll([&](const SourceItem& item) {
    EXPECT_EQ(item.location, items[at].location);
    EXPECT_EQ(item.folder, items[at++].folder + "moved\\");
  });
  EXPECT_EQ(at, items.size());
  EXPECT_TRUE(list.empty());
  list.Add(items[0]);
  EXPECT_EQ(Fields(list[0]), Fields(items[0]));
}

}  // namespace
