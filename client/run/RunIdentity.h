#pragma once

#include <string>
#include <vector>

#include "client/run/Plan.h"

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

// Those of the runs before that are not among those of now. Throws platform::SqliteError.
std::vector<std::string> GoneSources(Journal& journal, const RunIdentity& identity);
// Throws RunError when the folder was used for another target, or for sources that are not among
// those of now: they may have moved, and what moved would be sent again. The list of sources may
// grow, and with adopt, where the target tells what it has, be any; once begun with adopt, a run is
// ended with it. Throws platform::SqliteError.
void RequireSameRun(Journal& journal, const RunIdentity& identity, const RunFolder& run,
                    bool adopt);
// The same for whoever only looks at the target, whatever the sources. The way to a mailbox may
// differ: returns the target's name as it was kept then, else nothing.
std::string RequireSameMailbox(Journal& journal, const Target& target, const RunFolder& run);
// Binds the folder from now on. Throws platform::SqliteError.
void KeepIdentity(Journal& journal, const RunIdentity& identity, bool adopt);
// Says that all items of a run with adopt had their turn. Throws platform::SqliteError.
void EndAdoption(Journal& journal);
// Whether a run with --as-is ever sent from that folder: its items have no keys for good. Throws
// platform::SqliteError.
bool HasSentWithoutKeys(Journal& journal);
void KeepSentWithoutKeys(Journal& journal);
// The folders of the target that earlier runs know, and of these sources those that they read
// items of; nothing where there was none, or its journal
// cannot be read: who opens it for good tells that.
EarlierFolders FoldersOfEarlierRuns(const std::string& runFolder,
                                    const std::vector<std::string>& sources);
// Throws RunError where an earlier run in that folder filled the target and its store is gone or
// another one. Throws platform::SqliteError.
void RequireEarlierStoreKept(const std::string& runFolder, const Target& target);
// True if a run has logged on to its target before. Throws platform::SqliteError.
bool IsBound(Journal& journal);

}  // namespace client
