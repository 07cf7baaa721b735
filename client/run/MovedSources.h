#pragma once

#include <string>
#include <vector>

#include "client/run/FolderPlaces.h"
#include "client/run/Journal.h"
#include "client/run/Plan.h"

namespace client {

// What lies together in a source and went to another folder of the target than it would go to now.
struct MovedPlace {
  Holder holder;
  std::string had;  // folder of the target
  FolderPlace place;
};

// A source that was moved may have a level more or less where it lies now, and what it holds is not
// where the run looks for it. It is known by its content: of the first items of a holder that the
// run does not know, some arrived in another folder, out of none of these sources, and fewer in its
// own. That other one must be no folder of the plan, or the holder have its old name: people sort
// mail from one folder into another, too. Throws platform::SqliteError.
std::vector<MovedPlace> MovedWithSources(const Plan& plan, Journal& journal,
                                         const std::vector<std::string>& sources);

}  // namespace client
