#pragma once

#include "client/run/Plan.h"
#include "client/run/RunMessages.h"
#include "client/run/TargetLook.h"

namespace client {

// For a run that knows of nothing that was sent. Throws RunError where the target holds items of
// the plan that an earlier run, with another run folder, has sent: all of them would be there
// twice. Looks for some items of the plan's first folders, by the key that is written on each: that
// of another source, even a mail with the same id, is none of them. A target that cannot be asked
// holds none, and `say` tells.
void RequireNotFilled(TargetLook& look, const Plan& plan, const Say& say);

}  // namespace client
