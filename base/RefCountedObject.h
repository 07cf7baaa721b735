#pragma once

#include <atomic>
#include <cstdint>

#include "base/LibraryObject.h"

namespace mail {

// The base of objects that several owners share: made with new and one reference, deleted when the
// last is taken. The count may be changed from several threads.
class RefCountedObject : public LibraryObject {
 public:
  RefCountedObject(const RefCountedObject&) = delete;
  RefCountedObject& operator=(const RefCountedObject&) = delete;

  void incRefCount() { m_nReferences.fetch_add(1, std::memory_order_relaxed); }
  // Takes one reference away, and with the last one deletes the object.
  void decRefCount() {
    if (m_nReferences.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  std::uint32_t getRefCount() const { return m_nReferences.load(std::memory_order_relaxed); }

 protected:
  RefCountedObject() = default;
  ~RefCountedObject() override = default;  // protected: objects end with their last reference

  void giveUp() override { decRefCount(); }

 private:
  std::atomic<std::uint32_t> m_nReferences{1};
};

}  // namespace mail
