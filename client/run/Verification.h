#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/run/ItemLoader.h"
#include "client/run/Plan.h"
#include "client/run/RunMessages.h"
#include "client/run/TargetLook.h"

namespace client {

// What a folder of the target holds, beside what the source has for it.
struct FolderCheck {
  std::string folder;
  std::uint64_t items = 0;  // of the source
  std::uint64_t there = 0;  // of those
  std::vector<SourceProblem> missing;
  std::vector<SourceProblem> twice;      // there, and there again
  std::vector<SourceProblem> otherSize;  // there
  std::vector<SourceProblem> unread;     // of the source: nobody can tell
  std::vector<SourceProblem> beyond;     // of the target, and none of the source
  bool Complete() const { return missing.empty() && twice.empty() && unread.empty(); }
};

// True if a server's size of an item says that it does not hold a mail of so many bytes. Servers
// keep text and attachments decoded, and add to them what they need: a size tells something only
// where it is off by kSizeFactor and by more than kSizeSlack.
inline constexpr std::int64_t kSizeFactor = 3;
inline constexpr std::int64_t kSizeSlack = 64 * 1024;  // bytes
bool IsOtherSize(std::int64_t mimeSize, std::int64_t serverSize);

// Sets the items of a plan against what the target holds, folder by folder, by their keys and ids.
// The same mail twice in a folder of the source is one of the target. What a target folder holds
// beyond the source is told with the first of the source's folders that leads there.
class Verification {
 public:
  // mayLackKeys: items that were sent may carry none. `look` must outlive this.
  Verification(TargetLook& look, bool mayLackKeys, OnStep onStep)
      : m_look(look), m_mayLackKeys(mayLackKeys), m_onStep(std::move(onStep)) {}

  // In the plan's order of folders. Throws RunError on a request to stop, std::runtime_error when a
  // folder of the target cannot be read.
  std::vector<FolderCheck> Run(const Plan& plan);

 private:
  void Step(const Plan::Entry& entry);

  TargetLook& m_look;
  bool m_mayLackKeys;
  OnStep m_onStep;
  std::uint64_t m_done = 0;
  std::uint64_t m_total = 0;
};

}  // namespace client
