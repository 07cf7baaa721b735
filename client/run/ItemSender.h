#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/run/EngineLogs.h"
#include "client/run/EngineProcess.h"
#include "client/run/ItemLoader.h"
#include "client/run/Journal.h"
#include "client/run/LedgerLook.h"
#include "client/run/LocalMailbox.h"
#include "client/run/OtherItems.h"
#include "client/run/Outcome.h"
#include "client/run/Plan.h"
#include "client/run/RunFolder.h"
#include "client/run/RunMessages.h"
#include "client/run/ServerWaits.h"
#include "client/run/Target.h"

namespace client {

// What a run works with.
struct RunSetup {
  const RunFolder& run;
  const Target& target;
  std::vector<std::string> engineOptions;
  LocalMailbox* localMailbox = nullptr;  // not owned; null for another target
  bool fromMime = false;         // descriptors carry subject and addresses of the mail's header
  bool adopt = false;            // what the target holds already counts as known
  ServerWaits* waits = nullptr;  // not owned; notes what the engine tells
  bool deleteMissing = false;    // mails that are not in the source any more go to deleted items

  bool IsSafe() const;  // the engine works with its safeguards
};

// What of an item did not arrive.
struct NotCarried {
  LeftOut left;          // what its work files have no place for
  std::string ofEngine;  // what the engine left out of them, as a remark
  Reduction reduction = Reduction::kNone;
};

// Brings one item after the other to the engine, which it starts when there is none, and judges by
// the ledger what came of it.
class ItemSender {
 public:
  // All must outlive this.
  ItemSender(const RunSetup& setup, Journal& journal, LedgerLook& ledger, Say say);

  // What is asked about an item from here on counts what the engine does from here on.
  void Mark() {
    m_logs.Mark();
    m_left.reset();
  }
  // True if the item has its row or, where it gets none, the trace tells of its save.
  bool HasArrived(const Plan::Entry& entry, const LoadedItem& item);

  // Of the last try behind a mark; nothing where nothing was tried.
  std::optional<NotCarried> LastTry() const;
  // Of an item that an earlier run sent; nothing of one that cannot be written again.
  LeftOut LeftOf(const Plan::Entry& entry, const LoadedItem& item);
  // Whether the engine cut the last item of all runs.
  Reduction EndedReduced() const { return m_logs.EndedReduced(); }

  // One try: kSent, kFailed or kNotConfirmed with the text of the engine, or kLeft where a stop was
  // asked for. The journal knows before the command leaves. Throws platform::EndpointError when the
  // engine ends instead, RunError when it cannot be started, SourceError, WriteError,
  // platform::SqliteError.
  Outcome SendOnce(const Plan::Entry& entry, const LoadedItem& item);
  // Empty when the folder stands, made where it was not there, or may only be tried again; else the
  // reason why not. Throws as SendOnce does.
  std::string MakeFolder(const std::string& path);
  // After an EndpointError: how the engine ended. The next item gets a new one.
  std::string DescribeEnd();

  // The longest that an item took which is small, so that the network took little of it, and which
  // arrived without an outage being waited out in it: in this run or one before.
  std::chrono::milliseconds Slowest() const { return m_slowest; }

  void Close();

 private:
  // A line of the engine's; called on a thread of its own.
  void Hear(const std::string& line);
  Outcome Send(const Plan::Entry& entry, const LoadedItem& item);
  void StartEngine();
  void NoteTime(const SourceItem& item, std::chrono::milliseconds taken);
  void StartEngineOnce();
  bool LogOn();
  // Empty when the folder stands, else the reason why it does not.
  std::string SelectFolder(const SourceItem& item);
  // Returns what of the item they do not carry.
  LeftOut WriteWorkFiles(const Plan::Entry& entry, const LoadedItem& item);
  Outcome Judge(const Plan::Entry& entry, const LoadedItem& item, int result);
  // Why a success left no proof.
  std::string WhyNotConfirmed(const LoadedItem& item) const;

  const RunSetup& m_setup;
  Journal& m_journal;
  LedgerLook& m_ledger;
  Say m_say;
  EngineLogs m_logs;
  std::optional<LeftOut> m_left;
  std::unique_ptr<EngineProcess> m_engine;
  std::chrono::milliseconds m_slowest;
  std::string m_folder;  // the engine's current folder; empty when it must be selected
};

inline constexpr const char* kNotRenewed = "the connection could not be renewed";

}  // namespace client
