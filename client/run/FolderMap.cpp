#include "client/run/FolderMap.h"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/sources/Pieces.h"
#include "client/sources/SpecialFolders.h"

namespace client {
namespace {

// "a/b" as "a\b\"; empty levels are passed over.
std::string Levels(std::string_view path) {
  std::string levels;
  while (!path.empty()) {
    const std::string_view level = TakeUpTo(path, '/');
    if (!level.empty()) levels.append(level).append("\\");
  }
  return levels;
}

bool TakeStar(std::string_view& path) {
  if (!path.ends_with("/*")) return false;
  path.remove_suffix(2);
  return true;
}

}  // namespace

FolderMap::FolderMap(std::string_view text) {
  for (int number = 1; !text.empty(); ++number) {
    const std::string_view line = mail::trimmed(TakeUpTo(text, '\n'));
    if (line.empty() || line.starts_with('#')) continue;
    std::string_view target = line;
    std::string_view source = mail::trimmed(TakeUpTo(target, '\t'));
    target = mail::trimmed(target);
    const bool below = TakeStar(source);
    (void)TakeStar(target);
    Row row{FoldedName(Levels(source)), Levels(target), below, std::string(line)};
    if (row.folded.empty() || row.target.empty()) {
      throw std::runtime_error(
          fmt::format("line {}: no folder, tab and folder to put it into", number));
    }
    m_rows.push_back(std::move(row));
  }
}

std::string FolderMap::PlaceOf(const std::string& path) {
  if (m_rows.empty()) return {};
  const std::string folded = FoldedName(path);
  for (Row& row : m_rows) {
    if (folded != row.folded && !(row.below && folded.starts_with(row.folded))) continue;
    row.isUsed = true;
    if (folded == row.folded) return row.target;
    // Folding may change how long a name is, but not how many levels a path has.
    std::size_t at = 0;
    for (auto levels = std::ranges::count(row.folded, '\\'); levels > 0; --levels) {
      at = path.find('\\', at) + 1;
    }
    return row.target + path.substr(at);
  }
  return {};
}

std::vector<std::string> FolderMap::Unused() const {
  std::vector<std::string> lines;
  for (const Row& row : m_rows) {
    if (!row.isUsed) lines.push_back(row.line);
  }
  return lines;
}

}  // namespace client
