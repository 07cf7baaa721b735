#pragma once

#include <memory>
#include <utility>

#include "target/RdoStore.h"

// Wrappers over the objects of a local store. A wrapper without an object is legal: a call on it
// does nothing and answers with nothing. No command opens a store yet.

class IRDOFolder {
 public:
  void Save() {}
};

template <typename OBJECT>
class IRDOObject {
 public:
  IRDOObject() = default;
  // An item of another kind gives an empty wrapper.
  explicit IRDOObject(const std::shared_ptr<rdo::Item>& pItem)
      : m_pObject(std::dynamic_pointer_cast<OBJECT>(pItem)) {}

  bool IsEmpty() const { return !m_pObject; }
  OBJECT* Object() const { return m_pObject.get(); }
  void Release() { m_pObject.reset(); }

  CString GetMessageClass() const { return m_pObject ? m_pObject->MessageClass() : CString(); }
  void SetSubject(const CString& str) const {
    if (m_pObject) m_pObject->SetSubject(str);
  }
  void Save() const {
    if (m_pObject) m_pObject->Save();
  }

 protected:
  std::shared_ptr<OBJECT> m_pObject;
};

class IRDOContactItem : public IRDOObject<rdo::ContactItem> {
 public:
  using IRDOObject::IRDOObject;
  CString Get(rdo::ContactField eField) const {
    return m_pObject ? m_pObject->Text(eField) : CString();
  }
};

class IRDODistListItem : public IRDOObject<rdo::DistListItem> {
 public:
  using IRDOObject::IRDOObject;
  CString GetDLName() const { return m_pObject ? m_pObject->DLName() : CString(); }
  void SetDLName(const CString& str) const {
    if (m_pObject) m_pObject->SetDLName(str);
  }
  void AddContact(const IRDODistListItem& objMember, int nAddress) const {
    if (m_pObject && !objMember.IsEmpty()) m_pObject->AddContact(*objMember.Object(), nAddress);
  }
};

class IRDOItems {
 public:
  IRDOItems() = default;
  explicit IRDOItems(std::shared_ptr<rdo::Items> pItems) : m_pItems(std::move(pItems)) {}

  int GetCount() const { return m_pItems ? m_pItems->Count() : 0; }
  // Counted from 1.
  template <typename WRAPPER>
  WRAPPER Item(int nIndex) const {
    return m_pItems ? WRAPPER(m_pItems->At(nIndex)) : WRAPPER();
  }
  template <typename WRAPPER>
  WRAPPER Add(const CString& strMessageClass) const {
    return m_pItems ? WRAPPER(m_pItems->Add(strMessageClass)) : WRAPPER();
  }

 private:
  std::shared_ptr<rdo::Items> m_pItems;
};
