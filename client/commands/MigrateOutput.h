#pragma once

#include <string>

#include "client/run/Plan.h"
#include "client/run/Summary.h"

// What `tarny migrate` writes to standard output, for people or as JSON.
namespace client {

// What a run into that target would do.
void PrintPlan(const Plan& plan, const std::string& target, bool json);

// What became of a run, as JSON.
std::string SummaryAsJson(const Summary& summary, const Plan& plan);
// The same for people; `file` has it as JSON, if it is not empty.
void PrintSummary(const Summary& summary, const Plan& plan, const std::string& file);

}  // namespace client
