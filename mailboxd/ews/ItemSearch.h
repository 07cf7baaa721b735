#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <vector>

#include "mailboxd/store/Store.h"

namespace mailbox {

// The rows of a folder's items that fit a Restriction, in the order that a SortOrder asks for;
// where two are alike in it, and without one, in that of the rows. Either element may be empty.
// What the store can look up costs what is found, anything else a walk through the folder. Throws
// OperationError for a property that cannot be searched for.
std::vector<std::int64_t> SearchItems(Store& store, std::int64_t folder, pugi::xml_node restriction,
                                      pugi::xml_node sortOrder);

}  // namespace mailbox
