#include "client/run/ItemsAside.h"

#include <algorithm>
#include <utility>

namespace client {

namespace {

constexpr std::size_t kTriesInARow = 4;  // before others are taken up: do all fare the same?
// The next one is tried for as long as the patience lasts. As many as there are tries behind
// others: where each of some in a row fails by itself, those that come through between them end the
// wait.
constexpr std::size_t kMostAside = ItemsAside::kTimesAsOften;

}  // namespace

TryLimit ItemsAside::LimitInTurn() const {
  return m_items.size() < kMostAside ? TryLimit{kTriesInARow} : TryLimit{};
}

TryLimit ItemsAside::LimitBehindAnother(const One& one) const {
  const std::size_t most = MostTries(one);
  const bool isLast = most > 0 && one.tries + 1 >= most;
  return {1, isLast ? Outcome::Kind::kFailed : Outcome::Kind::kAside};
}

// Where nothing came through since, that is an outage like any other.
TryLimit ItemsAside::LimitAtEnd(const One& one) const {
  const std::size_t most = MostTries(one);
  if (most == 0) return {};
  return {std::max(most, one.tries + 1) - one.tries, Outcome::Kind::kFailed};
}

std::size_t ItemsAside::MostTries(const One& one) const {
  const Arrivals since{m_arrivals.items - one.before.items, m_arrivals.tries - one.before.tries};
  if (since.items == 0) return 0;
  const auto limit = [](const Arrivals& others) {
    return (kTimesAsOften * others.tries + others.items - 1) / others.items;
  };
  return std::max(limit(since), limit(m_arrivals));
}

void ItemsAside::Put(One one, std::size_t tries) {
  if (!one.Waits()) one.before = m_arrivals;
  one.tries += tries;
  m_items.push_back(std::move(one));
}

void ItemsAside::NoteArrival(const One& one, std::size_t tries) {
  ++m_arrivals.items;
  m_arrivals.tries += one.tries + tries;
}

std::vector<ItemsAside::One> ItemsAside::TakeAll() { return std::exchange(m_items, {}); }

}  // namespace client
