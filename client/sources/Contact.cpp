#include "client/sources/Contact.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <unordered_map>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/sources/CalendarZone.h"
#include "client/sources/LineDecoding.h"
#include "client/sources/Names.h"

namespace client {
namespace {

constexpr std::size_t kMostEmails = 3;
constexpr std::size_t kMostIms = 3;
constexpr int kFirstYear = 1601;           // of Exchange's calendar
constexpr std::size_t kLongestTold = 100;  // bytes of a value in a list of what is left

// Texts that are taken as they stand. Several properties may fill one member: the first does.
struct TextRow {
  const char* property;
  const char* member;
};
constexpr std::array kTexts = std::to_array<TextRow>({
    {"FN", "displayName"},
    {"X-EVOLUTION-FILE-AS", "fileAs"},
    {"NICKNAME", "nickname"},
    {"TITLE", "jobTitle"},
    {"ROLE", "profession"},
    {"X-EVOLUTION-SPOUSE", "spouse"},
    {"X-SPOUSE", "spouse"},
    {"X-KADDRESSBOOK-X-SPOUSESNAME", "spouse"},
    {"X-EVOLUTION-MANAGER", "manager"},
    {"X-MANAGER", "manager"},
    {"X-KADDRESSBOOK-X-MANAGERSNAME", "manager"},
    {"X-EVOLUTION-ASSISTANT", "assistant"},
    {"X-ASSISTANT", "assistant"},
    {"X-KADDRESSBOOK-X-ASSISTANTSNAME", "assistant"},
    {"X-KADDRESSBOOK-X-OFFICE", "office"},
});

// What says nothing of the person, or is read elsewhere.
constexpr std::array kSilent = std::to_array<std::string_view>({"VERSION",
                                                                "PRODID",
                                                                "UID",
                                                                "REV",
                                                                "KIND",
                                                                "PROFILE",
                                                                "NAME",
                                                                "SOURCE",
                                                                "CLIENTPIDMAP",
                                                                "SORT-STRING",
                                                                "LABEL",
                                                                "CLASS",
                                                                "X-ABLABEL",
                                                                "X-ABADR",
                                                                "X-ABUID",
                                                                "X-ABSHOWAS",
                                                                "X-ADDRESSBOOKSERVER-KIND",
                                                                "X-APPLE-OMIT-YEAR",
                                                                "X-IMAGETYPE",
                                                                "X-IMAGEHASH",
                                                                "X-SHARED-PHOTO-DISPLAY-PREF",
                                                                "X-EVOLUTION-WEBDAV-ETAG",
                                                                "X-EVOLUTION-WEBDAV-HREF",
                                                                "X-MOZILLA-HTML",
                                                                "X-MS-CARDPICTURE",
                                                                "X-MS-OL-DESIGN",
                                                                "LANGUAGE",
                                                                "MAILER",
                                                                "X-MS-OL-DEFAULT-POSTAL-ADDRESS"});

// What a group has, and what says that it is one.
constexpr std::array kOfGroup =
    std::to_array<std::string_view>({"FN", "N", "NOTE", "CATEGORIES", "X-EVOLUTION-LIST",
                                     "X-EVOLUTION-LIST-SHOW_ADDRESSES", "X-EVOLUTION-FILE-AS"});

// A number by the words of its types and label, all of which it must have: the kinds of Exchange
// that it may take, the first that is free.
using Kinds = std::array<const char*, 4>;
struct PhoneRow {
  std::array<std::string_view, 2> words;
  Kinds kinds;
};
constexpr std::array kPhones = std::to_array<PhoneRow>({
    {{"FAX", "HOME"}, {"HomeFax", "OtherFax"}},
    {{"FAX", "WORK"}, {"BusinessFax", "OtherFax"}},
    {{"FAX", ""}, {"OtherFax", "BusinessFax", "HomeFax"}},
    {{"HOMEFAX", ""}, {"HomeFax", "OtherFax"}},
    {{"WORKFAX", ""}, {"BusinessFax", "OtherFax"}},
    {{"OTHERFAX", ""}, {"OtherFax"}},
    {{"ASSISTANT", ""}, {"AssistantPhone"}},
    {{"X-EVOLUTION-ASSISTANT", ""}, {"AssistantPhone"}},
    {{"CALLBACK", ""}, {"Callback"}},
    {{"X-EVOLUTION-CALLBACK", ""}, {"Callback"}},
    {{"RADIO", ""}, {"RadioPhone"}},
    {{"X-EVOLUTION-RADIO", ""}, {"RadioPhone"}},
    {{"TELEX", ""}, {"Telex"}},
    {{"TLX", ""}, {"Telex"}},
    {{"X-EVOLUTION-TELEX", ""}, {"Telex"}},
    {{"TTYTDD", ""}, {"TtyTddPhone"}},
    {{"TTY-TDD", ""}, {"TtyTddPhone"}},
    {{"TEXTPHONE", ""}, {"TtyTddPhone"}},
    {{"X-EVOLUTION-TTYTDD", ""}, {"TtyTddPhone"}},
    {{"COMPANY", ""}, {"CompanyMainPhone"}},
    {{"X-EVOLUTION-COMPANY", ""}, {"CompanyMainPhone"}},
    {{"CELL", ""}, {"MobilePhone", "CarPhone", "OtherTelephone"}},
    {{"MOBILE", ""}, {"MobilePhone", "CarPhone", "OtherTelephone"}},
    {{"IPHONE", ""}, {"MobilePhone", "CarPhone", "OtherTelephone"}},
    {{"PAGER", ""}, {"Pager"}},
    {{"CAR", ""}, {"CarPhone"}},
    {{"ISDN", ""}, {"Isdn"}},
    {{"MAIN", ""}, {"PrimaryPhone"}},
    {{"WORK", ""}, {"BusinessPhone", "BusinessPhone2", "CompanyMainPhone"}},
    {{"HOME", ""}, {"HomePhone", "HomePhone2"}},
    {{"", ""}, {"OtherTelephone", "PrimaryPhone"}},
});

// Names under which other programs list what "ims" holds.
constexpr std::array kIms = std::to_array<std::string_view>(
    {"IMPP", "X-AIM", "X-ICQ", "X-MSN", "X-YAHOO", "X-JABBER", "X-SKYPE", "X-SKYPE-USERNAME",
     "X-GOOGLE-TALK", "X-GADUGADU", "X-GROUPWISE", "X-TWITTER", "X-MS-IMADDRESS", "X-MATRIX"});

bool In(std::span<const std::string_view> names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string TextOf(const ContentLine& property) {
  return std::string(mail::trimmed(UnescapedText(property.value)));
}

// The words of a property's types and of its label.
bool HasWord(const ContentLine& property, const std::string& label, std::string_view word) {
  return word.empty() || property.Has("TYPE", word) || label == word;
}

// What is the person's favourite comes first: TYPE=pref, or PREF=1 to 100.
int Rank(const ContentLine& property) {
  int rank = 101;
  const std::string_view text = property.Value("PREF");
  std::from_chars(text.data(), text.data() + text.size(), rank);
  return property.Has("TYPE", "PREF") ? 0 : rank;
}

std::string Joined(const std::vector<std::string>& parts, std::string_view between,
                   std::size_t from = 0) {
  std::string text;
  for (std::size_t i = from; i < parts.size(); ++i) {
    if (parts[i].empty()) continue;
    if (!text.empty()) text += between;
    text += parts[i];
  }
  return text;
}

std::string Part(const std::vector<std::string>& parts, std::size_t index) {
  return index < parts.size() ? std::string(mail::trimmed(parts[index])) : std::string();
}

// "1980-03-05" of 19800305, 1980-03-05T00:00:00Z, --0305 and --03-05; empty for anything else, and
// for years that a mailbox does not have.
std::string DateOf(const ContentLine& property) {
  std::string text(mail::trimmed(property.value));
  text.resize(std::min(text.find_first_of("T "), text.size()));
  const bool noYear = text.starts_with("--");
  std::string digits;
  for (char c : text) {
    if (c >= '0' && c <= '9')
      digits += c;
    else if (c != '-' && c != '/')
      return {};
  }
  if (noYear) digits.insert(0, "1604");
  if (digits.size() != 8) return {};
  const int month = std::stoi(digits.substr(4, 2));
  const int day = std::stoi(digits.substr(6, 2));
  const CivilTime date{std::stoi(digits.substr(0, 4)), month, day, 0, 0, 0};
  return date.IsValid() && date.year >= kFirstYear ? date.Date() : std::string();
}

bool IsPicture(std::string_view bytes) {
  static constexpr std::array<std::string_view, 4> kBegin = {"\xFF\xD8\xFF", "\x89PNG\r\n", "GIF8",
                                                             "BM"};
  return std::any_of(kBegin.begin(), kBegin.end(),
                     [&](std::string_view begin) { return bytes.starts_with(begin); });
}

void AddCategories(const ContentLine& property, std::vector<std::string>& categories) {
  for (std::string& category : SplitValue(property.value, ',')) {
    category = mail::trimmed(category);
    if (!category.empty()) categories.push_back(std::move(category));
  }
}

std::string Told(std::string_view value) {
  return std::string(CutAtCharacter(value, kLongestTold));
}

// Takes a card apart, property by property.
class CardReader {
 public:
  explicit CardReader(const VCard& card) : m_card(card) {}

  Contact Read() {
    std::vector<const ContentLine*> properties;
    for (const ContentLine& property : m_card.properties) properties.push_back(&property);
    std::stable_sort(properties.begin(), properties.end(),
                     [](const auto* a, const auto* b) { return Rank(*a) < Rank(*b); });
    for (const ContentLine* property : properties) {
      if (!mail::trimmed(property->value).empty()) Take(*property);
    }
    NameIt();
    return std::move(m_contact);
  }

 private:
  void Leave(std::string_view what, std::string_view value) {
    m_contact.left.push_back(fmt::format("{} {}", what, CutAtCharacter(value, kLongestTold)));
  }

  bool SetText(const char* member, std::string value) {
    if (value.empty() || m_contact.Find(member)) return value.empty();
    m_contact.texts.push_back({member, std::move(value)});
    return true;
  }

  void Take(const ContentLine& property) {
    const std::string& name = property.name;
    if (name == "N") return TakeName(property);
    if (name == "ORG") return TakeOrganization(property);
    if (name == "TEL") return TakePhone(property);
    if (name == "EMAIL") return TakeEmail(property);
    if (name == "ADR") return TakeAddress(property);
    if (name == "URL") return TakePage(property);
    if (name == "NOTE") return TakeNote(property);
    if (name == "PHOTO") return TakePhoto(property);
    if (name == "CATEGORIES") return AddCategories(property, m_contact.categories);
    if (name == "BDAY") return TakeDate(property, m_contact.birthday);
    if (name == "ANNIVERSARY" || name == "X-ANNIVERSARY" || name == "X-EVOLUTION-ANNIVERSARY" ||
        name == "X-KADDRESSBOOK-X-ANNIVERSARY") {
      return TakeDate(property, m_contact.anniversary);
    }
    if (name == "X-ABDATE") return TakeNamedDate(property);
    if (name == "RELATED" || name == "X-ABRELATEDNAMES") return TakeRelative(property);
    if (name == "CLASS") m_contact.isPrivate = UpperAscii(TextOf(property)) != "PUBLIC";
    if (In(kIms, name)) return TakeIm(property);
    TakeOther(property);
  }

  void TakeOther(const ContentLine& property) {
    for (const TextRow& row : kTexts) {
      if (row.property != property.name) continue;
      if (!SetText(row.member, TextOf(property))) Leave(property.name, TextOf(property));
      return;
    }
    if (In(kSilent, property.name)) return;
    Leave(property.name, HoldsBytes(property) ? std::string() : TextOf(property));
  }

  void TakeName(const ContentLine& property) {
    static constexpr std::array<const char*, 5> kParts = {"surname", "givenName", "middleName",
                                                          "prefix", "suffix"};
    const std::vector<std::string> parts = SplitValue(property.value, ';');
    for (std::size_t i = 0; i < kParts.size(); ++i) SetText(kParts[i], Part(parts, i));
  }

  void TakeOrganization(const ContentLine& property) {
    const std::vector<std::string> parts = SplitValue(property.value, ';');
    if (!SetText("company", Part(parts, 0))) return Leave("ORG", Joined(parts, ", "));
    SetText("department", Joined(parts, ", ", 1));
  }

  bool Place(const PhoneRow& row, const std::string& number) {
    for (const char* kind : row.kinds) {
      if (!kind) break;
      const bool taken = std::any_of(
          m_contact.phones.begin(), m_contact.phones.end(),
          [&](const Contact::Phone& phone) { return phone.kind == std::string_view(kind); });
      if (taken) continue;
      m_contact.phones.push_back({kind, number});
      return true;
    }
    return false;
  }

  void TakePhone(const ContentLine& property) {
    std::string number = TextOf(property);
    if (UpperAscii(number.substr(0, 4)) == "TEL:") number.erase(0, 4);
    const std::string label = UpperAscii(m_card.LabelOf(property));
    for (const PhoneRow& row : kPhones) {
      const bool fits =
          HasWord(property, label, row.words[0]) && HasWord(property, label, row.words[1]);
      if (!fits) continue;
      if (Place(row, number) || Place(kPhones.back(), number)) return;
      break;
    }
    Leave("the number", number);
  }

  void TakeEmail(const ContentLine& property) {
    std::string address = TextOf(property);
    if (UpperAscii(address.substr(0, 7)) == "MAILTO:") address.erase(0, 7);
    if (m_contact.emails.size() == kMostEmails) return Leave("the address", address);
    m_contact.emails.push_back({address, ""});
  }

  void TakeAddress(const ContentLine& property) {
    const std::vector<std::string> parts = SplitValue(property.value, ';');
    Contact::Address address{nullptr,       "", Part(parts, 3), Part(parts, 4), Part(parts, 5),
                             Part(parts, 6)};
    // Post office box and extension have no field of their own.
    address.street = Joined({Part(parts, 2), Part(parts, 1), Part(parts, 0)}, "\n");
    if (address.country.empty()) address.country = m_card.CountryOf(property);
    const std::string whole = Joined(parts, ", ");
    if (whole.empty()) return;
    const bool home = property.Has("TYPE", "HOME");
    const bool work = property.Has("TYPE", "WORK");
    for (const char* kind : {home ? "Home" : work ? "Business" : "Other", "Other"}) {
      const bool taken = std::any_of(
          m_contact.addresses.begin(), m_contact.addresses.end(),
          [&](const Contact::Address& other) { return other.kind == std::string_view(kind); });
      if (taken) continue;
      address.kind = kind;
      m_contact.addresses.push_back(std::move(address));
      return;
    }
    Leave("the address", whole);
  }

  void TakePage(const ContentLine& property) {
    const std::string page = TextOf(property);
    const std::string label = UpperAscii(m_card.LabelOf(property));
    const bool work = HasWord(property, label, "WORK");
    const bool taken = SetText(work ? "businessHomePage" : "personalHomePage", page) ||
                       SetText(work ? "personalHomePage" : "businessHomePage", page);
    if (!taken) Leave("the page", page);
  }

  void TakeNote(const ContentLine& property) {
    if (!m_contact.note.empty()) m_contact.note += "\n\n";
    m_contact.note += TextOf(property);
  }

  void TakePhoto(const ContentLine& property) {
    if (!HoldsBytes(property)) return Leave("the photo, which is only named:", property.value);
    if (!IsPicture(property.value)) return Leave("the photo,", "which is no picture");
    if (!m_contact.photo.empty()) return Leave("a second", "photo");
    m_contact.photo = property.value;
  }

  void TakeDate(const ContentLine& property, std::string& date) {
    std::string text = DateOf(property);
    if (text.empty() || !date.empty()) return Leave(property.name, property.value);
    date = std::move(text);
  }

  void TakeNamedDate(const ContentLine& property) {
    const std::string label = m_card.LabelOf(property);
    if (UpperAscii(label) == "ANNIVERSARY") return TakeDate(property, m_contact.anniversary);
    Leave(label.empty() ? "the date" : label, property.value);
  }

  void TakeRelative(const ContentLine& property) {
    static constexpr std::array<std::string_view, 3> kMembers = {"SPOUSE", "ASSISTANT", "MANAGER"};
    static constexpr std::array<const char*, 3> kNames = {"spouse", "assistant", "manager"};
    const std::string label = UpperAscii(m_card.LabelOf(property));
    if (HasWord(property, label, "CHILD")) return m_contact.children.push_back(TextOf(property));
    for (std::size_t i = 0; i < kMembers.size(); ++i) {
      if (HasWord(property, label, kMembers[i]) && SetText(kNames[i], TextOf(property))) return;
    }
    Leave(label.empty() ? "the relative" : label, TextOf(property));
  }

  void TakeIm(const ContentLine& property) {
    const std::string address = TextOf(property);
    if (std::find(m_contact.ims.begin(), m_contact.ims.end(), address) != m_contact.ims.end()) {
      return;
    }
    if (m_contact.ims.size() == kMostIms) return Leave("the messenger", address);
    m_contact.ims.push_back(address);
  }

  // A person has a name in every list: what the card has best.
  void NameIt() {
    const auto text = [&](const char* member) {
      const std::string* found = m_contact.Find(member);
      return found ? *found : std::string();
    };
    const std::string whole = Joined({text("givenName"), text("middleName"), text("surname")}, " ");
    for (const std::string& name :
         {whole, text("nickname"), text("company"),
          m_contact.emails.empty() ? std::string() : m_contact.emails[0].address}) {
      SetText("displayName", name);
    }
    SetText("fileAs", Joined({text("surname"), text("givenName")}, ", "));
    SetText("fileAs", text("displayName"));
    for (Contact::Email& email : m_contact.emails) email.name = text("displayName");
  }

  const VCard& m_card;
  Contact m_contact;
};

}  // namespace

const std::string* Contact::Find(std::string_view member) const {
  for (const Text& text : texts) {
    if (text.member == member) return &text.value;
  }
  return nullptr;
}

Contact ContactOf(const VCard& card) { return CardReader(card).Read(); }

bool IsMember(const ContentLine& property) {
  return property.name == "MEMBER" || property.name == "X-ADDRESSBOOKSERVER-MEMBER";
}

std::string MemberUid(std::string_view value) {
  std::string uid = UpperAscii(mail::trimmed(value));
  for (const std::string_view prefix : {"URN:UUID:", "UUID:", "URN:"}) {
    if (uid.starts_with(prefix)) return uid.substr(prefix.size());
  }
  return uid;
}

ContactGroup ContactGroupOf(const VCard& card, const std::vector<VCard>& others) {
  std::unordered_map<std::string, const VCard*> cards;
  for (const VCard& other : others) cards.emplace(MemberUid(other.Text("UID")), &other);
  ContactGroup group;
  group.name = card.Text("FN");
  if (group.name.empty()) group.name = Part(SplitValue(card.Text("N"), ';'), 0);
  group.description = card.Text("NOTE");
  const bool list = card.First("X-EVOLUTION-LIST") != nullptr;
  for (const ContentLine& property : card.properties) {
    const std::string value = TextOf(property);
    if (list && property.name == "EMAIL") {
      group.members.push_back({value, ""});
      continue;
    }
    if (property.name == "CATEGORIES") AddCategories(property, group.categories);
    if (!IsMember(property)) {
      if (value.empty() || In(kOfGroup, property.name) || In(kSilent, property.name)) continue;
      group.left.push_back(property.name + (HoldsBytes(property) ? "" : " " + Told(value)));
      continue;
    }
    if (UpperAscii(value.substr(0, 7)) == "MAILTO:") {
      group.members.push_back({value.substr(7), ""});
    } else if (const auto found = cards.find(MemberUid(value));
               found != cards.end() && !found->second->Text("EMAIL").empty()) {
      group.members.push_back({found->second->Text("EMAIL"), found->second->Text("FN")});
    } else {
      group.isReduced = true;
      group.left.push_back(found == cards.end() ? "the member " + value + ", whose card is missing"
                                                : "the member " + found->second->Text("FN") +
                                                      ", whose card has no address");
    }
  }
  return group;
}

}  // namespace client
