#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace client {

inline constexpr std::string_view kFrom = "From ";
inline constexpr std::string_view kQuotedFrom = ">From ";  // also an old relay's trace
inline constexpr std::size_t kLongestFromLine = 1024;      // bytes; a longer line parts no mails

// A line that may stand between two mails of an mbox file:
//
//   From jane@mail  Tue Mar 05 10:00:00 2019            blanks before the date: one or two
//   From jane@host Tue Mar  5 10:00:00 2019 +0000       a zone behind the year
//   From 1627@xxx Tue Mar 05 10:11:12 +0000 2019        a zone before the year
//   From - Wed Nov 25 09:04:38 2026
//   From jane Tue, 05 Mar 2019 10:11:12 +0000
//   From jane Tue Mar  5 10:11 2019 remote from host
//   From jane Tue Mar  5 10:11:12 GMT+1 19
//   From jane 2019-03-05 10:11:12
//
// The sender may be anything, with blanks in it, or missing: what follows decides.
struct FromLine {
  enum class Shape {
    kDated,  // ends in a date as some mail program writes it
    kBare,   // nothing stands behind the word
    kOther,  // text
  };
  enum class Zone { kNone, kBeforeYear, kBehindYear };
  Shape shape = Shape::kOther;
  Zone zone = Zone::kNone;
  std::string_view sender;
  std::string_view date;   // up to the end; empty but for kDated
  bool twoBlanks = false;  // or more, between the two
};

// The line begins with kFrom; its end may be there. The views are into it.
FromLine ParseFromLine(std::string_view line);

// "From 0123456789abcdef0123456789abcdef01234567 Mon Sep 17 00:00:00 2001": git's, which people
// attach to a mail as it stands, or keep in a text.
bool IsPatch(std::string_view mail);

// Seconds since 1970 UTC; one without a zone is in the local time of this process.
std::optional<std::int64_t> TimeOf(const FromLine& line);

}  // namespace client
