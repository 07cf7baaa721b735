#pragma once

#include <memory>
#include <new>
#include <utility>

#include "base/LibraryObject.h"
#include "base/MemoryShortage.h"

namespace mail {

struct ObjectDeleter {
  void operator()(LibraryObject* pObject) const { LibraryObject::deleteObject(pObject); }
};

// The owner of a library object, or of one reference to an object that counts them.
template <class T>
using OwnedPtr = std::unique_ptr<T, ObjectDeleter>;

// Null for want of memory, for the object itself or for what its constructor needs.
template <class T, class... Arguments>
OwnedPtr<T> makeOwned(Arguments&&... arguments) {
  try {
    return OwnedPtr<T>(new T(std::forward<Arguments>(arguments)...));
  } catch (const std::bad_alloc&) {
    noteMemoryShortage();
    return nullptr;
  }
}

}  // namespace mail
