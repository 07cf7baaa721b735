#pragma once

#include <memory>
#include <string>
#include <vector>

#include "client/run/LocalMailbox.h"
#include "client/run/RunFolder.h"
#include "client/run/ServerWaits.h"
#include "client/run/Target.h"

namespace client {

// The local mailbox that the target is, served; null for another target. Throws RunError.
std::unique_ptr<LocalMailbox> ServeIfLocal(const Target& target, const Say& say);

// Throws RunError for a store that could be neither used nor made, and changes nothing; for another
// target it does nothing.
void RequireStoreUsable(const Target& target);

// Makes the engine's options those of our own requests, which tell their waits like the engine's,
// and logs on once. Throws RunError with the target's reason, UsageError for a wrong option. title
// is the engine's. waits must outlive all requests. Without fullPatience the target is waited for
// shortly: one that no run reached before, where nobody said how long.
void RequireLogon(const Target& target, const std::vector<std::string>& engineOptions,
                  const std::string& title, bool fullPatience, ServerWaits& waits, const Say& say);

}  // namespace client
