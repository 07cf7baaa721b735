#include "pipeline/ContactLabels.h"

#include <algorithm>
#include <array>
#include <vector>

#include "ews/Settings.h"

// clang-format off
namespace {

using ews::Contact;
using enum ews::PhoneNumberKey;

constexpr std::u16string_view kContactProperties = u"{00062004-0000-0000-C000-000000000046}";

void Ignore(Contact&, const CString&) {}

template <void (Contact::*fnSetter)(CString)>
void Text(Contact& objContact, const CString& strValue) { (objContact.*fnSetter)(strValue); }

template <ews::PhoneNumberKey eKey>
void Phone(Contact& objContact, const CString& strValue) {
  objContact.PhoneNumbers()[eKey] = strValue;
}

template <ews::EmailAddressKey eKey>
void Mail(Contact& objContact, const CString& strValue) {
  objContact.EmailAddresses()[eKey] = ews::EmailAddress(strValue);
}

// The value is not looked into, be it a birthday.
template <int nId>
void Property(Contact& objContact, const CString& strValue) {
  objContact.SetExtendedProperty({kContactProperties, nId, ews::MapiPropertyType::String},
                                 strValue);
}

void SetNames(Contact& objContact, const CString& strValue) {
  objContact.SetDisplayName(strValue);
  objContact.SetFileAs(strValue);
}

void SetIm(Contact& objContact, const CString& strValue) {
  objContact.ImAddresses()[ews::ImAddressKey::ImAddress1] = strValue;
}

void SetComments(Contact& objContact, const CString& strValue) { objContact.SetBody(strValue); }

void SetCategory(Contact& objContact, const CString& strValue) {
  objContact.SetCategories(std::vector{strValue});
}

// Five parts, each closed by ";"; from the first that is not closed on they are empty. With the safe
// switch one more part counts, closed or not.
template <ews::PhysicalAddressKey eKey>
void Address(Contact& objContact, const CString& strValue) {
  using Entry = ews::PhysicalAddressEntry;
  constexpr std::array kParts{&Entry::Street, &Entry::City, &Entry::State, &Entry::PostalCode,
                              &Entry::CountryOrRegion};
  Entry objEntry;
  int nStart = 0;
  for (CString Entry::*pPart : kParts) {
    int nEnd = strValue.Find(u';', nStart);
    if (nEnd < 0 && ews::Settings().bSafe) nEnd = strValue.GetLength();
    if (nEnd < nStart) break;
    objEntry.*pPart = strValue.Mid(nStart, nEnd - nStart);
    nStart = nEnd + 1;
  }
  objContact.PhysicalAddresses()[eKey] = objEntry;
}

constexpr std::array kLabels = std::to_array<ContactLabel>({
    {u"Complete Name", &SetNames},
    {u"Namn", &SetNames},
    {u"File As 1", &Text<&Contact::SetFileAs>},
    {u"File As 2", &Text<&Contact::SetFileAs>},
    {u"E-Mail Address", &Mail<ews::EmailAddressKey::EmailAddress1>},
    {u"E-postadress", &Mail<ews::EmailAddressKey::EmailAddress1>},
    {u"Email Address 2", &Mail<ews::EmailAddressKey::EmailAddress2>},
    {u"Email Address 3", &Mail<ews::EmailAddressKey::EmailAddress3>},
    {u"Comments", &SetComments},
    {u"CreateDate", &Ignore},
    {u"LastModificationDate", &Ignore},
    {u"First Name", &Text<&Contact::SetGivenName>},
    {u"Förnamn", &Text<&Contact::SetGivenName>},
    {u"Office Phone Number", &Phone<BusinessPhone>},
    {u"Home Phone Number", &Phone<HomePhone>},
    {u"Last Name", &Text<&Contact::SetSurname>},
    {u"Efternamn", &Text<&Contact::SetSurname>},
    {u"Organization", &Text<&Contact::SetCompanyName>},
    {u"Title", &Text<&Contact::SetJobTitle>},
    {u"Department", &Text<&Contact::SetDepartment>},
    {u"Mailstop", &Text<&Contact::SetOfficeLocation>},
    {u"Phone Number", &Phone<CompanyMainPhone>},
    {u"Cellular Phone Number", &Phone<MobilePhone>},
    {u"Im Address", &SetIm},
    {u"Pager Number", &Phone<Pager>},
    {u"Phone Number Callback", &Phone<Callback>},
    {u"Phone Number Busness", &Phone<BusinessPhone>},  // sic, as in others below
    {u"Phone Number Busness 2", &Phone<BusinessPhone2>},
    {u"Phone Number Home 2", &Phone<HomePhone2>},
    {u"Fax Number", &Phone<HomeFax>},
    {u"Phone Number Other fax", &Phone<OtherFax>},
    {u"Phone Number Telex", &Phone<Telex>},
    {u"Phone Number Isdn", &Phone<Isdn>},
    {u"Phone Number Car", &Phone<CarPhone>},
    {u"Phone Number Tty/dd", &Phone<TtyTddPhone>},
    {u"Phone Number Busness fax", &Phone<BusinessFax>},
    {u"Birthday", &Property<0x3A42>},
    {u"Prefix", &Property<0x3A45>},
    {u"Personal Web Site", &Property<0x3A50>},
    {u"Office Web Site", &Text<&Contact::SetBusinessHomePage>},
    {u"Assistent Name", &Text<&Contact::SetAssistantName>},  // sic
    {u"Manager's Name", &Text<&Contact::SetManager>},
    {u"AIM/IM Screen Name", &Ignore},
    {u"Suffix", &Property<0x3A05>},
    {u"Categories", &SetCategory},
    {u"BussinessAddress", &Address<ews::PhysicalAddressKey::Business>},  // sic
    {u"HomeAddress", &Address<ews::PhysicalAddressKey::Home>},
});

}  // namespace
// clang-format on

std::span<const ContactLabel> ContactLabels() { return kLabels; }

const ContactLabel* FindContactLabel(std::u16string_view strLabel) {
  const auto it = std::ranges::find(kLabels, strLabel, &ContactLabel::strLabel);
  return it == kLabels.end() ? nullptr : &*it;
}
