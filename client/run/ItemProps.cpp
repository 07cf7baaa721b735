#include "client/run/ItemProps.h"

#include <ctime>
#include <filesystem>
#include <utility>

#include <fmt/format.h>
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

std::string TextOf(const json& props) {
  return props.dump(-1, ' ', false, json::error_handler_t::replace);
}

// "2019-03-05T09:00:01Z"; empty for none.
std::string UtcText(std::optional<std::int64_t> seconds) {
  const std::time_t time = seconds.value_or(0);
  std::tm utc{};
  if (!seconds || !gmtime_r(&time, &utc)) return {};
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                     utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
}

// The name of the property that takes most room.
std::string Largest(const json& props) {
  std::string name;
  std::size_t most = 0;
  for (const auto& [each, value] : props.items()) {
    if (const std::size_t size = TextOf(value).size(); size > most) {
      name = each;
      most = size;
    }
  }
  return name;
}

}  // namespace

json PropsOf(const MailState& state, const MailTimes& times) {
  json props = json::object();
  json flags = json::array();
  for (const auto& [name, isSet] : {std::pair{"answered", state.answered},
                                    {"forwarded", state.forwarded},
                                    {"flagged", state.flagged},
                                    {"draft", state.draft}}) {
    if (isSet) flags.push_back(name);
  }
  if (!flags.empty()) props["flags"] = std::move(flags);
  if (!state.categories.empty()) props["categories"] = state.categories;
  for (const auto& [name, time] : {std::pair{"received", times.received}, {"sent", times.sent}}) {
    if (const std::string text = UtcText(time); !text.empty()) props[name] = text;
  }
  return props;
}

void WriteItemProps(const std::string& workFolder, std::string_view key) {
  const std::string path = workFolder + "/" + std::string(kItemPropsName);
  json props = PropsAt(path);
  props["key"] = KeyOnItem(key);
  std::error_code error;
  std::filesystem::remove(path, error);
  WriteNewFile(path, TextOf(props));
}

std::vector<std::string> WriteItemProps(const std::string& workFolder, std::string_view key,
                                        json props) {
  std::vector<std::string> left;
  props["key"] = KeyOnItem(key);
  while (TextOf(props).size() > kMostProps) {
    left.push_back(Largest(props));
    props.erase(left.back());
  }
  WriteNewFile(workFolder + "/" + std::string(kItemPropsName), TextOf(props));
  return left;
}

}  // namespace client
