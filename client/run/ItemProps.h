#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/sources/MailState.h"

namespace client {

// What is known of a mail, as members of that file; times in seconds since 1970 UTC.
struct MailTimes {
  std::optional<std::int64_t> received;
  std::optional<std::int64_t> sent;
};
nlohmann::json PropsOf(const MailState& state, const MailTimes& times);

// Writes the properties of an item that its descriptor cannot carry into the work folder, of which
// we know its key. What a prepared item brought in a file of that name stays beside it. Throws
// WriteError, and SourceError when the file that is there cannot be read.
void WriteItemProps(const std::string& workFolder, std::string_view key);

// The same with all properties that we know. The engine reads no large file: the largest ones give
// way until it is none, and their names are returned. Throws WriteError.
std::vector<std::string> WriteItemProps(const std::string& workFolder, std::string_view key,
                                        nlohmann::json props);

}  // namespace client
