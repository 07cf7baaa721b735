#pragma once

#include <string>
#include <vector>

#include "client/sources/VCard.h"

namespace client {

// A person as a contact of Exchange holds one: what a card says, sorted into the places that there
// are. Texts are UTF-8.
struct Contact {
  struct Text {
    const char* member;  // as ItemProps.json calls it
    std::string value;
  };
  struct Phone {
    const char* kind;  // as the mailbox service calls it: "MobilePhone"
    std::string number;
  };
  struct Email {
    std::string address;
    std::string name;
  };
  struct Address {
    const char* kind;  // "Business", "Home" or "Other"
    std::string street, city, state, postalCode, country;
  };
  std::vector<Text> texts;  // one of each member; none of them is empty
  std::vector<Phone> phones;
  std::vector<Email> emails;  // three at most
  std::vector<Address> addresses;
  std::vector<std::string> ims;  // three at most
  std::vector<std::string> categories;
  std::vector<std::string> children;
  std::string birthday;     // 1980-03-05; empty where there is none
  std::string anniversary;  // likewise. A date without its year is in 1604.
  std::string note;         // lines end in LF
  std::string photo;        // its bytes
  bool isPrivate = false;
  std::vector<std::string> left;  // what there is no place for, for people

  const std::string* Find(std::string_view member) const;
};

Contact ContactOf(const VCard& card);

// A group of people.
struct ContactGroup {
  std::string name;
  std::string description;
  std::vector<Contact::Email> members;
  std::vector<std::string> categories;
  std::vector<std::string> left;
  bool isReduced = false;  // members are among it
};

// Members are named by address or by the UID of a card: those of `others` are looked at.
ContactGroup ContactGroupOf(const VCard& card, const std::vector<VCard>& others);

// The UID that a member's value names ("urn:uuid:…" and the like), in upper case.
std::string MemberUid(std::string_view value);
bool IsMember(const ContentLine& property);

}  // namespace client
