#include "pipeline/ContactProps.h"

#include <array>

#include "ews/Contact.h"
#include "pipeline/PropValues.h"

namespace {

using ews::Contact;
using nlohmann::json;
using enum ews::PhoneNumberKey;

// Texts that the service has no field for.
constexpr int kPrefix = 0x3A45;
constexpr int kPersonalHomePage = 0x3A50;

constexpr std::array kPhones{
    AssistantPhone, BusinessFax,      BusinessPhone, BusinessPhone2, Callback,
    CarPhone,       CompanyMainPhone, HomeFax,       HomePhone,      HomePhone2,
    Isdn,           MobilePhone,      OtherFax,      OtherTelephone, Pager,
    PrimaryPhone,   RadioPhone,       Telex,         TtyTddPhone};
constexpr std::array kAddresses{ews::PhysicalAddressKey::Business, ews::PhysicalAddressKey::Home,
                                ews::PhysicalAddressKey::Other};
constexpr std::array kEmails{ews::EmailAddressKey::EmailAddress1,
                             ews::EmailAddressKey::EmailAddress2,
                             ews::EmailAddressKey::EmailAddress3};
constexpr std::array kIms{ews::ImAddressKey::ImAddress1, ews::ImAddressKey::ImAddress2,
                          ews::ImAddressKey::ImAddress3};

template <void (Contact::*fnSetter)(CString)>
bool TakeText(const json& objValue, Contact& objContact) {
  auto strText = PropText(objValue);
  if (strText) (objContact.*fnSetter)(std::move(*strText));
  return strText.has_value();
}

template <int nTag>
bool TakeProperty(const json& objValue, Contact& objContact) {
  auto strText = PropText(objValue);
  if (strText) objContact.SetExtendedProperty({nTag, ews::MapiPropertyType::String}, *strText);
  return strText.has_value();
}

template <void (Contact::*fnSetter)(const COleDateTime&)>
bool TakeDay(const json& objValue, Contact& objContact) {
  const auto dt = PropDay(objValue);
  if (dt) (objContact.*fnSetter)(*dt);
  return dt.has_value();
}

// Its lines end in LF there.
bool TakeNote(const json& objValue, Contact& objContact) {
  auto strText = PropText(objValue);
  if (!strText) return false;
  strText->Replace(u"\n", u"\r\n");
  objContact.SetBody(ews::MessageBody(ews::BodyType::Text, *strText));
  return true;
}

// Each entry of an array, with its number. False where one was left out, or for what is no array.
template <bool (*fnTakeOne)(const json&, size_t, Contact&)>
bool TakeEach(const json& objValue, Contact& objContact) {
  if (!objValue.is_array()) return false;
  bool bAll = true;
  for (size_t n = 0; n < objValue.size(); ++n) bAll = fnTakeOne(objValue[n], n, objContact) && bAll;
  return bAll;
}

bool TakeEmail(const json& objValue, size_t nAt, Contact& objContact) {
  if (!objValue.is_object() || nAt >= kEmails.size()) return false;
  const auto strAddress = PropText(PropAt(objValue, "address"));
  if (!strAddress) return false;
  objContact.EmailAddresses()[kEmails[nAt]] =
      ews::EmailAddress(PropText(PropAt(objValue, "name")).value_or(CString()), *strAddress);
  return true;
}

bool TakeIm(const json& objValue, size_t nAt, Contact& objContact) {
  const auto strAddress = PropText(objValue);
  if (!strAddress || nAt >= kIms.size()) return false;
  objContact.ImAddresses()[kIms[nAt]] = *strAddress;
  return true;
}

bool TakePhone(const json& objValue, size_t, Contact& objContact) {
  if (!objValue.is_object()) return false;
  const auto eKind = PropChoice(PropAt(objValue, "kind"), kPhones);
  const auto strNumber = PropText(PropAt(objValue, "number"));
  if (!eKind || !strNumber) return false;
  objContact.PhoneNumbers()[*eKind] = *strNumber;
  return true;
}

bool TakeAddress(const json& objValue, size_t, Contact& objContact) {
  if (!objValue.is_object()) return false;
  const auto eKind = PropChoice(PropAt(objValue, "kind"), kAddresses);
  if (!eKind) return false;
  const auto Part = [&](const char* pszName) {
    return PropText(PropAt(objValue, pszName)).value_or(CString());
  };
  objContact.PhysicalAddresses()[*eKind] = {Part("street"), Part("city"), Part("state"),
                                            Part("postalCode"), Part("country")};
  return true;
}

bool TakeChild(const json& objValue, size_t, Contact& objContact) {
  const auto strName = PropText(objValue);
  if (strName) objContact.Children().Add(*strName);
  return strName.has_value();
}

constexpr auto kMembers = std::to_array<PropMember<Contact>>({
    {"displayName", &TakeText<&Contact::SetDisplayName>},
    {"fileAs", &TakeText<&Contact::SetFileAs>},
    {"givenName", &TakeText<&Contact::SetGivenName>},
    {"middleName", &TakeText<&Contact::SetMiddleName>},
    {"surname", &TakeText<&Contact::SetSurname>},
    {"prefix", &TakeProperty<kPrefix>},
    {"suffix", &TakeText<&Contact::SetGeneration>},
    {"nickname", &TakeText<&Contact::SetNickname>},
    {"company", &TakeText<&Contact::SetCompanyName>},
    {"department", &TakeText<&Contact::SetDepartment>},
    {"jobTitle", &TakeText<&Contact::SetJobTitle>},
    {"profession", &TakeText<&Contact::SetProfession>},
    {"office", &TakeText<&Contact::SetOfficeLocation>},
    {"manager", &TakeText<&Contact::SetManager>},
    {"assistant", &TakeText<&Contact::SetAssistantName>},
    {"spouse", &TakeText<&Contact::SetSpouseName>},
    {"businessHomePage", &TakeText<&Contact::SetBusinessHomePage>},
    {"personalHomePage", &TakeProperty<kPersonalHomePage>},
    {"birthday", &TakeDay<&Contact::SetBirthday>},
    {"anniversary", &TakeDay<&Contact::SetWeddingAnniversary>},
    {"note", &TakeNote},
    {"emails", &TakeEach<&TakeEmail>},
    {"ims", &TakeEach<&TakeIm>},
    {"phones", &TakeEach<&TakePhone>},
    {"addresses", &TakeEach<&TakeAddress>},
    {"children", &TakeEach<&TakeChild>},
});

}  // namespace

void ApplyContactProps(const json& objJson, Contact& objContact, std::vector<CString>& arrNotes) {
  const auto it = objJson.find("contact");
  if (it == objJson.end()) return;
  if (!it->is_object()) return NoteWrongProp(arrNotes, "contact");
  TakeProps(kMembers, *it, objContact, arrNotes);
}
