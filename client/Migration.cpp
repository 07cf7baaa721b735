#include "client/Migration.h"

#include <fmt/format.h>

#include "client/Console.h"
#include "client/ItemWriter.h"
#include "client/MailDate.h"
#include "client/MailKey.h"
#include "mime/HeaderLookup.h"
#include "platform/Paths.h"
#include "platform/Sha256.h"

namespace client {
namespace {

constexpr int kMostDeaths = 2;               // of the engine, on one item
constexpr int kMostConnectionFailures = 20;  // in a row, with the same text
constexpr int kLongestFolder = 4999;         // units of a folder command's path
constexpr const char* kNotRenewed = "the connection could not be renewed";

std::string DateOf(std::string_view mail) {
  const std::optional<std::string> header = mime::FindHeader(mail, "Date");
  const std::optional<std::int64_t> time = header ? ParseMailDate(*header) : std::nullopt;
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

Migration::Migration(Setup setup, Journal& journal, Console& console)
    : m_setup(std::move(setup)),
      m_journal(journal),
      m_console(console),
      m_ledger(m_setup.run.File(std::string(kLedgerName))),
      m_statusLog(m_setup.run.File(kStatusLogName)) {}

Summary Migration::Run(const Plan& plan) {
  m_summary = {};
  m_summary.total = plan.entries.size();
  try {
    for (const Plan::Entry& entry : plan.entries) {
      if (StopRequested()) m_summary.stopped = "stopped as asked";
      if (!m_summary.stopped.empty()) break;
      const Outcome outcome = Handle(entry);
      Note(entry, outcome);
      m_summary.stopped = StopReason(outcome);
    }
  } catch (const RunError& error) {
    m_summary.stopped = error.what();
  } catch (const platform::SqliteError& error) {
    m_summary.stopped = std::string("the journal cannot be used: ") + error.what();
  }
  m_console.EndProgress();
  m_ledger.Close();
  m_engine.reset();
  return std::move(m_summary);
}

Migration::Outcome Migration::Handle(const Plan::Entry& entry) {
  Mail mail;
  JournalEntry record{entry.item.location, entry.item.folder, {}, {}, ItemResult::kFailed, {}};
  Outcome outcome;
  try {
    mail.bytes = MimeBytes(entry.source->Read(entry.item));
    mail.hash = platform::Sha256Hex(mail.bytes);
    if (m_journal.HasArrived(record.source, record.folder, mail.hash)) {
      return {Outcome::Kind::kKnown, {}};
    }
    const std::string wanted =
        MailKey(mime::FindHeader(mail.bytes, "Message-ID").value_or(""), mail.hash);
    mail.key = m_journal.ClaimKey(record.folder, wanted, mail.hash);
    outcome = Send(entry, mail);
  } catch (const SourceError& error) {
    outcome.text = error.what();
  } catch (const WorkFileError& error) {
    outcome.text = error.what();
  }
  record.hash = mail.hash;
  record.key = mail.key;
  record.text = outcome.text;
  if (outcome.kind == Outcome::Kind::kNotConfirmed) record.result = ItemResult::kNotConfirmed;
  if (outcome.kind == Outcome::Kind::kSent || outcome.kind == Outcome::Kind::kKnown) {
    record.result = ItemResult::kArrived;
  }
  m_journal.Store(record);
  return outcome;
}

Migration::Outcome Migration::Send(const Plan::Entry& entry, const Mail& mail) {
  // A row without a journal entry: an earlier run was cut off between the two.
  if (m_ledger.HasRow(entry.item.folder, mail.key, m_setup.target.Login())) {
    return {Outcome::Kind::kKnown, {}};
  }
  std::string end;
  for (int deaths = 0; deaths < kMostDeaths; ++deaths) {
    try {
      return SendOnce(entry, mail);
    } catch (const platform::EndpointError&) {
      end = m_engine ? m_engine->DescribeEnd() : "";
      m_engine.reset();
      m_folder.clear();
      m_console.Say(fmt::format("The engine ended in the middle of {} ({}).", entry.name, end));
      if (m_ledger.HasRow(entry.item.folder, mail.key, m_setup.target.Login())) {
        return {Outcome::Kind::kSent, {}};
      }
    }
  }
  return {Outcome::Kind::kFailed, fmt::format("the engine ended twice on this item ({})", end)};
}

Migration::Outcome Migration::SendOnce(const Plan::Entry& entry, const Mail& mail) {
  if (CString::FromUtf8(entry.item.folder).GetLength() > kLongestFolder) {
    return {Outcome::Kind::kFailed, "the path of its folder is too long"};
  }
  if (!m_engine) StartEngine();
  m_statusLog.Mark();
  if (!SelectFolder(entry.item.folder)) return {Outcome::Kind::kFailed, kNotRenewed};
  EmptyWorkFolder(m_setup.run.WorkFolder());
  WriteMail(m_setup.run.WorkFolder(), {mail.key, DateOf(mail.bytes), entry.item.read}, mail.bytes);
  ST_ITEM_INFO info;
  info.strFilePath = platform::ToWindowsPath(m_setup.run.WorkFolder() + "/");
  info.strLogFilepath = CString::FromUtf8(kStatusLogName);
  return Judge(entry, mail, m_engine->Client().InsertItem(info));
}

Migration::Outcome Migration::Judge(const Plan::Entry& entry, const Mail& mail, int result) {
  const std::string reason = ReasonOf(m_statusLog.LastLine());
  if (m_ledger.HasRow(entry.item.folder, mail.key, m_setup.target.Login())) {
    return {Outcome::Kind::kSent, result == 1 ? std::string() : reason};
  }
  m_folder.clear();  // a folder that could not be made fails every item until it is asked for again
  if (result == 1) {
    return {Outcome::Kind::kNotConfirmed, "the engine reported success, but its ledger has no row"};
  }
  return {Outcome::Kind::kFailed, reason.empty() ? kNotRenewed : reason};
}

void Migration::StartEngine() {
  std::vector<int> inherited;
  if (m_setup.localMailbox) inherited.push_back(m_setup.localMailbox->LifeLine());
  m_engine = std::make_unique<EngineProcess>(m_setup.run, m_setup.engineOptions,
                                             std::move(inherited), m_console);
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
  if (failed) {
    m_console.Say(line);
  } else {
    m_console.SayPlain(line);
  }
  m_console.Progress(m_summary.seen, m_summary.total, entry.name);
}

std::string Migration::StopReason(const Outcome& outcome) {
  if (m_setup.localMailbox) {
    if (const std::optional<std::string> end = m_setup.localMailbox->Ended()) {
      return fmt::format("the local mailbox ended ({})", *end);
    }
  }
  const bool failure = outcome.kind == Outcome::Kind::kFailed && IsConnectionFailure(outcome.text);
  if (outcome.kind == Outcome::Kind::kKnown) return {};  // says nothing about the connection
  if (!failure) {
    m_connectionFailures = 0;
    return {};
  }
  const std::string text = WithoutDigits(outcome.text);
  m_connectionFailures = text == m_lastConnectionFailure ? m_connectionFailures + 1 : 1;
  m_lastConnectionFailure = text;
  if (m_connectionFailures < kMostConnectionFailures) return {};
  return fmt::format("{} items in a row failed with: {}", kMostConnectionFailures, outcome.text);
}

}  // namespace client
