#include "client/commands/TargetLogon.h"

#include <algorithm>
#include <chrono>

#include <fmt/format.h>

#include "client/commands/MigrateOptions.h"
#include "client/run/StopRequest.h"
#include "client/run/StoreLook.h"
#include "ews/Settings.h"

namespace client {
namespace {

// A server that was never reached is more likely misnamed than out of order.
constexpr std::chrono::seconds kFirstPatience{30};

[[noreturn]] void Refuse(const Target& target, const std::string& reason) {
  if (target.Store()) throw RunError(reason);  // it names the file
  throw RunError(fmt::format("cannot log on to the {}: {}", target.Name(), reason));
}

}  // namespace

std::unique_ptr<LocalMailbox> ServeIfLocal(const Target& target, const Say& say) {
  if (!target.Local()) return nullptr;
  return std::make_unique<LocalMailbox>(OwnFolder() + "/mailboxd", target.LocalFolder(), say);
}

void RequireStoreUsable(const Target& target) {
  if (!target.Store()) return;
  const std::string problem = StoreProblem(target);
  if (!problem.empty()) Refuse(target, problem);
}

void RequireLogon(const Target& target, const std::vector<std::string>& engineOptions,
                  const std::string& title, bool fullPatience, ServerWaits& waits, const Say& say) {
  const std::string wrong = AdoptEngineOptions(engineOptions, title);
  if (!wrong.empty()) throw UsageError(wrong);
  ews::ServiceSettings& settings = ews::Settings();
  settings.fnTellWait = [&waits, say](const std::string& line) {
    waits.Note(line);
    say(line);
  };
  settings.fnStopAsked = StopRequested;
  const std::chrono::seconds patience = settings.nPatience;
  if (!fullPatience) settings.nPatience = std::min(patience, kFirstPatience);
  const std::string refusal = TryTarget(target);
  settings.nPatience = patience;
  waits.End();
  if (!refusal.empty()) Refuse(target, refusal);
}

}  // namespace client
