#pragma once

#include <array>
#include <memory>
#include <string_view>

#include "platform/CString.h"

// What a local store gives through RDO, for whoever provides one. Each call may throw whatever the
// store throws; callers guard their calls one by one.
namespace rdo {

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

class Item {
 public:
  virtual ~Item() = default;
  virtual CString MessageClass() = 0;
  virtual void SetSubject(const CString& str) = 0;
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

class Items {
 public:
  virtual ~Items() = default;
  virtual int Count() = 0;
  // Counted from 1. Both may be null.
  virtual std::shared_ptr<Item> At(int nIndex) = 0;
  virtual std::shared_ptr<Item> Add(const CString& strMessageClass) = 0;
};

}  // namespace rdo
