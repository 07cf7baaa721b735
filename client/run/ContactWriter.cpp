#include "client/run/ContactWriter.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "client/run/DescriptorText.h"
#include "client/run/NewFile.h"
#include "pipeline/MailAddressing.h"

namespace client {
namespace {

using nlohmann::json;

constexpr std::string_view kContactPhoto = "ContactPhoto.jpg";
constexpr std::string_view kNoteFile = "TextFile1.eml";
constexpr std::size_t kMostWideBytes = 65536;  // of a file that the engine reads as 16-bit units

// Labels of the tagged body, spelt as the engine reads them.
struct Label {
  std::string_view name;
  std::string_view label;
};
constexpr std::array kTextLabels = std::to_array<Label>({
    {"displayName", "Complete Name"},  // sets what it is filed as, too, and so comes first
    {"fileAs", "File As 1"},
    {"givenName", "First Name"},
    {"surname", "Last Name"},
    {"prefix", "Prefix"},
    {"suffix", "Suffix"},
    {"company", "Organization"},
    {"jobTitle", "Title"},
    {"department", "Department"},
    {"office", "Mailstop"},
    {"businessHomePage", "Office Web Site"},
    {"personalHomePage", "Personal Web Site"},
    {"assistant", "Assistent Name"},  // sic
    {"manager", "Manager's Name"},
});
constexpr std::array kPhoneLabels = std::to_array<Label>({
    {"BusinessPhone", "Phone Number Busness"},     // sic
    {"BusinessPhone2", "Phone Number Busness 2"},  // sic
    {"BusinessFax", "Phone Number Busness fax"},   // sic
    {"HomePhone", "Home Phone Number"},
    {"HomePhone2", "Phone Number Home 2"},
    {"HomeFax", "Fax Number"},
    {"OtherFax", "Phone Number Other fax"},
    {"MobilePhone", "Cellular Phone Number"},
    {"CarPhone", "Phone Number Car"},
    {"Pager", "Pager Number"},
    {"Callback", "Phone Number Callback"},
    {"Telex", "Phone Number Telex"},
    {"Isdn", "Phone Number Isdn"},
    {"TtyTddPhone", "Phone Number Tty/dd"},
    {"CompanyMainPhone", "Phone Number"},
});
constexpr std::array<std::string_view, 3> kEmailLabels = {"E-Mail Address", "Email Address 2",
                                                          "Email Address 3"};
constexpr std::array kAddressLabels = std::to_array<Label>({
    {"Business", "BussinessAddress"},  // sic
    {"Home", "HomeAddress"},
});

std::string_view LabelOf(const auto& labels, std::string_view name) {
  for (const Label& label : labels) {
    if (label.name == name) return label.label;
  }
  return {};
}

// One tagged field; none where there is no label, or a tag in the value would end it.
std::string Tagged(std::string_view label, std::string_view value) {
  const bool tag = value.find("<ITEM>") != std::string_view::npos ||
                   value.find("</ITEM>") != std::string_view::npos;
  if (label.empty() || value.empty() || tag) return {};
  return fmt::format("<ITEM>{} : {}</ITEM>\n", label, value);
}

std::string AddressValue(const Contact::Address& address) {
  std::string value;
  for (std::string part :
       {address.street, address.city, address.state, address.postalCode, address.country}) {
    std::replace(part.begin(), part.end(), ';', ',');
    value += part + ";";
  }
  return value;
}

std::string Front(const std::vector<std::string>& list) {
  return list.empty() ? std::string() : list[0];
}

// A text file keeps the line ends of a note, as CRs, which a tagged field loses; a long one is read
// as something else.
std::string NoteFileOf(const Contact& contact) {
  return Utf16LittleEndian(DescriptorBody(contact.note));
}
bool HasNoteFile(const Contact& contact) {
  return contact.note.find('\n') != std::string::npos &&
         NoteFileOf(contact).size() <= kMostWideBytes;
}

std::string TaggedBody(const Contact& contact) {
  std::string body;
  for (const Label& label : kTextLabels) {
    if (const std::string* value = contact.Find(label.name)) body += Tagged(label.label, *value);
  }
  for (std::size_t i = 0; i < contact.emails.size() && i < kEmailLabels.size(); ++i) {
    body += Tagged(kEmailLabels[i], contact.emails[i].address);
  }
  for (const Contact::Phone& phone : contact.phones) {
    body += Tagged(LabelOf(kPhoneLabels, phone.kind), phone.number);
  }
  for (const Contact::Address& address : contact.addresses) {
    body += Tagged(LabelOf(kAddressLabels, address.kind), AddressValue(address));
  }
  body += Tagged("Im Address", Front(contact.ims)) + Tagged("Birthday", contact.birthday) +
          Tagged("Categories", Front(contact.categories));
  if (!HasNoteFile(contact)) body += Tagged("Comments", contact.note);
  return body;
}

json AddressJson(const Contact::Address& address) {
  return {
      {"kind", address.kind},   {"street", address.street},         {"city", address.city},
      {"state", address.state}, {"postalCode", address.postalCode}, {"country", address.country}};
}

}  // namespace

std::string ContactDescriptor(const Contact& contact) {
  const std::string* name = contact.Find("displayName");
  return "CONTACT\r\n\n\r\nFALSE\r\n\r\n\r\n\r\n\r\n" +
         DescriptorLine("Subject : ", name ? *name : "") + "\r\n\r\n\r\n\r\n" +
         DescriptorBody(TaggedBody(contact));
}

json ContactProps(const Contact& contact) {
  json person = json::object();
  for (const Contact::Text& text : contact.texts) person[text.member] = text.value;
  for (const Contact::Email& email : contact.emails) {
    person["emails"].push_back({{"address", email.address}, {"name", email.name}});
  }
  for (const Contact::Phone& phone : contact.phones) {
    person["phones"].push_back({{"kind", phone.kind}, {"number", phone.number}});
  }
  for (const Contact::Address& address : contact.addresses) {
    person["addresses"].push_back(AddressJson(address));
  }
  if (!contact.ims.empty()) person["ims"] = contact.ims;
  if (!contact.children.empty()) person["children"] = contact.children;
  if (!contact.birthday.empty()) person["birthday"] = contact.birthday;
  if (!contact.anniversary.empty()) person["anniversary"] = contact.anniversary;
  if (!contact.note.empty()) person["note"] = contact.note;
  json props = {{"contact", person}};
  if (!contact.photo.empty()) props["photo"] = std::string(kContactPhoto);
  if (contact.isPrivate) props["sensitivity"] = "Private";
  if (!contact.categories.empty()) props["categories"] = contact.categories;
  return props;
}

void WriteContactFiles(const std::string& workFolder, const Contact& contact) {
  if (HasNoteFile(contact)) {
    WriteNewFile(workFolder + "/" + std::string(kNoteFile), NoteFileOf(contact));
  }
  if (contact.photo.empty()) return;
  WriteNewFile(workFolder + "/" + std::string(kContactPhoto), contact.photo);
}

std::string GroupDescriptor(const ContactGroup& group, std::vector<std::string>& left) {
  std::string members;
  for (const Contact::Email& member : group.members) {
    const std::string entry = PersonEntry(member.name, member.address);
    if (entry.empty()) {
      left.push_back("the member " + member.address);
    } else {
      members += (members.empty() ? "" : ";") + entry;
    }
  }
  const auto line = [](std::string_view label, std::string_view value) {
    std::string text = DescriptorLine("", value);
    text.resize(text.size() - 2);
    return fmt::format("<ITEM>{} :{}</ITEM>\r\n", label, text);
  };
  return "DIST_LIST\r\n\n\r\nFALSE\r\n\r\n\r\n\r\n\r\n" + DescriptorLine("Subject : ", group.name) +
         line("Group", members) + line("ListName", group.name) +
         line("Description", group.description) + line("ListOwner", "");
}

}  // namespace client
