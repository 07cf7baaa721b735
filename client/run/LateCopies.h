#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "client/run/ItemLoader.h"
#include "client/run/Journal.h"
#include "client/run/UnknownOutcome.h"

namespace client {

// A try whose answer was lost: when, and how long a server may go on with it.
struct LostTry {
  std::chrono::steady_clock::time_point at;
  std::chrono::seconds toFinish;
};

// Items that were sent again since an answer was lost, and of which the target shows fewer than
// were sent: what its server makes of the first may come when the second has long arrived. They are
// looked for once more, when no server can be at work on them any longer.
class LateCopies {
 public:
  struct Item {
    std::string name;      // for people
    JournalEntry entry;    // as it was kept
    LoadedItem names;      // all but its content
    std::size_t sent = 0;  // as often as it may be there
    std::size_t shown = 0;
  };

  explicit LateCopies(UnknownOutcome& unknown) : m_unknown(unknown) {}  // which must outlive this

  // A server may be at work on the last try for its time, or for kLate where that is longer; who
  // knows, for longer. So each is looked for when all else is done, and not before its time.
  void Watch(Item item, const LostTry& lost);
  static constexpr std::chrono::seconds kLate{30};

  std::size_t Count() const { return m_items.size(); }
  // What is left of the last one's time.
  std::chrono::milliseconds TimeLeft() const;

  // Waits for that time, looks for each, and hands it over with the words for what came late or may
  // have, empty for one that is not there more often than was shown. Without `ask`, or behind a
  // request to stop, they may be, all of them, and a later look may tell.
  enum class Looked { kForGood, kInVain };
  using Tell = std::function<void(const Item& item, const std::string& remark, Looked looked)>;
  void Look(bool ask, const Tell& tell);

 private:
  UnknownOutcome& m_unknown;
  std::vector<Item> m_items;
  std::chrono::steady_clock::time_point m_due;
};

}  // namespace client
