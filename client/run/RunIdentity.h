#pragma once

#include <string>
#include <vector>

namespace client {

class Journal;
class RunFolder;
struct Target;

// What a run folder serves: its rows say nothing about other sources or another target.
struct RunIdentity {
  std::vector<std::string> sources;  // sorted
  std::string target;
};

RunIdentity IdentityOf(std::vector<std::string> sources, const Target& target);

// Throws RunError when the folder was used for another target, or for sources that are not among
// those of now: they may have moved, and what moved would be sent again. The list of sources may
// grow, and with adopt, where the target tells what it has, be any. Throws platform::SqliteError.
void RequireSameRun(Journal& journal, const RunIdentity& identity, const RunFolder& run,
                    bool adopt);
// Binds the folder from now on. Throws platform::SqliteError.
void KeepIdentity(Journal& journal, const RunIdentity& identity);

}  // namespace client
