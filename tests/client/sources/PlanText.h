#pragma once

#include <string>
#include <vector>

#include "client/run/Plan.h"

namespace client_test {

// "FOLDER|NAME" for each item of a plan, "FOLDER|NAME|unread" for one that was not read.
inline std::vector<std::string> Items(const client::Plan& plan) {
  std::vector<std::string> items;
  for (const client::Plan::Entry& entry : plan.entries) {
    items.push_back(entry.item.folder + "|" + entry.name + (entry.item.read ? "" : "|unread"));
  }
  return items;
}

// "NAME: REASON" for each thing that was left out, its name without the source's.
inline std::vector<std::string> Problems(const client::Plan& plan, const std::string& source) {
  std::vector<std::string> problems;
  for (const client::SourceProblem& problem : plan.problems) {
    problems.push_back(problem.location.substr(source.size() + 1) + ": " + problem.reason);
  }
  return problems;
}

}  // namespace client_test
