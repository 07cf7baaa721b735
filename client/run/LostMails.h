#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "client/run/Journal.h"
#include "client/run/SeenMails.h"

// Whether mails that are not in the source any more were taken out of it, or lost by it. A folder
// that is not mounted and an mbox that was emptied look as if their user had deleted everything; so
// much at once is left where it is in the target, until somebody has looked.
//
// clang-format off
//   of the mails that are missing                                       are lost, if there are many
//   all that the run brought into a folder, most of them nowhere else   all of that folder
//   those of an mbox that is empty, or none any more                    all of that mbox
// clang-format on
//
// What lies in another folder of the source by now was moved. Deleted items and junk are what
// people empty as a habit, and a folder of which nothing is left in the target, either, is not
// wanted: nothing of them counts as lost.

namespace client {

// Fewer are taken out by hand every day, and soon put back from the deleted items.
inline constexpr std::size_t kManyMails = 20;

struct LostMails {
  std::string where;  // a folder of the target, or a file
  std::string reason;
  std::size_t count = 0;
};
// Whether one is where it was brought to.
using StillThere = std::function<bool(const KnownMail& mail)>;
// Takes them out of what is missing. `seen` has what is in the source. Throws
// platform::SqliteError, and what isStillThere does.
std::vector<LostMails> TakeLost(std::vector<KnownMail>& missing, Journal& journal,
                                const SeenMails& seen, const StillThere& isStillThere);

}  // namespace client
