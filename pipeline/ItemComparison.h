#pragma once

#include <array>

#include "platform/CStringArray.h"
#include "target/RdoWrappers.h"

// The contacts that the process has seen, by group: a row is a group's name and, at the same index,
// the text of each field. Rows are only ever added.
extern CStringArray strListGroupName;
extern std::array<CStringArray, rdo::kContactFields> arrListFields;

// The item that a search for a duplicate was asked to hand back.
extern IRDOContactItem gIRDOContactItem;
