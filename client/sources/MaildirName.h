#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace client {

// The name of a mail's file in a Maildir: "time.unique.host", what programs put behind it, and
// letters for its state behind ":2,". Where a disk takes no ":", it is another of kColons.
struct MaildirName {
  std::string_view base;  // what stands in front of ":2,", or all of it; a view into the name
  std::optional<std::int64_t> time;  // seconds since 1970 UTC: when it came into this Maildir
  bool isCopy = false;               // by a program that copies whole mailboxes
  bool hasState = false;             // ":2," stands in it, with letters or without
  std::string_view letters;          // a view into the name; empty where there are none
  bool Has(char letter) const { return letters.find(letter) != std::string_view::npos; }
};

inline constexpr std::array<std::string_view, 4> kColons = {":", ";", "!", "\xEF\x80\xBA"};

MaildirName ParseMaildirName(std::string_view name);

// What stays of a name, a view into it: letters change, and some programs add a number of their own
// behind a comma when they see a mail first. Of other names all stays.
std::string_view LastingPart(std::string_view name);

// Begins with a time or has a place for letters, and does not end as files of other stores do.
bool IsMaildirName(std::string_view name);

}  // namespace client
