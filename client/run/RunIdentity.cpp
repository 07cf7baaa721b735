#include "client/run/RunIdentity.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "client/run/Journal.h"
#include "client/run/RunFolder.h"
#include "client/run/StoreLook.h"
#include "client/run/Target.h"
#include "platform/CString.h"

namespace client {
namespace {

using nlohmann::json;

constexpr std::string_view kSources = "sources";  // properties of the journal
constexpr std::string_view kTarget = "target";
constexpr std::string_view kAdopting = "adopting";
constexpr std::string_view kSentWithoutKeys = "sent without keys";

// The list of an earlier run; empty where there was none.
std::vector<std::string> HadSources(Journal& journal) {
  const auto list =
      json::parse(journal.Property(kSources).value_or("[]"), nullptr, /*allow_exceptions=*/false);
  std::vector<std::string> sources;
  if (!list.is_array()) return sources;
  for (const json& source : list) {
    if (source.is_string()) sources.push_back(source.get<std::string>());
  }
  return sources;
}

void RequireSourcesKept(Journal& journal, const RunIdentity& identity, const RunFolder& run) {
  const std::vector<std::string> gone = GoneSources(journal, identity);
  if (gone.empty()) return;
  throw RunError(fmt::format(
      "{} belongs to a run with the source {}, which is not among those given. Name it too, or, "
      "if it moved or is no longer wanted, add --adopt: what the target holds is looked up first "
      "then. For mail of another kind use another run folder",
      run.Path(), gone.front()));
}

[[noreturn]] void RefuseTarget(const RunFolder& run, const std::string& had,
                               std::string_view more = {}) {
  throw RunError(
      fmt::format("{} belongs to a run into another target ({}); use another run folder{}",
                  run.Path(), had, more));
}

}  // namespace

RunIdentity IdentityOf(std::vector<std::string> sources, const Target& target) {
  // As they are kept: bytes that are no UTF-8 are not.
  for (std::string& source : sources) source = CString::FromUtf8(source).ToUtf8();
  std::sort(sources.begin(), sources.end());
  return {std::move(sources), target.Name()};
}

std::vector<std::string> GoneSources(Journal& journal, const RunIdentity& identity) {
  std::vector<std::string> gone = HadSources(journal);
  std::erase_if(gone, [&](const std::string& had) {
    return std::ranges::binary_search(identity.sources, had);
  });
  return gone;
}

void RequireSameRun(Journal& journal, const RunIdentity& identity, const RunFolder& run,
                    bool adopt) {
  const std::optional<std::string> hadTarget = journal.Property(kTarget);
  if (!adopt) RequireSourcesKept(journal, identity, run);
  if (!adopt && journal.Property(kAdopting)) {
    throw RunError(
        fmt::format("the last run in {} was to take over what the target holds (--adopt) and did "
                    "not come to its end; give --adopt again",
                    run.Path()));
  }
  if (hadTarget && *hadTarget != identity.target) {
    RefuseTarget(
        run, *hadTarget,
        ". If it is the same mailbox and only the way to it is another, add --adopt to that: "
        "what is there is looked up first then, and not sent again");
  }
}

std::string RequireSameMailbox(Journal& journal, const Target& target, const RunFolder& run) {
  const std::optional<std::string> had = journal.Property(kTarget);
  if (!had || *had == target.Name()) return {};
  if (!target.MayBe(*had)) RefuseTarget(run, *had);
  return *had;
}

void KeepIdentity(Journal& journal, const RunIdentity& identity, bool adopt) {
  if (adopt) journal.SetProperty(kAdopting, "1");  // before the sources, which it lets change
  journal.SetProperty(kSources, json(identity.sources).dump());
  journal.SetProperty(kTarget, identity.target);
}

void EndAdoption(Journal& journal) { journal.RemoveProperty(kAdopting); }

bool HasSentWithoutKeys(Journal& journal) { return journal.Property(kSentWithoutKeys).has_value(); }

void KeepSentWithoutKeys(Journal& journal) {
  if (!HasSentWithoutKeys(journal)) journal.SetProperty(kSentWithoutKeys, "1");
}

EarlierFolders FoldersOfEarlierRuns(const std::string& runFolder,
                                    const std::vector<std::string>& sources) {
  const std::string path = runFolder + "/journal.db";
  std::error_code error;
  if (runFolder.empty() || !std::filesystem::exists(path, error)) return {};
  try {
    Journal journal(path);
    EarlierFolders earlier{journal.FolderKinds(), journal.Folders()};
    std::ranges::copy_if(sources, std::back_inserter(earlier.sources),
                         [&](const std::string& source) { return journal.HasItemsOf(source); });
    return earlier;
  } catch (const platform::SqliteError&) {
    return {};
  }
}

void RequireEarlierStoreKept(const std::string& runFolder, const Target& target) {
  const std::string path = runFolder + "/journal.db";
  std::error_code error;
  if (!target.Store() || runFolder.empty() || !std::filesystem::exists(path, error)) return;
  Journal journal(path);
  if (journal.Property(kTarget) == target.Name()) RequireStoreKept(target, journal);
}

bool IsBound(Journal& journal) { return journal.Property(kTarget).has_value(); }

}  // namespace client
