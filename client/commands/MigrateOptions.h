#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "client/run/EngineOptions.h"
#include "client/run/Plan.h"
#include "client/run/Target.h"

namespace CLI {
class App;
}

namespace client {

// The command line means nothing; what() says why, for people.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command line of `tarny migrate`, and of `tarny verify`, which is given the same.
struct MigrateOptions {
  std::vector<std::string> sources;
  std::string run;
  std::string to;
  Target target;
  std::string passwordFile;
  std::string secretFile;
  bool dryRun = false;
  bool fromMime = false;
  bool adopt = false;
  bool noAdopt = false;
  bool deleteMissing = false;
  bool ignoreLeftOut = false;
  bool json = false;
  PlanOptions plan;
  std::string folderMap;
  EngineSetup engine;
};

enum class Purpose {
  kMigrate,
  kVerify
};  // the latter takes what only the former means, and says so
void DescribeOptions(CLI::App& app, MigrateOptions& options, Purpose purpose);

// Makes paths absolute and fills the target's address. Throws UsageError for options that mean
// nothing together, and std::runtime_error for a source that is not there.
void CompleteOptions(MigrateOptions& options);

// Fills in the target's password or secret, from a file or a person. Throws UsageError when the
// target cannot be used, before anyone types in vain where that can be seen.
void AskSecrets(MigrateOptions& options);

}  // namespace client
