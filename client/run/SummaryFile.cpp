#include "client/run/SummaryFile.h"

#include <filesystem>

#include <fmt/format.h>

#include "client/run/NewFile.h"

namespace client {

namespace fs = std::filesystem;

void WriteSummaryFile(const RunFolder& run, std::string_view json) {
  const std::string path = run.File(kSummaryName);
  const std::string fresh = path + ".new";
  std::error_code error;
  fs::remove(fresh, error);  // of a run that was killed
  try {
    WriteNewFile(fresh, json);
    fs::rename(fresh, path);
  } catch (const std::exception& failure) {
    fs::remove(fresh, error);
    throw WriteError(
        fmt::format("The summary cannot be put into {}: {}", run.Path(), failure.what()));
  }
}

}  // namespace client
