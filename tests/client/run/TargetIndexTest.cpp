#include "client/run/TargetIndex.h"

#include <gtest/gtest.h>

#include "client/run/MailKey.h"
#include "client/run/UnknownOutcome.h"

namespace client {
namespace {

ews::FoundItem Found(const std::string& key, const std::string& id, std::int64_t size = 0) {
  ews::FoundItem item;
  item.strKey = CString::FromUtf8(key);
  item.strMessageId = CString::FromUtf8(id);
  item.nSize = size;
  return item;
}

class Index : public testing::Test {
 protected:
  // The number of the item taken, or -1.
  int Take(const std::string& key, const std::string& id, std::int64_t size = 0) {
    const auto number = index.Take(key, id, size);
    return number ? static_cast<int>(*number) : -1;
  }
  void Add(const ews::FoundItem& item, TargetIndex::ById byId = TargetIndex::ById::kYes) {
    index.Add(item, byId);
  }
  TargetIndex index;
};

TEST_F(Index, EachItemStandsForOneTheKeyBeforeTheIdAndThenTheNearestSize) {
  Add(Found("", "<a>", 500));
  Add(Found("", "<a>", 100));
  Add(Found("<a>", "<a>", 900));
  Add(Found("", "", 100));
  EXPECT_EQ(Take("<a>", "<a>", 100), 2);
  EXPECT_EQ(Take("<a> sha256:x", "<a>", 120), 1);
  EXPECT_EQ(Take("<a> sha256:y", "<a>", 120), 0);
  EXPECT_EQ(Take("<a> sha256:z", "<a>", 120), -1);
  EXPECT_EQ(Take("<A>", "<A>"), -1) << "ids differ in case";
  EXPECT_EQ(Take("", ""), -1) << "nothing is found by nothing";
}

TEST_F(Index, WhatCarriesAKeyOfThisRunIsNotTakenForAnotherMailOfItsId) {
  Add(Found("<a>", "<a>"), TargetIndex::ById::kNo);
  EXPECT_EQ(Take("<a> sha256:x", "<a>"), -1);
  EXPECT_EQ(Take("<a>", "<a>"), 0);
}

TEST_F(Index, ItemsThatAreAlikeStandForEachOtherWhereverTheyLay) {
  const std::string place(64, 'a');
  for (const std::string& id : {std::string("uid"), std::string(300, 'u')}) {
    const std::string key = id + " sha256:" + std::string(64, 'b');
    Add(Found(KeyOnItem(PlaceKey(key, place)), ""));
    EXPECT_GE(Take(KeyOnItem(key), ""), 0) << id;
    EXPECT_EQ(SharedKey(PlaceKey(key, place)), key);
    EXPECT_EQ(SharedKey(key), key);
  }
}

TEST_F(Index, ATextThatAServerCutIsStillTheSame) {
  const std::string longId = "<" + std::string(300, 'i') + "@x>";
  const std::string key = KeyOnItem(longId);
  EXPECT_LE(key.size(), 255u);
  EXPECT_EQ(KeyOnItem("<short@x>"), "<short@x>");
  Add(Found("", longId.substr(0, 255)));
  Add(Found(key, ""));
  EXPECT_EQ(Take(key, longId), 1);
  EXPECT_EQ(Take(key, longId), 0);
}

TEST_F(Index, AMailWithAnIdThatCameCutIsNoTwinOfAnotherButBySize) {
  const std::string cut(255, 'i');
  for (const int size : {100, 200, 100}) Add(Found("", cut, size));
  EXPECT_EQ(Take("", cut + "1", 100), 0);
  EXPECT_EQ(index.TwinOf(1), std::nullopt);
  EXPECT_EQ(index.TwinOf(2), 0u);
}

TEST_F(Index, WhatNoAnswerCanCarryTellsNoIdsApart) {
  Add(Found("", "<y\xEF\xBF\xBDz@x>"));
  Add(Found("", "<zz@x>"));
  EXPECT_EQ(Take("", "<z\x01z\x7F@x>"), 1);
  EXPECT_EQ(Take("", "<y\x01z@x>"), 0);
  Add(Found("", "\xEF\xBF\xBD"));
  EXPECT_EQ(Take("", "\x01"), -1) << "nothing is left of it";
}

TEST_F(Index, ItemsWithoutAnIdThatAreAlikeStandForEachOther) {
  const std::string made = MadeKey(std::string(64, 'a'));
  Add(Found(made, ""));
  Add(Found(PlaceKey(made, std::string(64, 'b')), ""));
  EXPECT_GE(Take(PlaceKey(made, std::string(64, 'c')), ""), 0);
  EXPECT_GE(Take(made, ""), 0);
  EXPECT_EQ(Take(made, ""), -1);
}

TEST_F(Index, WhatIsLeftIsATwinOrSomethingElse) {
  Add(Found("<a>", "<a>"));
  Add(Found("<a>", "<a>"));           // the same key: sent twice
  Add(Found("", "<a>"));              // the same mail, by whoever did not write a key
  Add(Found("<a> sha256:x", "<a>"));  // another mail with that id
  Add(Found("", ""));
  Add(Found("unfinished: <a>", ""));  // what a lost try left of a series
  const int taken = Take("<a>", "<a>");
  ASSERT_TRUE(taken == 0 || taken == 1);
  EXPECT_EQ(index.Left().size(), 5u);
  EXPECT_EQ(index.TwinOf(5), static_cast<std::size_t>(taken));
  EXPECT_EQ(index.TwinOf(static_cast<std::size_t>(1 - taken)), static_cast<std::size_t>(taken));
  EXPECT_EQ(index.TwinOf(2), static_cast<std::size_t>(taken));
  EXPECT_EQ(index.TwinOf(3), std::nullopt);
  EXPECT_EQ(index.TwinOf(4), std::nullopt);
}

TEST_F(Index, ManyItemsOfOneIdCostLittleEach) {
  constexpr int kItems = 50'000;  // a walk among them for each would take minutes
  for (int i = 0; i < kItems; ++i) Add(Found("", "<same>", i));
  for (int i = 0; i < kItems; ++i) ASSERT_EQ(Take("k", "<same>", i), i);
}

// How many of what a search brought are the item with the key "<a>" and the id "<a>".
std::size_t Copies(std::initializer_list<ews::FoundItem> found, std::size_t arrivedWithId = 0) {
  CopyCount count("<a>", "<a>");
  for (const ews::FoundItem& item : found) count.Add(item);
  return count.Copies(arrivedWithId);
}

TEST(CopyCount, TheKeyDecidesAndTheIdWhereThereIsNone) {
  EXPECT_EQ(Copies({}), 0u);
  EXPECT_EQ(Copies({Found("<a>", "<a>")}), 1u);
  EXPECT_EQ(Copies({Found("<a>", "<a>"), Found("<a>", "<a>")}), 2u);
  EXPECT_EQ(Copies({Found("<a> sha256:x", "<a>")}), 0u) << "another mail of that id";
  EXPECT_EQ(Copies({Found("", "<a>")}), 1u);
  EXPECT_EQ(Copies({Found("<A>", "<A>")}), 0u) << "a server that compares without case";
}

TEST(CopyCount, WhatIsKnownOfTheIdIsNotCountedAgain) {
  EXPECT_EQ(Copies({Found("", "<a>")}, 1), 0u) << "it is the one that arrived before";
  EXPECT_EQ(Copies({Found("", "<a>"), Found("", "<a>")}, 1), 1u);
  EXPECT_EQ(Copies({Found("", "<a>"), Found("<a> sha256:x", "<a>")}, 1), 1u)
      << "the one that arrived before shows its own key";
  EXPECT_EQ(Copies({Found("<a>", "<a>")}, 3), 1u);
}

}  // namespace
}  // namespace client
