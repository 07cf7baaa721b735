#pragma once

#include <cstddef>
#include <string_view>

// Views into a path.
namespace client {

// Behind its last slash.
inline std::string_view LastName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// What it lies in; empty where it names none.
inline std::string_view FolderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return path.substr(0, slash == std::string_view::npos ? 0 : slash);
}

}  // namespace client
