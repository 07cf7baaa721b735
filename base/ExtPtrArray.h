#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "base/LibraryObject.h"
#include "base/OwnedPtr.h"

namespace mail {

class RefCountedObject;
class StringBuffer;
class XString;

// A growing array that owns objects of the library: clearing or deleting it gives them up
// (LibraryObject::deleteObject). Trees may be built of such arrays: however deep they are, giving
// them up takes no deeper recursion. Indexes start at 0; no operation throws. Not copyable.
class ExtPtrArray : public LibraryObject {
 public:
  ExtPtrArray() = default;
  ~ExtPtrArray() override;
  ExtPtrArray(ExtPtrArray&&) = delete;

  std::size_t getSize() const { return m_arrObjects.size(); }
  // Null behind the end. The array stays the owner.
  LibraryObject* elementAt(std::size_t nIndex) const {
    return nIndex < m_arrObjects.size() ? m_arrObjects[nIndex] : nullptr;
  }

  // Takes over the object. False for null, for want of memory, and for an object whose validity
  // word is wrong (after the fatal handler); the object then stays the caller's.
  bool appendObject(LibraryObject* pObject) { return insertObject(getSize(), pObject); }
  // In front of nIndex; at the end if nIndex lies behind it.
  bool insertObject(std::size_t nIndex, LibraryObject* pObject);
  // Gives the object back to the caller, who owns it then; null behind the end.
  LibraryObject* removeAt(std::size_t nIndex);
  // Gives up one object; false behind the end.
  bool deleteAt(std::size_t nIndex);
  void removeAll();  // gives up all
  void swap(ExtPtrArray& other) noexcept { m_arrObjects.swap(other.m_arrObjects); }

 protected:
  // Gives up those of which the test says so, in one pass; how many there were.
  template <class Test>
  std::size_t deleteObjectsIf(Test test) {
    const auto fnDrop = [&](LibraryObject* pObject) {
      if (!test(pObject)) return false;
      LibraryObject::deleteObject(pObject);
      return true;
    };
    return std::erase_if(m_arrObjects, fnDrop);
  }

 private:
  std::vector<LibraryObject*> m_arrObjects;
};

// The same with elements of one type, which must be complete where elements are used.
template <class T>
class ExtPtrArrayOf : private ExtPtrArray {
 public:
  using ExtPtrArray::deleteAt;
  using ExtPtrArray::getSize;
  using ExtPtrArray::isValidObject;
  using ExtPtrArray::removeAll;

  T* at(std::size_t nIndex) const { return static_cast<T*>(elementAt(nIndex)); }
  // An object that is refused is given up.
  bool append(OwnedPtr<T> pObject) { return insert(getSize(), std::move(pObject)); }
  bool insert(std::size_t nIndex, OwnedPtr<T> pObject) {
    if (!insertObject(nIndex, pObject.get())) return false;
    (void)pObject.release();  // the array's from now on
    return true;
  }
  void swap(ExtPtrArrayOf& other) noexcept { ExtPtrArray::swap(other); }
  template <class Test>
  std::size_t deleteIf(Test test) {
    return deleteObjectsIf([&](LibraryObject* pObject) { return test(*static_cast<T*>(pObject)); });
  }
  OwnedPtr<T> remove(std::size_t nIndex) { return OwnedPtr<T>(static_cast<T*>(removeAt(nIndex))); }
};

using ExtPtrArraySb = ExtPtrArrayOf<StringBuffer>;
using ExtPtrArrayXs = ExtPtrArrayOf<XString>;
using ExtPtrArrayRc = ExtPtrArrayOf<RefCountedObject>;  // owns one reference of each

}  // namespace mail
