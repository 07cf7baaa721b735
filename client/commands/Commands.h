#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

// The subcommands of tarny. Each reads the arguments behind its name, writes data to standard
// output and messages to standard error, and returns the exit code: kExitUsage for a command line
// that means nothing, kExitFailed for all that goes wrong with the work, a file that is not there
// among it. A std::exception that leaves one is told behind its name and counts as kExitFailed.
namespace client {

enum ExitCode { kExitDone = 0, kExitFailed = 1, kExitUsage = 2 };

using Arguments = std::vector<std::string>;

int RunMigrate(const Arguments& arguments);
int RunVerify(const Arguments& arguments);
int RunUsers(const Arguments& arguments);
int RunGroups(const Arguments& arguments);
int RunMailbox(const Arguments& arguments);
int RunProfiles(const Arguments& arguments);
int RunLedger(const Arguments& arguments);
int RunConvert(const Arguments& arguments);
int RunMht(const Arguments& arguments);
int RunMime(const Arguments& arguments);
int RunEmail(const Arguments& arguments);
int RunItem(const Arguments& arguments);
int RunRtf2html(const Arguments& arguments);
int RunHtml2text(const Arguments& arguments);

// Parses the arguments of one subcommand, whose app is named "tarny COMMAND". False when it should
// end at once with *exitCode: its help was printed, or, on standard error behind that name, what is
// wrong with which argument: first one that the subcommand does not know, then one that it misses.
bool ParseArguments(CLI::App& app, const Arguments& arguments, int* exitCode);

}  // namespace client
