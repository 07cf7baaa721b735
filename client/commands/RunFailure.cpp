#include "client/commands/RunFailure.h"

#include <exception>

#include "client/commands/Commands.h"
#include "client/commands/MigrateOptions.h"
#include "client/run/FolderPlaces.h"
#include "client/run/Journal.h"
#include "client/show/Console.h"
#include "platform/Sqlite.h"

namespace client {

int TellFailure(const std::string& program, const std::string& runFolder, Console& console) {
  const auto say = [&](const std::string& reason) { console.Say(program + ": " + reason); };
  try {
    throw;
  } catch (const UsageError& error) {
    say(error.what());
    return kExitUsage;
  } catch (const PlacesMoved& error) {
    say(error.what());
    for (const auto& [source, target] : error.Lines()) console.SayFields({source, target});
  } catch (const platform::SqliteError& error) {
    say(DatabaseFailure(runFolder, error));
  } catch (const std::exception& error) {
    say(error.what());
  }
  return kExitFailed;
}

}  // namespace client
