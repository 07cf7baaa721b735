#pragma once

#include <memory>

#include "localstore/OpenStore.h"
#include "target/RdoStore.h"

namespace localstore {

// The items of a folder, which is its row.
std::shared_ptr<rdo::Items> ItemsOf(std::shared_ptr<OpenStore> store, std::int64_t folder);

}  // namespace localstore
