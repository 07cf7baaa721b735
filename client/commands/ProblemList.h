#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/sources/Source.h"

// Lists of items with what is to say about each.
namespace client {

// Above what a plan tells of its sources: of a mail that was cut there the rest is sent.
inline constexpr const char* kLeftOut = "Left out or not whole";

// Above sources of a plan.
inline constexpr const char* kNothingIn = "Nothing was found in";

inline constexpr size_t kMostListed = 50;  // items of a list for people; the JSON has them all

nlohmann::json ProblemsAsJson(const std::vector<SourceProblem>& problems);

// To standard output, behind a title; nothing for an empty list. An item without a reason stands
// alone. `indent` blanks stand in front of each line.
void PrintProblems(const std::string& title, const std::vector<SourceProblem>& problems,
                   size_t indent = 0);

}  // namespace client
