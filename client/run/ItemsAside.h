#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "client/run/ItemTries.h"
#include "client/run/Plan.h"

namespace client {

// Items that meet an outage again and again and wait for others, so that none of them holds up a
// run in which others come through. Each is tried once behind every item that does. Is it the item
// that its server stumbles over, or the server that serves one request in ten? The others tell: an
// item fails by itself once it has been tried kTimesAsOften as often as those needed on the average
// that came through since it waits, or in the whole run where that is more. Where a server fails at
// random that befalls none: be it nine times of ten or one, the odds are about e to the power of
// -12, as soon as some others have come through.
class ItemsAside {
 public:
  static constexpr std::size_t kTimesAsOften = 12;

  // Items that came through, and the tries that it took.
  struct Arrivals {
    std::size_t items = 0;
    std::size_t tries = 0;
  };
  struct One {
    Plan::Entry entry;
    std::size_t tries = 0;  // in this run
    Arrivals before = {};   // it began to wait
    std::optional<NotCarried> lastTry = std::nullopt;
    bool Waits() const { return tries > 0; }
  };

  // How often an item is tried: in its turn; behind another that came through; and at the end of
  // the plan, where there are no others any more.
  TryLimit LimitInTurn() const;
  TryLimit LimitBehindAnother(const One& one) const;
  TryLimit LimitAtEnd(const One& one) const;

  // The item was tried so often now, in vain or until it came through.
  void Put(One one, std::size_t tries);
  void NoteArrival(const One& one, std::size_t tries);
  std::vector<One> TakeAll();

 private:
  // Before it fails by itself; 0 where nobody can tell.
  std::size_t MostTries(const One& one) const;

  std::vector<One> m_items;
  Arrivals m_arrivals;
};

}  // namespace client
