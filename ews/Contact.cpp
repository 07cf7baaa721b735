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

// A moment that is within the same day in nearly every zone, as mailbox servers keep such days.
void WriteDay(ItemFields& objFields, std::string_view strUri,
              const std::optional<COleDateTime>& dt) {
  objFields.Field(strUri, dt.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(FormatDay(*dt) + "T11:59:00Z"));
  });
}

}  // namespace

void Contact::WriteOwnFields(ItemFields& objFields) const {
  objFields.Text("contacts:FileAs", m_strFileAs);
  objFields.Text("contacts:DisplayName", m_strDisplayName);
  objFields.Text("contacts:GivenName", m_strGivenName);
  objFields.Text("contacts:MiddleName", m_strMiddleName);
  objFields.Text("contacts:Nickname", m_strNickname);
  objFields.Text("contacts:CompanyName", m_strCompanyName);
  WriteEntries(objFields, "contacts:EmailAddresses", m_objEmailAddresses);
  WriteEntries(objFields, "contacts:PhysicalAddresses", m_objPhysicalAddresses);
  WriteEntries(objFields, "contacts:PhoneNumbers", m_objPhoneNumbers);
  objFields.Text("contacts:AssistantName", m_strAssistantName);
  WriteDay(objFields, "contacts:Birthday", m_dtBirthday);
  objFields.Text("contacts:BusinessHomePage", m_strBusinessHomePage);
  objFields.Field("contacts:Children", !m_objChildren.Strings().empty(),
                  [&](SoapWriter& objWriter) {
                    for (const CString& str : m_objChildren.Strings())
                      objWriter.Element(kTypes, "String", str);
                  });
  objFields.Text("contacts:Department", m_strDepartment);
  objFields.Text("contacts:Generation", m_strGeneration);
  WriteEntries(objFields, "contacts:ImAddresses", m_objImAddresses);
  objFields.Text("contacts:JobTitle", m_strJobTitle);
  objFields.Text("contacts:Manager", m_strManager);
  objFields.Text("contacts:OfficeLocation", m_strOfficeLocation);
  objFields.Text("contacts:Profession", m_strProfession);
  objFields.Text("contacts:SpouseName", m_strSpouseName);
  objFields.Text("contacts:Surname", m_strSurname);
  WriteDay(objFields, "contacts:WeddingAnniversary", m_dtWeddingAnniversary);
}

}  // namespace ews
