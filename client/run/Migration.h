#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/run/EngineLogs.h"
#include "client/run/EngineProcess.h"
#include "client/run/Journal.h"
#include "client/run/LedgerLook.h"
#include "client/run/LocalMailbox.h"
#include "client/run/Plan.h"
#include "client/run/RunFolder.h"
#include "client/run/RunMessages.h"
#include "client/run/Target.h"
#include "client/sources/PreparedItem.h"

namespace client {

// What a run came to.
struct Summary {
  std::uint64_t total = 0;
  std::uint64_t sent = 0;
  std::uint64_t known = 0;  // arrived in an earlier run, or the same mail twice in one folder
  std::uint64_t failed = 0;
  std::uint64_t notConfirmed = 0;
  std::uint64_t seen = 0;  // items that were looked at before a stop
  std::string stopped;     // why the run stopped early; empty when it did not
  std::vector<SourceProblem> failures;
  std::vector<SourceProblem> remarks;  // arrived, with a text

  bool Complete() const { return stopped.empty() && failed == 0 && notConfirmed == 0; }
};

// Sends the items of a plan through an engine, one after the other, and makes sure of each: what
// counts is the item's row in the engine's ledger, looked for after each result.
class Migration {
 public:
  struct Setup {
    const RunFolder& run;
    const Target& target;
    std::vector<std::string> engineOptions;
    LocalMailbox* localMailbox = nullptr;  // not owned; null for another target
    bool fromMime = false;  // descriptors carry subject and addresses of the mail's header
  };
  // Throws platform::SqliteError when the journal cannot be used.
  Migration(Setup setup, Journal& journal, Say say, OnStep onStep);

  Summary Run(const Plan& plan);

 private:
  struct Outcome {
    enum class Kind { kSent, kKnown, kFailed, kNotConfirmed } kind = Kind::kFailed;
    std::string text;  // reason or remark
  };
  // An item as it was read from its source.
  struct Content {
    std::string bytes;    // of a mail
    PreparedFiles files;  // of a prepared item
    std::string hash;
    std::string key;  // empty only for a prepared item without an id, which gets no row
  };

  Outcome Handle(const Plan::Entry& entry);
  Content Load(const Plan::Entry& entry) const;
  // The key under which the ledger is to know the item. Throws SourceError where a prepared item
  // asks for the key of another one, which the engine would pass over as known.
  std::string KeyOf(const Plan::Entry& entry, const Content& content);
  bool HasArrived(const Plan::Entry& entry, const Content& content);
  void WriteWorkFiles(const Plan::Entry& entry, const Content& content);
  // Why a success left no proof.
  std::string WhyNotConfirmed(const Content& content) const;
  Outcome Send(const Plan::Entry& entry, const Content& content);
  Outcome SendOnce(const Plan::Entry& entry, const Content& content);
  Outcome Judge(const Plan::Entry& entry, const Content& content, int result);
  void StartEngine();
  bool SelectFolder(const std::string& folder);
  void Note(const Plan::Entry& entry, const Outcome& outcome);
  // A reason to stop the run now, or empty.
  std::string StopReason(const Outcome& outcome);

  Setup m_setup;
  Journal& m_journal;
  Say m_say;
  OnStep m_onStep;
  LedgerLook m_ledger;
  EngineLogs m_logs;
  std::unique_ptr<EngineProcess> m_engine;
  std::string m_folder;       // the engine's current folder; empty when it must be selected
  std::string m_lastFailure;  // that can end a run, without its digits
  int m_failuresInARow = 0;
  Summary m_summary;
};

}  // namespace client
