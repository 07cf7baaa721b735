#include "localstore/ProfileFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "platform/UniqueFd.h"

namespace localstore {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "/profile.json";

[[noreturn]] void Fail(const std::string& file, const std::string& why) {
  throw std::runtime_error("the profile " + file + " " + why);
}

StoreEntry EntryOf(const nlohmann::json& store, const std::string& file) {
  const auto text = [&](const char* name) {
    const auto found = store.find(name);
    if (found == store.end() || !found->is_string()) Fail(file, "is damaged");
    return found->get<std::string>();
  };
  if (!store.is_object()) Fail(file, "is damaged");
  return {text("name"), text("path")};
}

}  // namespace

std::vector<StoreEntry> ReadProfile(const std::string& folder) {
  const std::string file = folder + kFile;
  std::error_code error;
  if (!fs::exists(file, error) && !error) return {};
  std::ifstream stream(file, std::ios::binary);
  if (!stream) Fail(file, "cannot be read");
  const auto json = nlohmann::json::parse(stream, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object() || !json.contains("stores") || !json["stores"].is_array()) {
    Fail(file, "is damaged");
  }
  std::vector<StoreEntry> stores;
  for (const auto& store : json["stores"]) stores.push_back(EntryOf(store, file));
  return stores;
}

void WriteProfile(const std::string& folder, const std::vector<StoreEntry>& stores) {
  auto list = nlohmann::json::array();
  for (const StoreEntry& store : stores) {
    list.push_back({{"name", store.name}, {"path", store.path}});
  }
  const std::string file = folder + kFile;
  const std::string fresh = file + ".new";
  std::error_code error;
  fs::create_directories(folder, error);
  std::ofstream stream(fresh, std::ios::binary | std::ios::trunc);
  stream << nlohmann::json{{"stores", std::move(list)}}.dump(
                2, ' ', false, nlohmann::json::error_handler_t::replace)
         << "\n";
  stream.close();
  // On the disk before it takes the old one's place.
  const platform::UniqueFd written(open(fresh.c_str(), O_RDONLY | O_CLOEXEC));
  if (!stream || !written || fsync(written.Get()) != 0) Fail(file, "cannot be written");
  fs::rename(fresh, file, error);
  if (error) Fail(file, "cannot be written: " + error.message());
}

std::vector<std::string> ProfilesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (fs::is_regular_file(entry->path().string() + kFile, ignored)) {
      names.push_back(entry->path().filename().string());
    }
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace localstore
