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

// What means more than itself in a path, and stands for itself behind a backslash.
constexpr std::string_view kEscaped = "/#* ";

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
      const std::string_view next = path.substr(at + 1, 1);
      if (path[at] == '\\' && !next.empty() && kEscaped.find(next) != kEscaped.npos) ++at;
      level += path[at];
    }
  }
  end();
  return levels;
}

// Without blanks around it that are not escaped.
std::string_view Trimmed(std::string_view text) {
  const std::string_view trimmed = mail::trimmed(text);
  const std::size_t end = static_cast<std::size_t>(trimmed.end() - text.begin());
  const bool isEscaped = trimmed.ends_with('\\') && text.substr(end).starts_with(' ');
  return isEscaped ? std::string_view(trimmed.data(), trimmed.size() + 1) : trimmed;
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
    const std::string_view line = Trimmed(TakeUpTo(text, '\n'));
    if (line.empty() || line.starts_with('#')) continue;
    std::string_view target = line;
    std::string_view source = Trimmed(TakeUpTo(target, '\t'));
    target = Trimmed(target);
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
    const std::string_view level = TakeUpTo(levels, '\\');
    for (std::size_t at = 0; at < level.size(); ++at) {
      const bool isEnd = path.empty() || (levels.empty() && at + 1 == level.size());
      const bool isPlain = kEscaped.find(level[at]) == kEscaped.npos;
      if (!isPlain && (level[at] != ' ' || isEnd)) path += '\\';
      path += level[at];
    }
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
