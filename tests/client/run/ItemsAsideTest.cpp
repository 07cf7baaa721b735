#include "client/run/ItemsAside.h"

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

using client::ItemsAside;
using client::Outcome;
using client::TryLimit;

// A run over items, in the order in which a migration takes them up.
class RunOfItems {
 public:
  using Serves = std::function<bool(std::size_t item)>;
  RunOfItems(std::size_t items, Serves serves) : m_serves(std::move(serves)) {
    for (std::size_t i = 0; i < items; ++i) {
      client::Plan::Entry entry;
      entry.number = i;
      if (TakeUp({.entry = std::move(entry)}, m_aside.LimitInTurn())) TakeUpAside();
    }
    for (const auto& one : m_aside.TakeAll()) TakeUp(one, m_aside.LimitAtEnd(one));
  }
  std::size_t arrived = 0;
  std::vector<std::size_t> failed;  // numbers of items
  std::size_t longest = 0;          // tries in a row of one item, in vain or not

 private:
  void TakeUpAside() {
    for (const auto& one : m_aside.TakeAll()) TakeUp(one, m_aside.LimitBehindAnother(one));
  }
  bool TakeUp(const ItemsAside::One& one, const TryLimit& limit) {
    const std::size_t item = one.entry.number;
    for (std::size_t tries = 1;; ++tries) {
      longest = std::max(longest, tries);
      if (m_serves(item)) {
        m_aside.NoteArrival(one, tries);
        ++arrived;
        return true;
      }
      if (tries != limit.tries) continue;
      limit.end == Outcome::Kind::kAside ? m_aside.Put(one, tries) : failed.push_back(item);
      return false;
    }
  }

  Serves m_serves;
  ItemsAside m_aside;
};

TEST(ItemsAside, AServerThatFailsAtRandomFailsNoItem) {
  for (const double failing : {0.1, 0.5, 0.9, 0.97}) {
    std::mt19937 random(7);
    std::bernoulli_distribution serves(1 - failing);
    for (int i = 0; i < 50; ++i) {
      const RunOfItems run(200, [&](std::size_t) { return serves(random); });
      EXPECT_TRUE(run.failed.empty()) << failing;
      EXPECT_EQ(run.arrived, 200u);
    }
  }
}

TEST(ItemsAside, AnItemThatAloneIsNotServedFailsSoon) {
  const std::vector<std::size_t> poison = {0, 2, 4, 6, 7, 8, 40};
  const auto isPoison = [&](std::size_t item) { return std::ranges::count(poison, item) > 0; };
  int tries = 0;
  const RunOfItems run(60, [&](std::size_t item) {
    tries += isPoison(item) ? 1 : 0;
    return !isPoison(item);
  });
  EXPECT_EQ(run.failed, poison);
  EXPECT_EQ(run.arrived, 53u);
  EXPECT_EQ(tries, 84);
  EXPECT_EQ(run.longest, 4u);  // behind which others go on

  // It does so of a server that fails the others now and then, and at the end of a plan, too.
  std::mt19937 random(7);
  std::bernoulli_distribution serves(0.5);
  for (const std::size_t one : {5u, 196u}) {
    const RunOfItems flaky(200, [&](std::size_t item) { return item != one && serves(random); });
    EXPECT_EQ(flaky.failed, std::vector{one});
    EXPECT_EQ(flaky.arrived, 199u);
  }
}

}  // namespace
