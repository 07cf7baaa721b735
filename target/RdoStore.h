#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CString.h"

// What stores of this machine give through RDO, for whoever provides them: a session knows
// profiles, a profile its stores, a store its folders, a folder its items. Each call may throw
// whatever the store throws; callers guard their calls one by one. Objects are handed out alone, or
// as null where there is none. Lists count from 1. Paths are in Windows form.
namespace rdo {

// Thrown by a store that fails as a whole, where another item would meet the same: full, held,
// damaged. what() names its file.
class StoreFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
// The store that was opened is not there any more, and what was written last may be lost.
class StoreGone : public StoreFailed {
 public:
  using StoreFailed::StoreFailed;
};

// What a name in the registry (target/RdoProviders.h) stands for.
struct Object {
  virtual ~Object() = default;
};

enum class ContactField {
  FullName,
  FileAs,
  Email1Address,
  Body,
  FirstName,
  BusinessTelephoneNumber,
  HomeTelephoneNumber,
  LastName,
  CompanyName,
  JobTitle,
  Department,
  OfficeLocation,
  CompanyMainTelephoneNumber,
  MobileTelephoneNumber,
  PagerNumber,
  BusinessFaxNumber,
  BusinessAddressCountry,
  BusinessAddressCity,
  BusinessAddressState,
  BusinessAddress,
  BusinessAddressPostalCode,
  MiddleName,
  Title,
  PersonalHomePage,
  BusinessHomePage,
  HomeAddressCity,
  HomeAddressCountry,
  HomeAddressPostalCode,
  HomeAddressState,
  HomeAddress,
  Suffix,
};
inline constexpr int kContactFields = static_cast<int>(ContactField::Suffix) + 1;

inline constexpr std::u16string_view kContactClass = u"IPM.Contact";
inline constexpr std::u16string_view kDistListClass = u"IPM.DistList";

// A file of an item. Its bytes are read by Add.
struct NewAttachment {
  CString strName;
  CString strPath;
  CString strContentType;
  CString strContentId;
  bool bContactPhoto = false;
};

class Attachments {
 public:
  virtual ~Attachments() = default;
  virtual int Count() = 0;
  virtual void Add(const NewAttachment& objAttachment) = 0;
};

// Of any class. What is set is kept by Save, all of it or nothing.
class Item {
 public:
  virtual ~Item() = default;
  virtual CString MessageClass() = 0;
  virtual void SetSubject(const CString& str) = 0;
  // A whole mail as it is, byte for byte. To be called before SetFields: what the fields say wins
  // over what it says.
  virtual void Import(const CString& strCharset, std::string_view strBytes) = 0;
  // All fields at once, as the element of an EWS request that makes the item (ews::Item), and the
  // Windows name of the zone that its dates count in, or "".
  virtual void SetFields(const std::string& strElement, const std::string& strZone) = 0;
  // One occurrence of a series, numbered from 1 as the pattern has them: its changes, as the
  // element "Updates" of an EWS request, or "" to take it away. To be called behind SetFields.
  virtual void SetOccurrence(std::int64_t nIndex, const std::string& strUpdates) = 0;
  virtual std::shared_ptr<Attachments> GetAttachments() = 0;
  virtual void Save() = 0;
};

class ContactItem : public Item {
 public:
  virtual CString Text(ContactField eField) = 0;
};

class DistListItem : public Item {
 public:
  virtual CString DLName() = 0;
  virtual void SetDLName(const CString& str) = 0;
  // Makes the item a member; nAddress says which of its addresses, from 0.
  virtual void AddContact(Item& objItem, int nAddress) = 0;
};

// An item that is there, for who asks whether one is. Texts are UTF-8.
struct FoundItem {
  std::string strId;
  std::string strKey;  // its text property TarnyKey
  std::string strMessageId;
  std::int64_t nSize = 0;  // bytes
};

class Items {
 public:
  virtual ~Items() = default;
  virtual int Count() = 0;
  virtual std::shared_ptr<Item> At(int nIndex) = 0;
  virtual std::shared_ptr<Item> Add(const CString& strMessageClass) = 0;
  // Hands over those with one of the keys or message ids; nothing is looked for by an empty text.
  // Or all.
  using Take = std::function<void(const FoundItem&)>;
  virtual void Find(const std::vector<std::string>& arrKeys,
                    const std::vector<std::string>& arrMessageIds, const Take& fnTake) = 0;
  virtual void ForEach(const Take& fnTake) = 0;
};

class Folder;

// The children of one folder.
class Folders {
 public:
  virtual ~Folders() = default;
  virtual int Count() = 0;
  virtual std::shared_ptr<Folder> GetFirst() = 0;
  virtual std::shared_ptr<Folder> GetNext() = 0;  // null behind the last
  virtual std::shared_ptr<Folder> Add(const CString& strName, const CString& strClass) = 0;
};

class Folder {
 public:
  virtual ~Folder() = default;
  virtual CString Name() = 0;
  virtual std::shared_ptr<rdo::Folders> GetFolders() = 0;
  virtual std::shared_ptr<rdo::Items> GetItems() = 0;
  virtual void Save() = 0;
};

class PstStore {
 public:
  virtual ~PstStore() = default;
  virtual CString Name() = 0;
  virtual void SetName(const CString& str) = 0;
  virtual CString PstPath() = 0;  // as it was given when the store was added
  virtual std::shared_ptr<Folder> RootFolder() = 0;
  virtual void Save() = 0;
};

inline constexpr int kPstFormat = 1;

class Stores {
 public:
  virtual ~Stores() = default;
  virtual int Count() = 0;
  virtual std::shared_ptr<PstStore> At(int nIndex) = 0;
  // Makes the file, or takes the store that it is.
  virtual std::shared_ptr<PstStore> AddPSTStore(const CString& strPath, int nFormat,
                                                const CString& strDisplayName) = 0;
};

class Profiles {
 public:
  virtual ~Profiles() = default;
  virtual int Count() = 0;
  virtual CString At(int nIndex) = 0;
};

struct Logon {
  CString strProfileName;  // "" is the profile that everyone has
  std::int32_t nPassword = 0;
  std::int32_t nShowDialog = 0;
  std::int32_t nNewSession = 1;
  std::int32_t nParentWindowHandle = 0;
  std::int32_t nNoMail = 0;
};

class Session : public Object {
 public:
  virtual bool LoggedOn() = 0;
  virtual void LogOn(const Logon& objLogon) = 0;
  virtual void LogOff() = 0;
  virtual std::shared_ptr<rdo::Profiles> GetProfiles() = 0;  // without a logon, too
  virtual std::shared_ptr<rdo::Stores> GetStores() = 0;
};
inline constexpr std::u16string_view kSession = u"Redemption.RDOSession";

// The second way to a new store.
class OutlookNamespace {
 public:
  virtual ~OutlookNamespace() = default;
  virtual void LogOn(const CString& strProfile, const CString& strPassword) = 0;
  virtual void AddStore(const CString& strPath) = 0;
  virtual void LogOff() = 0;
};

class OutlookApplication : public Object {
 public:
  virtual std::shared_ptr<OutlookNamespace> GetNamespace(const CString& strType) = 0;
  virtual void Quit() = 0;
};
inline constexpr std::u16string_view kOutlook = u"Outlook.Application";

}  // namespace rdo
