#include "client/run/Migration.h"

#include <algorithm>
#include <filesystem>
#include <new>

#include <fmt/format.h>

#include "client/run/ItemWriter.h"
#include "client/run/MailDate.h"
#include "client/run/MailKey.h"
#include "client/run/StopRequest.h"
#include "client/run/WorkFolder.h"
#include "mime/MailHeader.h"
#include "mime/header/MailDate.h"
#include "platform/Paths.h"
#include "platform/Sha256.h"

namespace client {
namespace {

constexpr int kMostDeaths = 2;                    // of the engine, on one item
constexpr int kMostFailuresInARow = 20;           // with the same text
constexpr int kLongestFolder = 4999;              // units of a folder command's path
constexpr std::uintmax_t kLittleSpace = 1 << 20;  // bytes: a ledger may need some pages more
constexpr const char* kNotRenewed = "the connection could not be renewed";

std::string DateOf(const mail::MailHeader& header) {
  const std::optional<std::int64_t> time = mail::parseMailDate(header.text("Date"));
  return time ? DescriptorDate(*time) : std::string();
}

// Failures of the way to the server, as the engine words them; the server's own answers are not.
bool IsConnectionFailure(const std::string& text) {
  return text.find("The request failed.") != std::string::npos || text == kNotRenewed;
}

// The same failure tells other times and ports from one item to the next.
std::string WithoutDigits(std::string text) {
  std::erase_if(text, [](char c) { return c >= '0' && c <= '9'; });
  return text;
}

}  // namespace

Migration::Migration(Setup setup, Journal& journal, Say say, OnStep onStep)
    : m_setup(std::move(setup)),
      m_journal(journal),
      m_say(std::move(say)),
      m_onStep(std::move(onStep)),
      m_ledger(m_setup.run.File(std::string(kLedgerName))),
      m_logs(m_setup.run.Path()) {}

Summary Migration::Run(const Plan& plan) {
  m_summary = {};
  m_summary.total = plan.entries.size();
  try {
    for (const Plan::Entry& entry : plan.entries) {
      if (StopRequested()) m_summary.stopped = "asked to stop";
      if (!m_summary.stopped.empty()) break;
      const Outcome outcome = Handle(entry);
      Note(entry, outcome);
      m_summary.stopped = StopReason(outcome);
    }
  } catch (const platform::SqliteError& error) {
    m_summary.stopped = std::string("the journal cannot be used: ") + error.what();
  } catch (const std::exception& error) {  // what was done so far is told all the same
    m_summary.stopped = error.what();
  }
  m_ledger.Close();
  m_engine.reset();
  return std::move(m_summary);
}

Migration::Outcome Migration::Handle(const Plan::Entry& entry) {
  Content content;
  JournalEntry record{entry.item.location, entry.item.folder, {}, {}, ItemResult::kFailed, {}};
  Outcome outcome;
  try {
    content = Load(entry);
    if (m_journal.HasArrived(record.source, record.folder, content.hash)) {
      return {Outcome::Kind::kKnown, {}};
    }
    content.key = KeyOf(entry, content);
    outcome = Send(entry, content);
  } catch (const SourceError& error) {
    outcome.text = error.what();
  } catch (const WriteError& error) {
    outcome.text = error.what();
  } catch (const std::bad_alloc&) {
    outcome.text = "is too large for the memory here";
  }
  record.hash = content.hash;
  record.key = content.key;
  record.text = outcome.text;
  if (outcome.kind == Outcome::Kind::kNotConfirmed) record.result = ItemResult::kNotConfirmed;
  if (outcome.kind == Outcome::Kind::kSent || outcome.kind == Outcome::Kind::kKnown) {
    record.result = ItemResult::kArrived;
  }
  m_journal.Store(record);
  return outcome;
}

Migration::Content Migration::Load(const Plan::Entry& entry) const {
  Content content;
  if (entry.item.prepared) {
    content.files = ListPreparedFiles(entry.item.location);
    content.hash = HashPreparedFiles(entry.item.location, content.files);
  } else {
    content.bytes = MimeBytes(entry.source->Read(entry.item));
    content.hash = platform::Sha256Hex(content.bytes);
  }
  return content;
}

std::string Migration::KeyOf(const Plan::Entry& entry, const Content& content) {
  const std::string& folder = entry.item.folder;
  if (!entry.item.prepared) {
    const std::string wanted =
        MailKey(mail::MailHeader(content.bytes).text("Message-ID"), content.hash);
    return m_journal.ClaimKey(folder, wanted, content.hash);
  }
  const ST_EML_INFO info = ReadPreparedItem(entry.item.location);
  if (info.nItemType != TYPE_EMAIL) {
    throw SourceError("the first line of its descriptor names no type of item");
  }
  std::string key = info.strMessageId.ToUtf8();
  if (key.empty()) return key;
  const bool taken = m_journal.IsClaimedByOther(folder, key, content.hash);
  if (taken && m_ledger.HasRow(folder, key, m_setup.target.Login())) {
    throw SourceError("another item with its message id is in that folder already");
  }
  m_journal.Reclaim(folder, key, content.hash);
  return key;
}

bool Migration::HasArrived(const Plan::Entry& entry, const Content& content) {
  if (content.key.empty()) return m_logs.HasSavedMail();
  return m_ledger.HasRow(entry.item.folder, content.key, m_setup.target.Login());
}

Migration::Outcome Migration::Send(const Plan::Entry& entry, const Content& content) {
  m_logs.Mark();
  // A row without a journal entry: an earlier run was cut off between the two.
  if (HasArrived(entry, content)) return {Outcome::Kind::kKnown, {}};
  std::string end;
  for (int deaths = 0; deaths < kMostDeaths; ++deaths) {
    try {
      Outcome outcome = SendOnce(entry, content);
      // The first try may have got as far as the server, and no row tells.
      if (deaths > 0 && outcome.kind == Outcome::Kind::kSent && outcome.text.empty()) {
        outcome.text = "sent again after the engine ended: it may be there twice";
      }
      return outcome;
    } catch (const platform::EndpointError&) {
      end = m_engine ? m_engine->DescribeEnd() : "";
      m_engine.reset();
      m_folder.clear();
      m_say(fmt::format("The engine ended in the middle of {} ({}).", entry.name, end));
      if (HasArrived(entry, content)) return {Outcome::Kind::kSent, {}};
    }
  }
  return {Outcome::Kind::kFailed, fmt::format("the engine ended twice on this item ({})", end)};
}

Migration::Outcome Migration::SendOnce(const Plan::Entry& entry, const Content& content) {
  if (CString::FromUtf8(entry.item.folder).GetLength() > kLongestFolder) {
    return {Outcome::Kind::kFailed, "the path of its folder is too long"};
  }
  if (!m_engine) StartEngine();
  m_logs.Mark();
  if (!SelectFolder(entry.item.folder)) return {Outcome::Kind::kFailed, kNotRenewed};
  EmptyWorkFolder(m_setup.run.WorkFolder());
  WriteWorkFiles(entry, content);
  if (WantsImagePage(content.files) && m_engine->Client().ShowImage(CString()) != 1) {
    return {Outcome::Kind::kFailed, "the engine cannot read its image list"};
  }
  ST_ITEM_INFO info;
  info.strFilePath = platform::ToWindowsPath(m_setup.run.WorkFolder() + "/");
  info.strLogFilepath = CString::FromUtf8(kStatusLogName);
  return Judge(entry, content, m_engine->Client().InsertItem(info));
}

void Migration::WriteWorkFiles(const Plan::Entry& entry, const Content& content) {
  const std::string folder = m_setup.run.WorkFolder();
  if (!entry.item.prepared) {
    const mail::MailHeader header(content.bytes);
    MailDescription description{content.key, DateOf(header), entry.item.read, {}};
    if (m_setup.fromMime) description.addressing = AddressingOf(header);
    WriteMail(folder, description, content.bytes);
    return;
  }
  CopyPreparedFiles(entry.item.location, content.files, folder);
  if (HashPreparedFiles(folder, content.files) != content.hash) {
    throw SourceError("its files changed while they were read");
  }
}

Migration::Outcome Migration::Judge(const Plan::Entry& entry, const Content& content, int result) {
  const std::string reason = m_logs.LastStatus();
  if (HasArrived(entry, content)) {
    return {Outcome::Kind::kSent, result == 1 ? std::string() : reason};
  }
  m_folder.clear();  // a folder that could not be made fails every item until it is asked for again
  if (result == 1) return {Outcome::Kind::kNotConfirmed, WhyNotConfirmed(content)};
  return {Outcome::Kind::kFailed, reason.empty() ? kNotRenewed : reason};
}

std::string Migration::WhyNotConfirmed(const Content& content) const {
  if (content.key.empty()) {
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
  const bool safe = std::find(m_setup.engineOptions.begin(), m_setup.engineOptions.end(),
                              "--safe") != m_setup.engineOptions.end();
  const bool quote = (content.key + m_setup.target.Login()).find('\'') != std::string::npos;
  if (!safe && quote) {
    return why + " (with --as-is a quote in the message id or the login keeps it out)";
  }
  return why;
}

void Migration::StartEngine() {
  std::vector<int> inherited;
  if (m_setup.localMailbox) inherited.push_back(m_setup.localMailbox->LifeLine());
  m_engine = std::make_unique<EngineProcess>(m_setup.run, m_setup.engineOptions,
                                             std::move(inherited), m_say);
  if (m_engine->Client().Logon(LoginRecord(m_setup.target))) return;
  m_engine.reset();
  const std::string reason = TryTarget(m_setup.target);
  throw RunError("the engine cannot log on: " + (reason.empty() ? "no reason was given" : reason));
}

bool Migration::SelectFolder(const std::string& folder) {
  if (m_folder == folder) return true;
  m_folder.clear();
  ST_FOLDER_INFO info;
  info.strFolder = CString::FromUtf8(folder);
  if (m_engine->Client().CreateFolder(info) != 1) return false;
  m_folder = folder;
  return true;
}

void Migration::Note(const Plan::Entry& entry, const Outcome& outcome) {
  struct Word {
    std::uint64_t* counter;
    const char* text;
    std::vector<SourceProblem>* list;
  };
  Word word{&m_summary.failed, "FAILED", &m_summary.failures};
  if (outcome.kind == Outcome::Kind::kSent) word = {&m_summary.sent, "sent", &m_summary.remarks};
  if (outcome.kind == Outcome::Kind::kKnown) word = {&m_summary.known, "there already", nullptr};
  if (outcome.kind == Outcome::Kind::kNotConfirmed) {
    word = {&m_summary.notConfirmed, "NOT CONFIRMED", &m_summary.failures};
  }
  ++*word.counter;
  ++m_summary.seen;
  if (word.list && !outcome.text.empty()) word.list->push_back({entry.name, outcome.text});
  const std::string line =
      fmt::format("[{}/{}] {}: {}{}{}", m_summary.seen, m_summary.total, entry.name, word.text,
                  outcome.text.empty() ? "" : ": ", outcome.text);
  const bool failed = word.list == &m_summary.failures;
  m_onStep({m_summary.seen, m_summary.total, entry.name, line, failed});
}

std::string Migration::StopReason(const Outcome& outcome) {
  if (m_setup.localMailbox) {
    if (const std::optional<std::string> end = m_setup.localMailbox->Ended()) {
      return fmt::format("the local mailbox ended ({})", *end);
    }
  }
  if (outcome.kind == Outcome::Kind::kKnown) return {};  // says nothing about what comes
  const bool unproved = outcome.kind == Outcome::Kind::kNotConfirmed;
  const bool failed = outcome.kind == Outcome::Kind::kFailed && IsConnectionFailure(outcome.text);
  if (!unproved && !failed) {
    m_failuresInARow = 0;
    return {};
  }
  const std::string text = WithoutDigits(outcome.text);
  m_failuresInARow = text == m_lastFailure ? m_failuresInARow + 1 : 1;
  m_lastFailure = text;
  if (m_failuresInARow < kMostFailuresInARow) return {};
  // Without a ledger, what is sent on would be sent again by the next run.
  return fmt::format("{} items in a row {}: {}", kMostFailuresInARow,
                     unproved ? "could not be confirmed" : "failed with", outcome.text);
}

}  // namespace client
