#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/sources/Source.h"

namespace client {

// What a run came to.
struct Summary {
  std::uint64_t total = 0;
  std::uint64_t sent = 0;
  std::uint64_t known = 0;    // arrived before this run, or the same mail twice in one folder
  std::uint64_t equal = 0;    // of these, mails that are the same as one before in their folder
  std::uint64_t updated = 0;  // the same, and its state changed since
  std::uint64_t reduced = 0;  // arrived without what made them too large for the target
  std::uint64_t failed = 0;
  std::uint64_t notConfirmed = 0;
  std::uint64_t seen = 0;   // items that were looked at before a stop
  std::uint64_t waits = 0;  // for a server that did not answer
  std::uint64_t waitedSeconds = 0;
  std::uint64_t foldersMissing = 0;  // without items, and could not be made
  std::string stopped;               // why the run stopped early; empty when it did not
  bool canGoOn = true;               // the same command, run again, goes on where it stopped
  std::vector<SourceProblem> failures;
  std::vector<SourceProblem> remarks;  // arrived, with a text
  // What the run brought and the source has not any more: where it lay, and its folder. By these.
  std::vector<SourceProblem> missing;
  std::uint64_t takenAway = 0;  // of those, to the target's deleted items
  std::uint64_t goneThere = 0;  // of those, not in their folder there either, or in deleted items
  std::uint64_t staying = 0;    // of those, though asked to be taken away
  std::vector<SourceProblem> whyStaying;
  // Of earlier runs: what may be there twice, and what arrived reduced.
  std::vector<SourceProblem> doubts;

  bool Complete() const {
    return stopped.empty() && failed == 0 && notConfirmed == 0 && reduced == 0 &&
           foldersMissing == 0 && staying == 0;
  }
};

}  // namespace client
