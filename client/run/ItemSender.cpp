#include "client/run/ItemSender.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "client/run/ItemKinds.h"
#include "client/run/ItemProps.h"
#include "client/run/ItemWriter.h"
#include "client/run/MailDate.h"
#include "client/run/ReceivedTime.h"
#include "client/run/StopRequest.h"
#include "client/run/StoreLook.h"
#include "client/run/UnknownOutcome.h"
#include "client/run/WorkFolder.h"
#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"
#include "mime/MailHeader.h"
#include "mime/header/MailDate.h"
#include "platform/Paths.h"

namespace client {
namespace {

constexpr int kLongestFolder = 4999;  // units of a folder command's path
constexpr int kMostStarts = 3;        // of engines that end before they are at work
constexpr std::string_view kSlowest = "slowest save";  // in milliseconds
constexpr const char* kStopped = "asked to stop";
constexpr std::uintmax_t kLittleSpace = 1 << 20;  // bytes: a ledger may need some pages more

// Whatever stands there.
std::chrono::milliseconds SlowestOfEarlierRuns(Journal& journal) {
  const std::string text = journal.Property(kSlowest).value_or("");
  long count = 0;
  std::from_chars(text.data(), text.data() + text.size(), count);
  return std::chrono::milliseconds(count);
}

}  // namespace

bool RunSetup::IsSafe() const {
  return std::ranges::find(engineOptions, "--safe") != engineOptions.end();
}

ItemSender::ItemSender(const RunSetup& setup, Journal& journal, LedgerLook& ledger, Say say)
    : m_setup(setup),
      m_journal(journal),
      m_ledger(ledger),
      m_say(std::move(say)),
      m_logs(m_setup.run.Path()),
      m_slowest(SlowestOfEarlierRuns(journal)) {}

bool ItemSender::HasArrived(const Plan::Entry& entry, const LoadedItem& item) {
  if (item.ledgerKey.empty()) return m_logs.HasSaved(entry.item.type);
  return m_ledger.HasRow(entry.item.folder, item.ledgerKey, m_setup.target.Login());
}

std::optional<NotCarried> ItemSender::LastTry() const {
  if (!m_left) return std::nullopt;
  return NotCarried{*m_left, m_logs.LeftOut(), m_logs.SentReduced()};
}

LeftOut ItemSender::LeftOf(const Plan::Entry& entry, const LoadedItem& item) {
  try {
    EmptyWorkFolder(m_setup.run.WorkFolder());
    LeftOut left = WriteWorkFiles(entry, item);
    EmptyWorkFolder(m_setup.run.WorkFolder());
    return left;
  } catch (const std::runtime_error&) {  // it is there, whatever its remark would be
    return {};
  }
}

// An engine that is told to stop ends behind its command, be it one of several for the item.
Outcome ItemSender::SendOnce(const Plan::Entry& entry, const LoadedItem& item) {
  try {
    return Send(entry, item);
  } catch (const platform::EndpointError&) {
    if (!StopRequested() || !m_setup.IsSafe()) throw;
  }
  DescribeEnd();
  if (HasArrived(entry, item)) return {Outcome::Kind::kSent, {}};
  return {Outcome::Kind::kLeft, kStopped};
}

Outcome ItemSender::Send(const Plan::Entry& entry, const LoadedItem& item) {
  if (CString::FromUtf8(entry.item.folder).GetLength() > kLongestFolder) {
    return {Outcome::Kind::kFailed, "the path of its folder is too long"};
  }
  if (!m_engine) StartEngine();
  m_logs.Mark();
  if (std::string reason = SelectFolder(entry.item); !reason.empty()) {
    return {Outcome::Kind::kFailed, std::move(reason)};
  }
  EmptyWorkFolder(m_setup.run.WorkFolder());
  m_left = WriteWorkFiles(entry, item);
  if (WantsImagePage(item.files) && m_engine->Client().ShowImage(CString()) != 1) {
    return {Outcome::Kind::kFailed, "the engine cannot read its image list"};
  }
  ST_ITEM_INFO info;
  info.strFilePath = platform::ToWindowsPath(m_setup.run.WorkFolder() + "/");
  info.strLogFilepath = CString::FromUtf8(kStatusLogName);
  if (StopRequested()) return {Outcome::Kind::kLeft, kStopped};
  m_journal.Begin(entry.item.folder, item.key);
  const std::uint64_t failures = m_setup.waits->Failures();
  const auto begun = ews::Transport().Now();
  const int result = m_engine->Client().InsertItem(info);
  const auto taken = ews::Transport().Now() - begun;
  m_setup.waits->End();
  Outcome outcome = Judge(entry, item, result);
  if (outcome.Arrived() && m_setup.waits->Failures() == failures) {
    NoteTime(entry.item, std::chrono::ceil<std::chrono::milliseconds>(taken));
  }
  return outcome;
}

// The next run hears of a server that is slow: it may begin with what is not answered.
void ItemSender::NoteTime(const SourceItem& item, std::chrono::milliseconds taken) {
  constexpr std::uint64_t kSmall = 1 << 20;  // bytes
  constexpr std::chrono::seconds kStep{1};   // for each a write to the disk
  if (item.length > kSmall || taken < m_slowest + kStep) return;
  m_slowest = taken;
  m_journal.SetProperty(kSlowest, std::to_string(taken.count()));
}

std::string ItemSender::MakeFolder(const std::string& path) {
  SourceItem item;
  item.folder = path;
  if (!m_engine) StartEngine();
  m_logs.Mark();
  return SelectFolder(item);
}

std::string ItemSender::DescribeEnd() {
  PassStopTo(0);
  std::string end = m_engine ? m_engine->DescribeEnd() : "";
  Close();
  return end;
}

void ItemSender::Close() {
  PassStopTo(0);
  m_engine.reset();
  m_folder.clear();
  m_setup.waits->End();
}

void ItemSender::Hear(const std::string& line) {
  m_setup.waits->Note(line);
  m_say(line);
}

LeftOut ItemSender::WriteWorkFiles(const Plan::Entry& entry, const LoadedItem& item) {
  const std::string folder = m_setup.run.WorkFolder();
  if (entry.item.IsOther()) {
    const std::string key = m_setup.IsSafe() ? item.key : std::string();
    return WriteOther(folder, entry.item.type, item.bytes, key);
  }
  if (!entry.item.prepared) {
    const mail::MailHeader header(item.bytes);
    const MailTimes times{ReceivedTime(header, item.state.received, std::time(nullptr)),
                          mail::parseMailDate(header.text("Date"))};
    std::vector<std::string> left;
    if (m_setup.IsSafe()) left = WriteItemProps(folder, item.key, PropsOf(item.state, times));
    // A date of the descriptor would be that of arrival, too.
    const bool isSentAlone = m_setup.IsSafe() && !times.received;
    MailDescription description{item.ledgerKey, {}, entry.item.read, {}};
    if (times.sent && !isSentAlone) description.date = DescriptorDate(*times.sent);
    if (m_setup.fromMime) description.addressing = AddressingOf(header);
    WriteMail(folder, description, item.bytes);
    for (const auto& [name, reason] : item.missing) {
      left.push_back(fmt::format("attachment {} ({})", name, reason));
    }
    return {std::move(left), /*isReduced=*/!item.missing.empty()};
  }
  CopyPreparedFiles(entry.item.location, item.files, folder);
  if (HashPreparedFiles(folder, item.files) != item.hash) {
    throw SourceError("its files changed while they were read");
  }
  if (m_setup.IsSafe()) WriteItemProps(folder, item.key);
  return {};
}

Outcome ItemSender::Judge(const Plan::Entry& entry, const LoadedItem& item, int result) {
  const std::string reason = m_logs.LastStatus();
  if (HasArrived(entry, item)) {
    const bool asExpected = result == 1 || m_logs.SentReduced() != Reduction::kNone;
    return {Outcome::Kind::kSent, asExpected ? std::string() : reason};
  }
  m_folder.clear();  // a folder that could not be made fails every item until it is asked for again
  if (result == 1) return {Outcome::Kind::kNotConfirmed, WhyNotConfirmed(item)};
  if (!reason.empty()) return {Outcome::Kind::kFailed, reason};
  if (!m_logs.MayHaveSent()) return {Outcome::Kind::kFailed, kNotRenewed};
  return {Outcome::Kind::kFailed,
          ews::WithOpenOutcome("the engine's status log could not be written", "The item")};
}

std::string ItemSender::WhyNotConfirmed(const LoadedItem& item) const {
  if (item.ledgerKey.empty()) {
    return "the engine reported success, but its trace shows no save, and without a message id "
           "there is no row in its ledger";
  }
  std::string why = "the engine reported success, but its ledger has no row";
  if (const std::string problem = m_ledger.Problem(); !problem.empty()) {
    return why + " (" + problem + ")";
  }
  std::error_code error;
  const std::filesystem::space_info space = std::filesystem::space(m_setup.run.Path(), error);
  if (!error && space.available < kLittleSpace) return why + " (the disk is full)";
  const bool quote = (item.ledgerKey + m_setup.target.Login()).find('\'') != std::string::npos;
  if (!m_setup.IsSafe() && quote) {
    return why + " (with --as-is a quote in the message id or the login keeps it out)";
  }
  return why;
}

// One that dies before a command left is no item's fault.
void ItemSender::StartEngine() {
  for (int starts = 1;; ++starts) {
    try {
      return StartEngineOnce();
    } catch (const EngineEnded& error) {
      Close();
      if (StopRequested()) throw RunError(kStopped);
      if (starts == kMostStarts) throw;
      m_say(fmt::format("Starting the engine again: {}", error.what()));
    }
    if (!WaitFor(std::chrono::seconds(starts))) throw RunError(kStopped);
  }
}

void ItemSender::StartEngineOnce() {
  RequireStoreKept(m_setup.target, m_journal);
  std::vector<int> inherited;
  if (m_setup.localMailbox) inherited.push_back(m_setup.localMailbox->LifeLine());
  // We have logged on there: an outage that begins now is one from the first request on.
  std::vector<std::string> options = m_setup.engineOptions;
  options.push_back("--known-server");
  m_engine = std::make_unique<EngineProcess>(m_setup.run, options, std::move(inherited),
                                             [this](const std::string& line) { Hear(line); });
  // It ends what moves, and would keep a stop waiting for its server else.
  PassStopTo(m_engine->Pid(), m_setup.IsSafe() ? StopPassing::kFirst : StopPassing::kSecondAlone);
  if (LogOn()) return KeepStore(m_setup.target, m_journal);
  Close();
  if (StopRequested()) throw RunError(kStopped);
  const std::string reason = TryTarget(m_setup.target);
  throw RunError("the engine cannot log on: " + (reason.empty() ? "no reason was given" : reason));
}

bool ItemSender::LogOn() {
  try {
    return m_engine->Client().Logon(LoginRecord(m_setup.target));
  } catch (const platform::EndpointError&) {
    throw EngineEnded(DescribeEnd());
  }
}

std::string ItemSender::SelectFolder(const SourceItem& item) {
  if (m_folder == item.folder) return {};
  m_folder.clear();
  ST_FOLDER_INFO info;
  info.strFolder = CString::FromUtf8(item.folder);
  const ItemKind& kind = KindOf(item.type);
  info.nType = m_setup.target.Store() ? kind.storeType : kind.folderType;
  if (m_engine->Client().CreateFolder(info) != 1) {
    const std::string reason = m_logs.LastStatus();
    return reason.empty() ? kNotRenewed : reason;
  }
  m_folder = item.folder;
  return {};
}

}  // namespace client
