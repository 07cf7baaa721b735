#include "client/sources/VCard.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/sources/Contact.h"
#include "platform/Unicode.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
using client_test::Problems;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// "member=value" of all that a contact has, what is left behind "-".
std::vector<std::string> Dump(const Contact& contact) {
  std::vector<std::string> lines;
  for (const auto& text : contact.texts) {
    if (text.member != std::string_view("fileAs"))
      lines.push_back(text.member + ("=" + text.value));
  }
  for (const auto& email : contact.emails) lines.push_back("email=" + email.address);
  for (const auto& phone : contact.phones) lines.push_back(phone.kind + ("=" + phone.number));
  for (const auto& address : contact.addresses) {
    lines.push_back(std::string(address.kind) + "=" + address.street + "|" + address.city + "|" +
                    address.state + "|" + address.postalCode + "|" + address.country);
  }
  for (const auto& im : contact.ims) lines.push_back("im=" + im);
  for (const auto& category : contact.categories) lines.push_back("category=" + category);
  for (const auto& child : contact.children) lines.push_back("child=" + child);
  if (!contact.birthday.empty()) lines.push_back("birthday=" + contact.birthday);
  if (!contact.anniversary.empty()) lines.push_back("anniversary=" + contact.anniversary);
  if (!contact.note.empty()) lines.push_back("note=" + contact.note);
  if (!contact.photo.empty()) lines.push_back("photo=" + std::to_string(contact.photo.size()));
  for (const auto& left : contact.left) lines.push_back("-" + left);
  return lines;
}

std::vector<std::string> Dump(const std::string& lines) {
  std::string text = "BEGIN:VCARD\n" + lines + "END:VCARD\n";
  std::vector<std::string> unix = Dump(ContactOf(ParseVCard(text)));
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
    text.insert(at, "\r");
  }
  EXPECT_EQ(Dump(ContactOf(ParseVCard(text))), unix);
  return unix;
}

TEST(VCard, TextIsReadAsEachVersionWritesIt) {
  // 2.1: soft line ends, charsets of single values, types without a name.
  EXPECT_THAT(Dump("VERSION:2.1\nN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;J=\n"
                   "=F6rg\nNOTE;QUOTED-PRINTABLE:at=\n the =\npier\nTEL;CELL;VOICE:+49 "
                   "1\nTEL;WORK;FAX:+49 2\n"
                   "ADR;HOME;ENCODING=QUOTED-PRINTABLE:;;Weg 1=0D=0AHinterhaus;Ulm;;89073;\n"
                   "LABEL;HOME:Weg 1\n"),
              ElementsAre("surname=Müller", "givenName=Jörg", "displayName=Jörg Müller",
                          "MobilePhone=+49 1", "BusinessFax=+49 2",
                          "Home=Weg 1\nHinterhaus|Ulm||89073|", "note=at the pier"));
  // Half a pair of UTF-16 is no character.
  const std::vector<std::string> half = Dump("VERSION:2.1\nNOTE;CHARSET=UTF-7:a+2AA-b\n");
  ASSERT_EQ(half.size(), 1u);
  EXPECT_TRUE(half[0].starts_with("note=a\uFFFD")) << half[0];
  EXPECT_TRUE(platform::IsValidUtf8(half[0]));
  // 3.0 with groups, labels and a fold inside of a character.
  EXPECT_THAT(Dump("VERSION:3.0\nFN:Gr\xC3\n \xBC\xC3\x9F\n\te\\, Ann\nORG:Dock\\; Co;Office;2nd\n"
                   "item1.TEL:+1 5\nitem1.X-ABLabel:_$!<Assistant>!$_\n"
                   "item2.ADR;type=WORK;type=pref:;;Kai 3;Bremen;;28195;\nitem2.X-ABADR:de\n"
                   "item3.X-ABDATE:20100514\nitem3.X-ABLabel:_$!<Anniversary>!$_\n"
                   "BDAY;X-APPLE-OMIT-YEAR=1604:1604-02-29\nNOTE:one\\ntwo\n"),
              ElementsAre("displayName=Grüße, Ann", "company=Dock; Co", "department=Office, 2nd",
                          "AssistantPhone=+1 5", "Business=Kai 3|Bremen||28195|DE",
                          "birthday=1604-02-29", "anniversary=2010-05-14", "note=one\ntwo"));
  // 4.0: values that are addresses, quoted lists, escapes of parameters.
  EXPECT_THAT(Dump("VERSION:4.0\nFN:Bo\nTEL;VALUE=uri;TYPE=\"voice,home\":tel:+1-2\n"
                   "EMAIL;PREF=2:b@x.example\nEMAIL;PREF=1:a@x.example\nBDAY:--0305\n"
                   "IMPP:xmpp:bo@x.example\nRELATED;TYPE=child;VALUE=text:Kim\n"
                   "CATEGORIES:Crew,Night shift\nGENDER:F\n"),
              ElementsAre("displayName=Bo", "email=a@x.example", "email=b@x.example",
                          "HomePhone=+1-2", "im=xmpp:bo@x.example", "category=Crew",
                          "category=Night shift", "child=Kim", "birthday=1604-03-05", "-GENDER F"));
  // Text that is encoded as files are, and bytes of no charset at all.
  EXPECT_THAT(Dump("FN;ENCODING=b:Q2Fm6Q==\nNOTE:data:,;base64,x\n"),
              ElementsAre("displayName=Café", "note=data:,;base64,x"));
  EXPECT_THAT(Dump("FN:Caf\xE9\n"), ElementsAre("displayName=Café"));
}

