#include "client/run/ItemProps.h"

#include <filesystem>

#include <nlohmann/json.hpp>

#include "client/run/MailKey.h"
#include "client/run/NewFile.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

using nlohmann::json;

constexpr std::string_view kItemPropsName = "ItemProps.json";
constexpr std::uintmax_t kMostProps = 1 << 20;  // bytes; the engine reads no larger one
constexpr int kDeepest = 8;                     // levels of what a prepared item brings

// What is there already; an empty object for what the engine would not read either.
json PropsAt(const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size > kMostProps) return json::object();
  const auto callback = [](int depth, json::parse_event_t, json&) { return depth <= kDeepest; };
  json props = json::parse(ReadWholeFile(path), callback, /*allow_exceptions=*/false);
  return props.is_object() ? props : json::object();
}

}  // namespace

void WriteItemProps(const std::string& workFolder, std::string_view key) {
  const std::string path = workFolder + "/" + std::string(kItemPropsName);
  json props = PropsAt(path);
  props["key"] = KeyOnItem(key);
  std::error_code error;
  std::filesystem::remove(path, error);
  NewFile(path).Write(props.dump(-1, ' ', false, json::error_handler_t::replace));
}

}  // namespace client
