#pragma once

#include <memory>

#include "localstore/OpenStore.h"
#include "target/RdoStore.h"

namespace localstore {

// What lies below a store's top, or the folder itself.
std::shared_ptr<rdo::Folder> FolderOf(std::shared_ptr<OpenStore> store, mailbox::FolderInfo info);

}  // namespace localstore
