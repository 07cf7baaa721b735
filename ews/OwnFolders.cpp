#include "ews/OwnFolders.h"

#include "ews/ExchangeService.h"
#include "ews/FindFolders.h"
#include "ews/FolderNameTable.h"
#include "ews/ServiceException.h"

namespace ews {
namespace {

// A server whose schema lacks the name refuses the request as such. What may pass is no answer: the
// items of a folder would go into another one.
bool IsRefusal(const ServiceResponseException& objError) {
  const Failure& objCause = objError.Cause();
  return !objCause.bOutage && !objCause.bMayBeCarriedOut && !objCause.bMayPass;
}

bool Knows(ExchangeService& objService, const FolderId& objFolder) {
  try {
    (void)objService.FindFolders(objFolder, FolderView(1));
    return true;
  } catch (const ServiceResponseException& objError) {
    if (!IsRefusal(objError)) throw;
    return false;
  }
}

}  // namespace

std::optional<FolderId> FindOwnFolder(const std::function<ExchangeService&()>& fnService,
                                      std::u16string_view strName, const FolderId& objParent) {
  const auto objOwn = OwnFolder(strName, objParent);
  if (!objOwn) return std::nullopt;
  const FolderId objFolder(objOwn->eFolder);
  if (!objOwn->bEverywhere && !Knows(fnService(), objFolder)) return std::nullopt;
  return objFolder;
}

}  // namespace ews
