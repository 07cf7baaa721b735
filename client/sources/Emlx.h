#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "client/sources/MailState.h"
#include "client/sources/SourceFiles.h"

namespace client {

// A file of Apple Mail: the number of bytes of the mail, padded with blanks, and a line end; the
// mail; a property list with its state.
struct EmlxPlace {
  std::uint64_t offset = 0;  // bytes
  std::uint64_t length = 0;  // bytes; it may be cut
};
// By the number in the first bytes of a file; nothing where they are no such number.
std::optional<EmlxPlace> EmlxPlaceOf(std::string_view head);
// Where the number leads to no property list it is wrong, as after a copy that made other line
// ends: the mail goes up to the list that ends the file, or to the end of the file where there is
// none. file is all of it.
EmlxPlace WithTrueLength(EmlxPlace place, std::string_view file);
// Of a file, of which no more is read than it takes. Throws ReadError.
std::optional<EmlxPlace> EmlxPlaceIn(const OpenedFile& file);

struct EmlxState {
  MailState state;
  bool read = true;
};
// From the property list behind the mail; what it does not say stays as it is.
EmlxState ReadEmlxState(std::string_view list);

// Of a file by its name: "1.emlx", and "1.partial.emlx", whose attachments lie elsewhere.
bool IsEmlxName(std::string_view name);
bool IsPartialEmlxName(std::string_view name);

}  // namespace client
