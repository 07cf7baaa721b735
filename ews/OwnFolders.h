#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "ews/FolderId.h"

namespace ews {

class ExchangeService;

// OwnFolder's, for a parent at the root of what the service is for. One that a mailbox may lack, or
// an older server not know by its name, is asked for, and is none where the server refuses it: then
// it is a folder as any other. Throws ServiceException where that cannot be told.
std::optional<FolderId> FindOwnFolder(const std::function<ExchangeService&()>& fnService,
                                      std::u16string_view strName, const FolderId& objParent);

}  // namespace ews
