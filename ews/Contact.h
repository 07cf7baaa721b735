#pragma once

#include "ews/EmailAddress.h"
#include "ews/EntryDictionary.h"
#include "ews/Item.h"

namespace ews {

// One postal address. Empty parts do not go out.
struct PhysicalAddressEntry {
  CString Street;
  CString City;
  CString State;
  CString PostalCode;
  CString CountryOrRegion;
};

using EmailAddressDictionary = EntryDictionary<EmailAddressKey, EmailAddress>;
using ImAddressDictionary = EntryDictionary<ImAddressKey, CString>;
using PhoneNumberDictionary = EntryDictionary<PhoneNumberKey, CString>;
using PhysicalAddressDictionary = EntryDictionary<PhysicalAddressKey, PhysicalAddressEntry>;

// A person in a list of contacts.
class Contact : public Item {
 public:
  // A null service is found out at Save.
  explicit Contact(std::shared_ptr<ExchangeService> pService) : Item(std::move(pService)) {}

  void SetDisplayName(CString str) { m_strDisplayName = std::move(str); }
  void SetFileAs(CString str) { m_strFileAs = std::move(str); }
  void SetGivenName(CString str) { m_strGivenName = std::move(str); }
  void SetSurname(CString str) { m_strSurname = std::move(str); }
  void SetCompanyName(CString str) { m_strCompanyName = std::move(str); }
  void SetJobTitle(CString str) { m_strJobTitle = std::move(str); }
  void SetDepartment(CString str) { m_strDepartment = std::move(str); }
  void SetOfficeLocation(CString str) { m_strOfficeLocation = std::move(str); }
  void SetBusinessHomePage(CString str) { m_strBusinessHomePage = std::move(str); }
  void SetAssistantName(CString str) { m_strAssistantName = std::move(str); }
  void SetManager(CString str) { m_strManager = std::move(str); }
  void SetMiddleName(CString str) { m_strMiddleName = std::move(str); }
  void SetNickname(CString str) { m_strNickname = std::move(str); }
  void SetGeneration(CString str) { m_strGeneration = std::move(str); }  // "Jr."
  void SetProfession(CString str) { m_strProfession = std::move(str); }
  void SetSpouseName(CString str) { m_strSpouseName = std::move(str); }
  // Days; their clock does not count. Both throw ServiceException for an invalid date.
  void SetBirthday(const COleDateTime& dt) { m_dtBirthday = ValidDate(dt); }
  void SetWeddingAnniversary(const COleDateTime& dt) { m_dtWeddingAnniversary = ValidDate(dt); }
  StringList& Children() { return m_objChildren; }
  const std::optional<CString>& DisplayName() const { return m_strDisplayName; }
  const std::optional<CString>& FileAs() const { return m_strFileAs; }
  const std::optional<CString>& GivenName() const { return m_strGivenName; }
  const std::optional<CString>& Surname() const { return m_strSurname; }
  const std::optional<CString>& CompanyName() const { return m_strCompanyName; }
  const std::optional<CString>& JobTitle() const { return m_strJobTitle; }
  const std::optional<CString>& Department() const { return m_strDepartment; }
  const std::optional<CString>& OfficeLocation() const { return m_strOfficeLocation; }
  const std::optional<CString>& BusinessHomePage() const { return m_strBusinessHomePage; }
  const std::optional<CString>& AssistantName() const { return m_strAssistantName; }
  const std::optional<CString>& Manager() const { return m_strManager; }
  EmailAddressDictionary& EmailAddresses() { return m_objEmailAddresses; }
  ImAddressDictionary& ImAddresses() { return m_objImAddresses; }
  PhoneNumberDictionary& PhoneNumbers() { return m_objPhoneNumbers; }
  PhysicalAddressDictionary& PhysicalAddresses() { return m_objPhysicalAddresses; }

 private:
  std::string_view ElementName() const override { return "Contact"; }
  void WriteOwnFields(ItemFields& objFields) const override;

  std::optional<CString> m_strFileAs;
  std::optional<CString> m_strDisplayName;
  std::optional<CString> m_strGivenName;
  std::optional<CString> m_strCompanyName;
  std::optional<CString> m_strAssistantName;
  std::optional<CString> m_strBusinessHomePage;
  std::optional<CString> m_strDepartment;
  std::optional<CString> m_strJobTitle;
  std::optional<CString> m_strManager;
  std::optional<CString> m_strOfficeLocation;
  std::optional<CString> m_strSurname;
  std::optional<CString> m_strMiddleName;
  std::optional<CString> m_strNickname;
  std::optional<CString> m_strGeneration;
  std::optional<CString> m_strProfession;
  std::optional<CString> m_strSpouseName;
  std::optional<COleDateTime> m_dtBirthday;
  std::optional<COleDateTime> m_dtWeddingAnniversary;
  StringList m_objChildren;
  EmailAddressDictionary m_objEmailAddresses;
  ImAddressDictionary m_objImAddresses;
  PhoneNumberDictionary m_objPhoneNumbers;
  PhysicalAddressDictionary m_objPhysicalAddresses;
};

}  // namespace ews
