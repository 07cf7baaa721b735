#pragma once

#include <memory>
#include <new>
#include <utility>

#include "mime/base/LibraryObject.h"

namespace mail {

struct ObjectDeleter {
  void operator()(LibraryObject* pObject) const { LibraryObject::deleteObject(pObject); }
};

// The owner of a library object, or of one reference to an object that counts them.
template <class T>
using OwnedPtr = std::unique_ptr<T, ObjectDeleter>;

// Null for want of memory.
template <class T, class... Arguments>
OwnedPtr<T> makeOwned(Arguments&&... arguments) {
  return OwnedPtr<T>(new (std::nothrow) T(std::forward<Arguments>(arguments)...));
}

}  // namespace mail
