#include <iostream>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/run/LedgerLook.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"

namespace client {
namespace {

void PrintJson(const std::vector<LedgerLook::Count>& counts) {
  nlohmann::json list = nlohmann::json::array();
  for (const LedgerLook::Count& count : counts) {
    list.push_back({{"folder", count.folder}, {"target", count.target}, {"items", count.rows}});
  }
  std::cout << JsonText(list);
}

void Print(const std::vector<LedgerLook::Count>& counts) {
  std::int64_t total = 0;
  for (const LedgerLook::Count& count : counts) {
    total += count.rows;
    std::cout << fmt::format("{:>9}  {}  {}\n", count.rows, OneLine(count.target),
                             OneLine(count.folder));
  }
  std::cout << fmt::format("{:>9}  in all\n", total);
}

}  // namespace

int RunLedger(const Arguments& arguments) {
  std::string file;
  bool json = false;
  CLI::App app("Shows how many items a ledger holds, by target and folder.", "tarny ledger");
  app.add_option("FILE", file, "The ledger: SQLLiteNew.db in a run folder")->required();
  app.add_flag("--json", json, "As JSON");
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  RequireReadable(file);
  try {
    const std::vector<LedgerLook::Count> counts = LedgerLook(file).Counts();
    json ? PrintJson(counts) : Print(counts);
    return kExitDone;
  } catch (const platform::SqliteError& error) {
    throw std::runtime_error(CannotRead(file, error.what()));
  }
}

}  // namespace client