TEST(VCard, APhotoIsFoundHoweverItIsFolded) {
  const std::string jpeg = "\xFF\xD8\xFF\xE0 twelve";
  for (const char* photo : {"PHOTO;ENCODING=b;TYPE=JPEG:/9j/4CB0\n d2Vs\n dmU=\n",
                            "PHOTO;JPEG;BASE64:\n /9j/4CB0\n d2VsdmU=\n\n",
                            "PHOTO;ENCODING=BASE64;JPEG:/9j/4CB0\nd2VsdmU=\n\n",
                            "PHOTO:data:image/jpeg;base64\\,/9j/4CB0d2VsdmU=\n",
                            "PHOTO;VALUE=uri:data:image/jpeg;base64,/9j/4CB0\n  d2VsdmU=\n"}) {
    const Contact contact = ContactOf(
        ParseVCard(std::string("BEGIN:VCARD\nFN:A\n") + photo + "TITLE:Mate\nEND:VCARD\n"));
    EXPECT_EQ(contact.photo, jpeg) << photo;
    EXPECT_NE(contact.Find("jobTitle"), nullptr) << photo;
  }
  EXPECT_THAT(Dump("FN:A\nPHOTO;ENCODING=b:bm8gcGljdHVyZQ==\n"),
              ElementsAre("displayName=A", "-the photo, which is no picture"));
  EXPECT_THAT(
      Dump("FN:A\nPHOTO;VALUE=uri:https://x.example/a.jpg\n"),
      ElementsAre("displayName=A", "-the photo, which is only named: https://x.example/a.jpg"));
}

TEST(VCard, WhatThereIsNoPlaceForIsTold) {
  EXPECT_THAT(Dump("FN:A\nTEL;CELL:1\nTEL;CELL:2\nTEL;CELL:3\nTEL;CELL:4\nTEL;CELL:5\n"
                   "EMAIL:1@x\nEMAIL:2@x\nEMAIL:3@x\nEMAIL:4@x\nADR;HOME:;;a;;;;\n"
                   "ADR;HOME:;;b;;;;\nADR;HOME:;;c;;;;\nURL:p\nURL:q\nURL:r\nBDAY:soon\n"
                   "ANNIVERSARY:0001-06-07\nAGENT:\nBEGIN:VCARD\nFN:A. Gent\nEND:VCARD\n"),
              ElementsAre("displayName=A", "personalHomePage=p", "businessHomePage=q", "email=1@x",
                          "email=2@x", "email=3@x", "MobilePhone=1", "CarPhone=2",
                          "OtherTelephone=3", "PrimaryPhone=4", "Home=a||||", "Other=b||||",
                          "-the number 5", "-the address 4@x", "-the address c", "-the page r",
                          "-BDAY soon", "-ANNIVERSARY 0001-06-07", "-AGENT (a card of its own)"));
}

TEST(VcfFile, CardsAndGroupsAreItemsAndADamagedOneCostsItself) {
  const TemporaryFolder folder;
  folder.Write("a.vcf",
               "\xEF\xBB\xBF"
               "BEGIN:VCARD\nN:Bell;Ann\nAGENT:\nBEGIN:VCARD\nFN:X\nEND:VCARD\nUID:urn:uuid:1-a\n"
               "EMAIL:ann@x.example\nEND:VCARD\n"
               "BEGIN:VCARD\nFN:Cut off\nBEGIN:VCARD\nFN:Bo\nEND:VCARD\n"
               "BEGIN:VCARD\nFN:Bo\nEND:VCARD\nBEGIN:VCARD\nNOTE:nobody\nEND:VCARD\n");
  folder.Write("Crew/b.VCF",
               "BEGIN:VCARD\nFN:Watch\nKIND:group\nMEMBER:urn:uuid:2\nMEMBER:mailto:c@x.example\n"
               "MEMBER:urn:uuid:9\nEND:VCARD\n");
  folder.Write("Crew/c.vcf", "BEGIN:VCARD\nFN:Dee\nUID:2\nEMAIL:d@x.example\nEND:VCARD\n");
  folder.Write("contacts/All/d.vcf", "BEGIN:VCARD\nFN:Eve\nEND:VCARD\n");  // as an export has it
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_THAT(
      Items(plan),
      ElementsAre("Contacts\\|a.vcf: Ann Bell", "Contacts\\|a.vcf: Bo", "Contacts\\|a.vcf: Bo (2)",
                  "Contacts\\Crew\\|Crew/b.VCF: Watch", "Contacts\\Crew\\|Crew/c.vcf: Dee",
                  "Contacts\\All\\|contacts/All/d.vcf: Eve"));
  EXPECT_THAT(
      Problems(plan, folder.Path()),
      UnorderedElementsAre("a.vcf: Cut off: the card is cut off",
                           "a.vcf: card 5: a card without a name, an address and a number"));
  EXPECT_FALSE(plan.IsWhole());
  const Plan::Entry& group = plan.entries[3];
  EXPECT_EQ(group.item.type, TYPE_DIST_LIST);
  const std::string text = group.source->Read(group.item);
  std::vector<VCard> cards;
  for (const VCardExtent& extent : FindVCards(text)) {
    cards.push_back(ParseVCard(text.substr(extent.offset, extent.length)));
  }
  const ContactGroup list = ContactGroupOf(cards[0], {cards.begin() + 1, cards.end()});
  ASSERT_EQ(list.members.size(), 2u);
  EXPECT_EQ(list.members[0].address + list.members[0].name, "d@x.exampleDee");
  EXPECT_EQ(list.members[1].address, "c@x.example");
  EXPECT_THAT(list.left, ElementsAre("the member urn:uuid:9, whose card is missing"));
}

}  // namespace
}  // namespace client
