#pragma once

#include <string>
#include <vector>

#include "client/run/ItemLoader.h"

namespace client_test {

// As it is sent, with the files that lie beside it.
inline client::LoadedItem Sent(const client::Plan::Entry& entry) {
  client::LoadedItem item = client::ItemLoader::Load(entry);
  client::ItemLoader::AddFiles(entry, item);
  return item;
}

// "NAME: REASON"
inline std::vector<std::string> MissingOf(const client::LoadedItem& item) {
  std::vector<std::string> missing;
  for (const auto& [name, reason] : item.missing) missing.push_back(name + ": " + reason);
  return missing;
}

}  // namespace client_test
