#include "localstore/ContactFields.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/store/ItemFields.h"

namespace localstore {
namespace {

using enum rdo::ContactField;

// Where a field stands in the element of a contact: by the name of the element alone, as the entry
// of a key in a dictionary, as a part of an address, or as an extended property.
struct Place {
  rdo::ContactField field;
  std::string_view name;  // the element, or a URI of mailbox::FindEntryPath
  std::string_view key = {};
};
constexpr std::string_view kProperty = "property";

constexpr std::array<Place, rdo::kContactFields - 1> kPlaces = {{
    {FullName, "DisplayName"},
    {FileAs, "FileAs"},
    {Email1Address, "contacts:EmailAddress", "EmailAddress1"},
    {FirstName, "GivenName"},
    {BusinessTelephoneNumber, "contacts:PhoneNumber", "BusinessPhone"},
    {HomeTelephoneNumber, "contacts:PhoneNumber", "HomePhone"},
    {LastName, "Surname"},
    {CompanyName, "CompanyName"},
    {JobTitle, "JobTitle"},
    {Department, "Department"},
    {OfficeLocation, "OfficeLocation"},
    {CompanyMainTelephoneNumber, "contacts:PhoneNumber", "CompanyMainPhone"},
    {MobileTelephoneNumber, "contacts:PhoneNumber", "MobilePhone"},
    {PagerNumber, "contacts:PhoneNumber", "Pager"},
    {BusinessFaxNumber, "contacts:PhoneNumber", "BusinessFax"},
    {BusinessAddressCountry, "contacts:PhysicalAddress:CountryOrRegion", "Business"},
    {BusinessAddressCity, "contacts:PhysicalAddress:City", "Business"},
    {BusinessAddressState, "contacts:PhysicalAddress:State", "Business"},
    {BusinessAddress, "contacts:PhysicalAddress:Street", "Business"},
    {BusinessAddressPostalCode, "contacts:PhysicalAddress:PostalCode", "Business"},
    {MiddleName, "MiddleName"},
    {Title, kProperty, "named:Address:id:14917"},
    {PersonalHomePage, kProperty, "named:Address:id:14928"},
    {BusinessHomePage, "BusinessHomePage"},
    {HomeAddressCity, "contacts:PhysicalAddress:City", "Home"},
    {HomeAddressCountry, "contacts:PhysicalAddress:CountryOrRegion", "Home"},
    {HomeAddressPostalCode, "contacts:PhysicalAddress:PostalCode", "Home"},
    {HomeAddressState, "contacts:PhysicalAddress:State", "Home"},
    {HomeAddress, "contacts:PhysicalAddress:Street", "Home"},
    {Suffix, kProperty, "named:Address:id:14853"},
}};

std::string PropertyText(const mailbox::ItemInfo& contact, std::string_view key) {
  const auto found = std::ranges::find(contact.properties, key, &mailbox::ExtendedProperty::key);
  return found == contact.properties.end() || found->values.empty() ? "" : found->values.front();
}

}  // namespace

std::string ContactText(const mailbox::ItemInfo& contact, rdo::ContactField field) {
  if (field == Body) return contact.body;
  const auto place = std::ranges::find(kPlaces, field, &Place::field);
  if (place == kPlaces.end()) return "";
  if (place->name == kProperty) return PropertyText(contact, place->key);
  const mailbox::EntryPath* const entry = mailbox::FindEntryPath(place->name);
  return entry ? mailbox::EntryText(contact, *entry, place->key)
               : mailbox::FieldText(contact, place->name);
}

}  // namespace localstore
