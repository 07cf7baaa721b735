#pragma once

#include <optional>
#include <string_view>

#include "client/sources/MailState.h"

namespace client {

// What programs that keep mail in mbox files note in its header:
//
//   Status: RO                  read, and seen before; D deleted; U, N unread
//   X-Status: AF                answered, flagged; D deleted, T draft
//   X-Keywords: Urgent Work     padded with blanks; commas may part them
//   X-Mozilla-Status: 0003      hexadecimal flags; -Status2 and -Keys beside it
//   X-Evolution: 00000004-0010  a number and hexadecimal flags
//
// A later program of these is believed more than an earlier one whose fields stayed. What is no
// value of such a program is its sender's word.
struct StateFields {
  MailState state;
  std::optional<bool> read;  // nothing where no field tells
  // No mail but what a program keeps in front of a file; of any other than its first mail it is the
  // sender's word.
  bool isStoreData = false;
};

// Of the outer header, of which no more than its bytes are given; a "From " line may stand in
// front.
StateFields ReadStateFields(std::string_view header);

}  // namespace client
