#include "base/LibraryObject.h"

#include <atomic>
#include <cstdlib>

namespace mail {
namespace {

void AbortProcess(const char*) { std::abort(); }

std::atomic<FatalHandler> g_pFatalHandler{AbortProcess};

}  // namespace

FatalHandler SetFatalHandler(FatalHandler pHandler) {
  return g_pFatalHandler.exchange(pHandler != nullptr ? pHandler : AbortProcess);
}

bool LibraryObject::checkObject(const LibraryObject* pObject) {
  if (pObject == nullptr || pObject->isValidObject()) return true;
  g_pFatalHandler.load()("Not a valid Velkor object.");
  return false;
}

void LibraryObject::deleteObject(LibraryObject* pObject) {
  if (pObject != nullptr && checkObject(pObject)) pObject->giveUp();
}

}  // namespace mail
