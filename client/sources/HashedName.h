#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace client {

// The name of a folder that a Thunderbird keeps in a file of that name, or in a folder beside it.
// One with characters that a disk may refuse, or too long for one, is cut there and ends in a hash:
// "Süd: A?B" becomes "Süd79ad4768". What it was cut from stands among the texts of its index
// ("Süd79ad4768.msf") and is known by that hash; where there is no index any more, in one of the
// profile's lists of folders. Any other name is returned as it is.
std::string TrueFolderName(const std::string& folder, std::string_view name);

// The text of an index that a name with a hash was cut from; nothing where it has none.
std::optional<std::string> NameInIndex(std::string_view index, std::string_view name);

}  // namespace client
