#pragma once

#include "client/run/Journal.h"
#include "client/run/LedgerLook.h"
#include "client/run/Plan.h"
#include "client/run/RunMessages.h"
#include "client/run/TargetLook.h"

// Whether what a run folder knows fits what the target holds. It is looked at before anything is
// sent, by samples: a run would send again all that it does not know, and nothing that it knows.
//
// clang-format off
//   the run folder                              the target                      then
//   has rows in its ledger and no journal       is not asked                    it lost its journal
//   never had items of the plan in its hands    holds one of them, by its key   it is new, or a copy
//   knows that items of the plan arrived        holds none of all it knows      that was emptied, or
//                                                                               is another one
// clang-format on
//
// What cannot be asked for, or of a target that does not answer, does not count. A run without
// misfit costs a question or two, and a few more where it is new.

namespace client {

struct FitQuestion {
  TargetLook& look;
  const Plan& plan;
  Journal& journal;
  LedgerLook& ledger;
  bool hasKeys;  // the engine writes keys on items
  bool adopt;    // what is not known is looked for in the target later on, each item of it
};

// True where a run that adopts should forget what its folder knows, and learn it anew from the
// target; `say` tells why. Throws RunError for a misfit where the run does not adopt: what() says
// what to do.
bool ForgetsWhatMisfits(const FitQuestion& question, const Say& say);

}  // namespace client
