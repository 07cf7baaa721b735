#pragma once

#include <optional>
#include <string>
#include <utility>
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

// "RAFWDX" for read, answered, flagged, forwarded, draft, deleted; "?" where nothing tells of
// reading; then the categories.
inline std::string Letters(const client::MailState& state, std::optional<bool> read) {
  std::string text = !read ? "?" : *read ? "R" : "";
  const std::pair<bool, char> flags[] = {{state.answered, 'A'},
                                         {state.flagged, 'F'},
                                         {state.forwarded, 'W'},
                                         {state.draft, 'D'},
                                         {state.deleted, 'X'}};
  for (const auto& [isSet, letter] : flags) {
    if (isSet) text += letter;
  }
  for (const std::string& category : state.categories) text += "," + category;
  return text;
}

}  // namespace client_test
