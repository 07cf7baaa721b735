#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace client {

// Names for the items of one file that people know them by: "PATH: Harbour round (2024-03-05)".
// Where several would be alike each but the first has its number behind it, so that the same file
// gives the same names in every run.
class PlaceNames {
 public:
  explicit PlaceNames(std::string path) : m_path(std::move(path)) {}
  // A title that is empty or long is told as well as it goes.
  std::string Next(std::string_view title);

 private:
  std::string m_path;
  std::unordered_map<std::string, std::size_t> m_seen;
};

}  // namespace client
