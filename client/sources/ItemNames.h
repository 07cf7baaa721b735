#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "client/sources/SourceFiles.h"

// Files that hold items, by the ends of their names.
namespace client {

enum class ItemFile { kNone, kMail, kAppleMail, kCalendar, kCards };

struct ItemEnding {
  std::string_view end;  // in lower case
  ItemFile file;
};
inline constexpr auto kItemEndings = std::to_array<ItemEnding>({{".eml", ItemFile::kMail},
                                                                {".emlx", ItemFile::kAppleMail},
                                                                {".ics", ItemFile::kCalendar},
                                                                {".vcs", ItemFile::kCalendar},
                                                                {".vcf", ItemFile::kCards}});

inline ItemFile ItemFileOf(std::string_view name) {
  const auto row = std::ranges::find_if(
      kItemEndings, [&](const ItemEnding& each) { return EndsWithNoCase(name, each.end); });
  return row == kItemEndings.end() ? ItemFile::kNone : row->file;
}

}  // namespace client
