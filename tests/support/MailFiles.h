#pragma once

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

// The mails under tests/data/mail.
namespace test_support {

inline std::string ReadBytes(const std::filesystem::path& path) { return ReadAll(path); }

inline std::filesystem::path MailFolder() { return TARNY_SOURCE "/tests/data/mail"; }

// Every .eml below a folder, by path.
inline std::vector<std::filesystem::path> MailFiles(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() == ".eml") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The cells of a table: a row a line, tabs between cells, "#" in front of a comment.
inline std::vector<std::vector<std::string>> TableOf(const std::filesystem::path& path) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(ReadBytes(path));
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream cells(line);
    rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, '\t');) rows.back().push_back(cell);
  }
  return rows;
}

// The rows of roundtrip.txt: "PATH WRITING" and what that writing changes.
inline std::map<std::string, std::string> RoundTripExceptions() {
  std::map<std::string, std::string> rows;
  std::istringstream in(ReadBytes(MailFolder() / "roundtrip.txt"));
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string path, writing, what;
    fields >> path >> writing >> what;
    rows[path + " " + writing] = what;
  }
  return rows;
}

}  // namespace test_support
