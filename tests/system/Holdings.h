#pragma once

#include <map>
#include <string>

#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// What a mailbox holds, by its content.
namespace system_test {

// Everything of an item that its sender decides.
std::string HoldingOf(const StoredItem& item);
// How often the mailbox holds each.
using Holdings = std::map<std::string, int>;
Holdings HoldingsOf(const std::string& dataFolder);

// People, groups of them, single events and series of which one occurrence is changed and one
// deleted: so many of each, below `source`, in folders of their own. They get no row in the ledger;
// the engine's trace is the proof.
void WriteOthers(const test_support::TemporaryFolder& folder, int ofEach);
// What a mailbox holds of those, and nothing else, when nothing came between.
Holdings ExpectedOthers(int ofEach);

}  // namespace system_test
