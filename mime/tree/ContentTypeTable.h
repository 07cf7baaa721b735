#pragma once

#include <string_view>

namespace mail {

// The content type that goes with the extension of a file name (without its dot); empty if none is
// known. The view is into a table and stays good. Spellings of types are the tables' own.
std::string_view contentTypeOfExtension(std::string_view strExtension);

}  // namespace mail
