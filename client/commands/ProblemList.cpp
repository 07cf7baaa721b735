#include "client/commands/ProblemList.h"

#include <iostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "client/show/OutputText.h"

namespace client {

nlohmann::json ProblemsAsJson(const std::vector<SourceProblem>& problems) {
  nlohmann::json list = nlohmann::json::array();
  for (const SourceProblem& problem : problems) {
    list.push_back({{"item", problem.location}, {"text", problem.reason}});
  }
  return list;
}

nlohmann::json LeftOutAsJson(const std::vector<SourceProblem>& problems) {
  nlohmann::json list = ProblemsAsJson(problems);
  for (size_t i = 0; i < problems.size(); ++i) list[i]["may_hold_mail"] = problems[i].isUnread;
  return list;
}

void PrintProblems(const std::string& title, const std::vector<SourceProblem>& problems,
                   const ListForm& form) {
  if (problems.empty()) return;
  const std::string blanks(form.indent, ' ');
  std::cout << blanks << title << ":\n";
  for (size_t i = 0; i < problems.size() && i < kMostListed; ++i) {
    const SourceProblem& problem = problems[i];
    std::cout << fmt::format("{}  {}{}{}\n", blanks, OneLine(problem.location),
                             problem.reason.empty() ? "" : ": ", OneLine(problem.reason));
  }
  if (problems.size() > kMostListed) {
    std::cout << fmt::format("{}  and {} more{}\n", blanks, problems.size() - kMostListed,
                             form.file.empty() ? " (--json has all)" : ": " + OneLine(form.file));
  }
}

void PrintLeftOut(const std::vector<SourceProblem>& problems, const ListForm& form) {
  std::vector<SourceProblem> unread;
  std::vector<SourceProblem> known;
  for (const SourceProblem& problem : problems) {
    (problem.isUnread ? unread : known).push_back(problem);
  }
  PrintProblems("May hold mail that was not read", unread, form);
  // Of a mail that was cut the rest is sent.
  PrintProblems("Left out or not whole", known, form);
}

}  // namespace client
