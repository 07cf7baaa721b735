#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace client {

// What the library's log of a mail says to people. Nothing where it says the same about sound mail,
// or where the bytes are looked at here.

// Of a remark; one that is not known here stands for itself.
std::optional<std::string> NoteOfRemark(std::string_view remark);
// Of a value that was noted under a name.
std::optional<std::string> NoteOfData(std::string_view name, std::string_view value);

}  // namespace client
