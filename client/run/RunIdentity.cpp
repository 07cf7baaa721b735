#include "client/run/RunIdentity.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "client/run/Journal.h"
#include "client/run/LedgerLook.h"
#include "client/run/RunFolder.h"
#include "client/run/Target.h"

namespace client {
namespace {

constexpr std::string_view kSources = "sources";  // properties of the journal
constexpr std::string_view kTarget = "target";

}  // namespace

RunIdentity IdentityOf(std::vector<std::string> sources, const Target& target) {
  std::sort(sources.begin(), sources.end());
  constexpr auto kReplace = nlohmann::json::error_handler_t::replace;
  return {nlohmann::json(sources).dump(-1, ' ', false, kReplace), target.Name()};
}

void RequireSameRun(Journal& journal, const RunIdentity& identity, const RunFolder& run) {
  const std::optional<std::string> hadSources = journal.Property(kSources);
  const std::optional<std::string> hadTarget = journal.Property(kTarget);
  if (hadSources && *hadSources != identity.sources) {
    throw RunError(fmt::format("{} belongs to a run of other sources ({}); use another run folder",
                               run.Path(), *hadSources));
  }
  if (hadTarget && *hadTarget != identity.target) {
    throw RunError(
        fmt::format("{} belongs to a run into another target ({}); use another run folder",
                    run.Path(), *hadTarget));
  }
}

void KeepIdentity(Journal& journal, const RunIdentity& identity) {
  journal.SetProperty(kSources, identity.sources);
  journal.SetProperty(kTarget, identity.target);
}

void RequireUsableLedger(const RunFolder& run) {
  const std::string path = run.File(std::string(kLedgerName));
  const std::string problem = LedgerLook(path).Problem();
  if (problem.empty()) return;
  throw RunError(fmt::format(
      "{} cannot be used: its ledger {} fails with: {}. Take a new run folder, or move the ledger "
      "away: the journal then says what has arrived",
      run.Path(), kLedgerName, problem));
}

}  // namespace client
