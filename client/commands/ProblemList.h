#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/sources/Source.h"

// Lists of items with what is to say about each.
namespace client {

// Above sources of a plan.
inline constexpr const char* kNothingIn = "Nothing was found in";

inline constexpr size_t kMostListed = 50;  // items of a list for people

nlohmann::json ProblemsAsJson(const std::vector<SourceProblem>& problems);
// What a plan tells of its sources; each says whether it may hold mail that was not seen.
nlohmann::json LeftOutAsJson(const std::vector<SourceProblem>& problems);

struct ListForm {
  std::string file;   // has what the list has no room for; empty where only --json tells it
  size_t indent = 0;  // blanks in front of each line
};

// To standard output, behind a title; nothing for an empty list. An item without a reason stands
// alone.
void PrintProblems(const std::string& title, const std::vector<SourceProblem>& problems,
                   const ListForm& form = {});
// The same of what a plan tells of its sources, what may hold mail by itself and first.
void PrintLeftOut(const std::vector<SourceProblem>& problems, const ListForm& form = {});

}  // namespace client
