#include "base/ExtPtrArray.h"

#include <algorithm>
#include <new>

#include "base/MemoryShortage.h"

namespace mail {
namespace {

// What waits for deleteObject in this thread while an outer array is being emptied; null when none
// is. Arrays that are emptied in between, by destructors of elements, add to it instead of starting
// a loop of their own, so that a deep tree takes no deep stack.
thread_local std::vector<LibraryObject*>* t_pPending = nullptr;

void DeleteAll(std::vector<LibraryObject*>& arrObjects) {
  auto* const pOuter = std::exchange(t_pPending, &arrObjects);
  while (!arrObjects.empty()) {
    LibraryObject* pObject = arrObjects.back();
    arrObjects.pop_back();
    LibraryObject::deleteObject(pObject);
  }
  t_pPending = pOuter;
}

}  // namespace

ExtPtrArray::~ExtPtrArray() { removeAll(); }

bool ExtPtrArray::insertObject(std::size_t nIndex, LibraryObject* pObject) {
  if (!isValidObject() || pObject == nullptr || !checkObject(pObject)) return false;
  const auto nAt = std::min(nIndex, m_arrObjects.size());
  try {
    m_arrObjects.insert(m_arrObjects.begin() + static_cast<std::ptrdiff_t>(nAt), pObject);
  } catch (const std::bad_alloc&) {
    noteMemoryShortage();
    return false;
  }
  return true;
}

LibraryObject* ExtPtrArray::removeAt(std::size_t nIndex) {
  LibraryObject* pObject = elementAt(nIndex);
  if (pObject != nullptr) {
    m_arrObjects.erase(m_arrObjects.begin() + static_cast<std::ptrdiff_t>(nIndex));
  }
  return pObject;
}

bool ExtPtrArray::deleteAt(std::size_t nIndex) {
  LibraryObject* pObject = removeAt(nIndex);
  deleteObject(pObject);
  return pObject != nullptr;
}

void ExtPtrArray::removeAll() {
  std::vector<LibraryObject*> arrObjects;
  arrObjects.swap(m_arrObjects);
  std::reverse(arrObjects.begin(), arrObjects.end());  // the first is given up first
  if (t_pPending != nullptr) {
    try {
      t_pPending->insert(t_pPending->end(), arrObjects.begin(), arrObjects.end());
      return;
    } catch (const std::bad_alloc&) {
      // Then here and now, at the price of stack.
    }
  }
  DeleteAll(arrObjects);
}

}  // namespace mail
