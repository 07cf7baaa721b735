#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace client {

// Seconds since 1970 UTC, 1980-01-01: before it no mail arrived that anyone kept.
inline constexpr std::int64_t kFirstTime = 315532800;

// What a store knows of a mail beside its bytes and whether it was read.
struct MailState {
  bool answered = false;
  bool forwarded = false;
  bool flagged = false;
  bool draft = false;
  bool deleted = false;                       // waits in its store to be taken away
  std::vector<std::string> categories = {};   // UTF-8, each once
  std::optional<std::int64_t> received = {};  // seconds since 1970 UTC
};

// Takes up an IMAP keyword: as the flag or the category that it means, or not at all where it tells
// programs something. Names beyond ASCII come in modified UTF-7.
void AddKeyword(std::string_view keyword, MailState& state);

}  // namespace client
