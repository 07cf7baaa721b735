#pragma once

#include <memory>
#include <string>
#include <utility>

#include "target/RdoProviders.h"
#include "target/RdoStore.h"

// Wrappers over the objects of a local store. A wrapper without an object is legal: a call on it
// does nothing and answers with nothing. With one, a call throws what the store throws.

template <typename OBJECT>
class IRDOObject {
 public:
  IRDOObject() = default;
  // An object of another kind gives an empty wrapper.
  template <typename OTHER>
  explicit IRDOObject(const std::shared_ptr<OTHER>& pObject)
      : m_pObject(std::dynamic_pointer_cast<OBJECT>(pObject)) {}

  bool IsEmpty() const { return !m_pObject; }
  OBJECT* Object() const { return m_pObject.get(); }
  void Release() { m_pObject.reset(); }

 protected:
  template <typename RESULT, typename BASE, typename... PARAMETERS, typename... ARGUMENTS>
  RESULT Call(RESULT (BASE::*pMethod)(PARAMETERS...), ARGUMENTS&&... arguments) const {
    if (!m_pObject) return RESULT();
    return (m_pObject.get()->*pMethod)(std::forward<ARGUMENTS>(arguments)...);
  }

  std::shared_ptr<OBJECT> m_pObject;
};

class IRDOAttachments : public IRDOObject<rdo::Attachments> {
 public:
  using IRDOObject::IRDOObject;
  int GetCount() const { return Call(&rdo::Attachments::Count); }
  void Add(const rdo::NewAttachment& objAttachment) const {
    Call(&rdo::Attachments::Add, objAttachment);
  }
};

// What items of every class have.
template <typename ITEM>
class IRDOItemOf : public IRDOObject<ITEM> {
 public:
  using IRDOObject<ITEM>::IRDOObject;
  CString GetMessageClass() const { return this->Call(&ITEM::MessageClass); }
  void SetSubject(const CString& str) const { this->Call(&ITEM::SetSubject, str); }
  void Import(const CString& strCharset, std::string_view strBytes) const {
    this->Call(&ITEM::Import, strCharset, strBytes);
  }
  void SetFields(const std::string& strElement, const std::string& strZone) const {
    this->Call(&ITEM::SetFields, strElement, strZone);
  }
  void SetOccurrence(std::int64_t nIndex, const std::string& strUpdates) const {
    this->Call(&ITEM::SetOccurrence, nIndex, strUpdates);
  }
  IRDOAttachments GetAttachments() const {
    return IRDOAttachments(this->Call(&ITEM::GetAttachments));
  }
  void Save() const { this->Call(&ITEM::Save); }
};

// An item of any class.
class IRDOMail : public IRDOItemOf<rdo::Item> {
 public:
  using IRDOItemOf::IRDOItemOf;
};

class IRDOContactItem : public IRDOItemOf<rdo::ContactItem> {
 public:
  using IRDOItemOf::IRDOItemOf;
  CString Get(rdo::ContactField eField) const { return Call(&rdo::ContactItem::Text, eField); }
};

class IRDODistListItem : public IRDOItemOf<rdo::DistListItem> {
 public:
  using IRDOItemOf::IRDOItemOf;
  CString GetDLName() const { return Call(&rdo::DistListItem::DLName); }
  void SetDLName(const CString& str) const { Call(&rdo::DistListItem::SetDLName, str); }
  void AddContact(const IRDODistListItem& objMember, int nAddress) const {
    if (m_pObject && !objMember.IsEmpty()) m_pObject->AddContact(*objMember.Object(), nAddress);
  }
};

class IRDOItems : public IRDOObject<rdo::Items> {
 public:
  using IRDOObject::IRDOObject;
  int GetCount() const { return Call(&rdo::Items::Count); }
  // Counted from 1.
  template <typename WRAPPER>
  WRAPPER Item(int nIndex) const {
    return WRAPPER(Call(&rdo::Items::At, nIndex));
  }
  template <typename WRAPPER>
  WRAPPER Add(const CString& strMessageClass) const {
    return WRAPPER(Call(&rdo::Items::Add, strMessageClass));
  }
};

class IRDOFolders;

class IRDOFolder : public IRDOObject<rdo::Folder> {
 public:
  using IRDOObject::IRDOObject;
  CString GetName() const { return Call(&rdo::Folder::Name); }
  IRDOFolders GetFolders() const;
  IRDOItems GetItems() const { return IRDOItems(Call(&rdo::Folder::GetItems)); }
  void Save() const { Call(&rdo::Folder::Save); }
};

class IRDOFolders : public IRDOObject<rdo::Folders> {
 public:
  using IRDOObject::IRDOObject;
  int GetCount() const { return Call(&rdo::Folders::Count); }
  IRDOFolder GetFirst() const { return IRDOFolder(Call(&rdo::Folders::GetFirst)); }
  IRDOFolder GetNext() const { return IRDOFolder(Call(&rdo::Folders::GetNext)); }
  IRDOFolder Add(const CString& strName, const CString& strClass) const {
    return IRDOFolder(Call(&rdo::Folders::Add, strName, strClass));
  }
};

inline IRDOFolders IRDOFolder::GetFolders() const {
  return IRDOFolders(Call(&rdo::Folder::GetFolders));
}

class IRDOPstStore : public IRDOObject<rdo::PstStore> {
 public:
  using IRDOObject::IRDOObject;
  CString GetName() const { return Call(&rdo::PstStore::Name); }
  void SetName(const CString& str) const { Call(&rdo::PstStore::SetName, str); }
  CString GetPstPath() const { return Call(&rdo::PstStore::PstPath); }
  IRDOFolder GetRootFolder() const { return IRDOFolder(Call(&rdo::PstStore::RootFolder)); }
  void Save() const { Call(&rdo::PstStore::Save); }
};

class iRDOStores : public IRDOObject<rdo::Stores> {
 public:
  using IRDOObject::IRDOObject;
  int GetCount() const { return Call(&rdo::Stores::Count); }
  IRDOPstStore Item(int nIndex) const { return IRDOPstStore(Call(&rdo::Stores::At, nIndex)); }
  IRDOPstStore AddPSTStore(const CString& strPath, int nFormat,
                           const CString& strDisplayName) const {
    return IRDOPstStore(Call(&rdo::Stores::AddPSTStore, strPath, nFormat, strDisplayName));
  }
};

class IRDOProfiles : public IRDOObject<rdo::Profiles> {
 public:
  using IRDOObject::IRDOObject;
  int GetCount() const { return Call(&rdo::Profiles::Count); }
  CString Item(int nIndex) const { return Call(&rdo::Profiles::At, nIndex); }
};

class IRDOSession : public IRDOObject<rdo::Session> {
 public:
  using IRDOObject::IRDOObject;
  // A new session; throws where nobody provides one.
  static IRDOSession Create() { return IRDOSession(rdo::CreateObject(rdo::kSession)); }
  bool GetLoggedOn() const { return Call(&rdo::Session::LoggedOn); }
  void Logon(const rdo::Logon& objLogon) const { Call(&rdo::Session::LogOn, objLogon); }
  void Logoff() const { Call(&rdo::Session::LogOff); }
  IRDOProfiles GetProfiles() const { return IRDOProfiles(Call(&rdo::Session::GetProfiles)); }
  iRDOStores GetStores() const { return iRDOStores(Call(&rdo::Session::GetStores)); }
};
