#include "ews/Contact.h"

#include "ews/ItemFields.h"

namespace ews {

using enum SoapWriter::Vocabulary;

namespace {

void WriteValue(SoapWriter& objWriter, const CString& str) {
  if (!str.IsEmpty()) objWriter.Text(str);
}

void WriteValue(SoapWriter& objWriter, const EmailAddress& objAddress) {
  if (!objAddress.Name().IsEmpty()) objWriter.Attribute("Name", objAddress.Name());
  WriteValue(objWriter, objAddress.Address());
}

void WriteValue(SoapWriter& objWriter, const PhysicalAddressEntry& objEntry) {
  const auto Part = [&](std::string_view strElement, const CString& str) {
    if (!str.IsEmpty()) objWriter.Element(kTypes, strElement, str);
  };
  Part("Street", objEntry.Street);
  Part("City", objEntry.City);
  Part("State", objEntry.State);
  Part("CountryOrRegion", objEntry.CountryOrRegion);
  Part("PostalCode", objEntry.PostalCode);
}

template <typename Dictionary>
void WriteEntries(ItemFields& objFields, std::string_view strUri, const Dictionary& objEntries) {
  objFields.Field(strUri, objEntries.Count() > 0, [&](SoapWriter& objWriter) {
    for (const auto& [eKey, objValue] : objEntries) {
      objWriter.Start(kTypes, "Entry");
      objWriter.Attribute("Key", WireName(eKey));
      WriteValue(objWriter, objValue);
      objWriter.End();
    }
  });
}

}  // namespace

void Contact::WriteOwnFields(ItemFields& objFields) const {
  objFields.Text("contacts:FileAs", m_strFileAs);
  objFields.Text("contacts:DisplayName", m_strDisplayName);
  objFields.Text("contacts:GivenName", m_strGivenName);
  objFields.Text("contacts:CompanyName", m_strCompanyName);
  WriteEntries(objFields, "contacts:EmailAddresses", m_objEmailAddresses);
  WriteEntries(objFields, "contacts:PhysicalAddresses", m_objPhysicalAddresses);
  WriteEntries(objFields, "contacts:PhoneNumbers", m_objPhoneNumbers);
  objFields.Text("contacts:AssistantName", m_strAssistantName);
  objFields.Text("contacts:BusinessHomePage", m_strBusinessHomePage);
  objFields.Text("contacts:Department", m_strDepartment);
  WriteEntries(objFields, "contacts:ImAddresses", m_objImAddresses);
  objFields.Text("contacts:JobTitle", m_strJobTitle);
  objFields.Text("contacts:Manager", m_strManager);
  objFields.Text("contacts:OfficeLocation", m_strOfficeLocation);
  objFields.Text("contacts:Surname", m_strSurname);
}

}  // namespace ews
