#include "client/run/FolderMap.h"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "charset/ByteOrderMarks.h"
#include "client/sources/Pieces.h"
#include "client/sources/SpecialFolders.h"

namespace client {
namespace {

using ::mail::byte_order::kUtf8Mark;

constexpr std::string_view kAll = "*";
constexpr std::string_view kAllBelow = "/*";

// "a/b" as "a\b\", "a\/b" as "a/b\", "\#a" as "#a\"; empty levels are passed over.
std::string Levels(std::string_view path) {
  std::string levels;
  std::string level;
  const auto end = [&] {
    if (!level.empty()) levels.append(level).append("\\");
    level.clear();
  };
  for (std::size_t at = 0; at < path.size(); ++at) {
    if (path[at] == '/') {
      end();
    } else {
      const std::string_view rest = path.substr(at);
      if (rest.starts_with("\\/") || rest.starts_with("\\#")) ++at;
      level += path[at];
    }
  }
  end();
  return levels;
}

bool TakeStar(std::string_view& path) {
  if (!path.ends_with(kAllBelow) || path.ends_with("\\/*")) return false;
  path.remove_suffix(kAllBelow.size());
  return true;
}

}  // namespace

FolderMap::FolderMap(std::string_view text) {
  if (text.starts_with(kUtf8Mark)) text.remove_prefix(kUtf8Mark.size());
  for (int number = 1; !text.empty(); ++number) {
    const std::string_view line = mail::trimmed(TakeUpTo(text, '\n'));
    if (line.empty() || line.starts_with('#')) continue;
    std::string_view target = line;
    std::string_view source = mail::trimmed(TakeUpTo(target, '\t'));
    target = mail::trimmed(target);
    const bool isAll = source == kAll;
    const bool below = isAll || TakeStar(source);
    (void)TakeStar(target);
    Row row{FoldedName(isAll ? "" : Levels(source)), Levels(target), below, std::string(line)};
    if ((row.folded.empty() && !isAll) || row.target.empty()) {
      throw std::runtime_error(
          fmt::format("line {}: no folder, tab and folder to put it into", number));
    }
    m_rows.push_back(std::move(row));
  }
}

const std::string& FolderMap::PlaceOf(const std::string& path) {
  const auto [place, isNew] = m_places.try_emplace(path);
  if (isNew) place->second = Find(path);
  return place->second;
}

std::string FolderMap::Find(const std::string& path) {
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

std::string FolderMapPath(std::string_view levels) {
  std::string path;
  while (!levels.empty()) {
    if (!path.empty()) path += '/';
    for (const char c : TakeUpTo(levels, '\\')) path.append(c == '/' || c == '#' ? "\\" : "") += c;
  }
  return path;
}

std::vector<std::string> FolderMap::Unused() const {
  std::vector<std::string> lines;
  for (const Row& row : m_rows) {
    if (!row.isUsed) lines.push_back(row.line);
  }
  return lines;
}

}  // namespace client
