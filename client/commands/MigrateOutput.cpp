#include "client/commands/MigrateOutput.h"

#include <iostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "client/commands/ProblemList.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"

namespace client {
namespace {

// What a plan tells of its sources.
nlohmann::json SourcesAsJson(const Plan& plan) {
  return {{"whole", plan.IsWhole()},
          {"deleted", plan.deleted},
          {"store_data", plan.storeData},
          {"merged", ProblemsAsJson(plan.merged)},
          {"alike", ProblemsAsJson(plan.alike)},
          {"unused_lines", ProblemsAsJson(plan.unusedLines)},
          {"empty_sources", ProblemsAsJson(plan.emptySources)},
          {"left_out", LeftOutAsJson(plan.problems)}};
}

void PlanAsJson(const Plan& plan, const std::string& target) {
  nlohmann::json folders = nlohmann::json::array();
  for (const Plan::Folder& folder : plan.Folders()) {
    folders.push_back({{"folder", folder.name}, {"items", folder.items}, {"bytes", folder.bytes}});
  }
  for (const std::string& folder : plan.emptyFolders) {
    folders.push_back({{"folder", folder}, {"items", 0}, {"bytes", 0}});
  }
  nlohmann::json all = {{"target", target}, {"items", plan.entries.size()}, {"folders", folders}};
  all.update(SourcesAsJson(plan));
  std::cout << JsonText(all);
}

// What stays in the source as its store wants it.
void PrintStaying(const Plan& plan, const ListForm& form) {
  PrintProblems("Folders of the target that take up several of the source", plan.merged, form);
  PrintProblems(
      "Folders that are two in the target, though their names look alike (their accents "
      "are composed differently)",
      plan.alike, form);
  PrintProblems("Lines of --folder-map for no folder of the source, or behind another that fits it",
                plan.unusedLines, form);
  PrintProblems(kNothingIn, plan.emptySources, form);
  if (plan.deleted) {
    std::cout << fmt::format(
        "{} deleted in the source and left there (--with-deleted takes them)\n",
        Counted(plan.deleted, "mail is", "mails are"));
  }
  if (plan.storeData) {
    std::cout << fmt::format("{} of mail programs' own data left there\n",
                             Counted(plan.storeData, "entry", "entries"));
  }
}

void PlanAsText(const Plan& plan, const std::string& target) {
  std::cout << fmt::format("{} would go to the {}:\n", ItemCount(plan.entries.size()),
                           OneLine(target));
  for (const Plan::Folder& folder : plan.Folders()) {
    std::cout << fmt::format("  {:>7}  {:>12}  {}\n", folder.items, SizeText(folder.bytes),
                             OneLine(folder.name));
  }
  for (const std::string& folder : plan.emptyFolders) {
    std::cout << fmt::format("  {:>7}  {:>12}  {}\n", 0, "", OneLine(folder));
  }
  PrintLeftOut(plan.problems);
  PrintStaying(plan, {});
  if (!plan.IsWhole()) std::cout << "Not all of the source could be read\n";
}

// What a run found and did, by name.
void PrintLists(const Summary& summary, const Plan& plan, const ListForm& form) {
  PrintLeftOut(plan.problems, form);
  PrintProblems("Of earlier runs", summary.doubts, form);
  PrintProblems("Arrived, with a remark", summary.remarks, form);
  PrintProblems(plan.IsWhole() ? "Not in the source any more"
                               : "Not seen in the source, of which a part could not be read",
                summary.missing, form);
  PrintProblems("Of this stays there, though --delete-missing asked for it to go",
                summary.whyStaying, form);
  PrintProblems("Failed", summary.failures, form);
}

// The same in figures, on one line.
void PrintCounts(const Summary& summary, const Plan& plan) {
  const std::string equal =
      summary.equal ? fmt::format(" ({} equal to another mail of their folder)", summary.equal)
                    : std::string();
  std::cout << fmt::format("{}: {} sent, {} there already{}, {} failed", ItemCount(summary.total),
                           summary.sent, summary.known, equal, summary.failed);
  if (summary.updated) std::cout << fmt::format(", {} updated", summary.updated);
  if (summary.reduced) std::cout << fmt::format(", {} arrived reduced", summary.reduced);
  if (summary.notConfirmed) std::cout << fmt::format(", {} not confirmed", summary.notConfirmed);
  if (summary.foldersMissing) {
    std::cout << fmt::format(", {} not made", Counted(summary.foldersMissing, "folder", "folders"));
  }
  if (summary.seen < summary.total) {
    std::cout << fmt::format(", {} not reached", summary.total - summary.seen);
  }
  if (!plan.problems.empty()) {
    std::cout << fmt::format(", {} left out or not whole", plan.problems.size());
  }
  std::cout << (plan.IsWhole() ? "\n" : "; not all of the source could be read\n");
}

// What became of what the source has not any more.
void PrintTakenAway(const Summary& summary) {
  if (summary.takenAway) {
    std::cout << fmt::format("{} to the target's deleted items\n",
                             Counted(summary.takenAway, "mail went", "mails went"));
  }
  if (summary.goneThere) {
    std::cout << fmt::format(
        "{} moved: not in the folder there either, or in deleted items already\n",
        Counted(summary.goneThere, "mail was not", "mails were not"));
  }
  const bool isKept = summary.takenAway == 0 && summary.goneThere == 0 && summary.staying == 0;
  if (!summary.missing.empty() && isKept) {
    std::cout << "What is not in the source any more stays in the target (--delete-missing moves "
                 "it to its deleted items)\n";
  }
}

}  // namespace

void PrintPlan(const Plan& plan, const std::string& target, bool json) {
  json ? PlanAsJson(plan, target) : PlanAsText(plan, target);
}

std::string SummaryAsJson(const Summary& summary, const Plan& plan) {
  nlohmann::json all{{"items", summary.total},
                     {"sent", summary.sent},
                     {"arrived_reduced", summary.reduced},
                     {"there_already", summary.known},
                     {"equal_in_folder", summary.equal},
                     {"updated", summary.updated},
                     {"failed", summary.failed},
                     {"folders_not_made", summary.foldersMissing},
                     {"not_confirmed", summary.notConfirmed},
                     {"not_reached", summary.total - summary.seen},
                     {"waits", summary.waits},
                     {"waited_seconds", summary.waitedSeconds},
                     {"stopped", summary.stopped},
                     {"missing", ProblemsAsJson(summary.missing)},
                     {"taken_away", summary.takenAway},
                     {"gone_there_too", summary.goneThere},
                     {"staying", ProblemsAsJson(summary.whyStaying)},
                     {"failures", ProblemsAsJson(summary.failures)},
                     {"remarks", ProblemsAsJson(summary.remarks)},
                     {"doubts", ProblemsAsJson(summary.doubts)}};
  all.update(SourcesAsJson(plan));
  return JsonText(all);
}

void PrintSummary(const Summary& summary, const Plan& plan, const std::string& file) {
  const ListForm form{.file = file};
  PrintLists(summary, plan, form);
  PrintCounts(summary, plan);
  PrintStaying(plan, form);
  PrintTakenAway(summary);
  if (summary.waits) {
    std::cout << fmt::format("Waited {}, {} in all, for the server\n",
                             Counted(summary.waits, "time", "times"),
                             TimeText(summary.waitedSeconds));
  }
}

}  // namespace client
