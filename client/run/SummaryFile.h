#pragma once

#include <string_view>

#include "client/run/RunFolder.h"

namespace client {

// In the run folder: what became of the last run that came to an end, with all that the text of its
// lists has no room for.
inline constexpr const char* kSummaryName = "summary.json";

// Puts these bytes in the place of the one that is there, which stays until they are written.
// Throws WriteError.
void WriteSummaryFile(const RunFolder& run, std::string_view json);

}  // namespace client
