#pragma once

#include <utility>

#include "base/RefCountedObject.h"

namespace mail {

// Holds one reference to a shared object and takes it away when it ends. A copy takes a further
// reference.
class RefCountedObjectOwner {
 public:
  RefCountedObjectOwner() = default;
  // Takes over one reference of the caller's; does not add one. Null is fine.
  explicit RefCountedObjectOwner(RefCountedObject* pObject) : m_pObject(pObject) {}
  RefCountedObjectOwner(const RefCountedObjectOwner& other) : m_pObject(other.m_pObject) {
    if (m_pObject != nullptr) m_pObject->incRefCount();
  }
  RefCountedObjectOwner(RefCountedObjectOwner&& other) noexcept
      : m_pObject(std::exchange(other.m_pObject, nullptr)) {}
  RefCountedObjectOwner& operator=(RefCountedObjectOwner other) noexcept {
    std::swap(m_pObject, other.m_pObject);
    return *this;
  }
  ~RefCountedObjectOwner() { LibraryObject::deleteObject(m_pObject); }

  RefCountedObject* get() const { return m_pObject; }

 private:
  RefCountedObject* m_pObject = nullptr;
};

}  // namespace mail
