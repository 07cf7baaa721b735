#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "client/run/ContactWriter.h"
#include "client/sources/Contact.h"
#include "platform/Unicode.h"

#include <nlohmann/json.hpp>

// Cards. Each lies inside of the text, behind the one before it, and what is made of it has places
// that are taken once and texts that are UTF-8; its descriptor has the lines that the engine
// counts.

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckContact(const client::Contact& contact) {
  Require(contact.emails.size() <= 3 && contact.ims.size() <= 3 && contact.phones.size() <= 19 &&
          contact.addresses.size() <= 3);
  for (std::size_t i = 0; i < contact.phones.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      Require(contact.phones[i].kind != std::string_view(contact.phones[j].kind));
    }
  }
  for (const auto& text : contact.texts) Require(!text.value.empty());
  Require(contact.birthday.empty() || contact.birthday.size() == 10);
  const std::string lines = client::ContactDescriptor(contact);
  Require(lines.starts_with("CONTACT\r\n\n\r\nFALSE\r\n\r\n\r\n\r\n\r\n"));
  (void)client::ContactProps(contact).dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::size_t end = 0;
  std::vector<client::VCard> cards;
  for (const client::VCardExtent& extent : client::FindVCards(text)) {
    Require(extent.offset >= end && extent.length <= size - extent.offset);
    end = extent.offset + extent.length;
    cards.push_back(client::ParseVCard(text.substr(extent.offset, extent.length)));
    CheckContact(client::ContactOf(cards.back()));
  }
  if (cards.empty()) return 0;
  client::ContactGroup group = client::ContactGroupOf(cards[0], cards);
  (void)client::GroupDescriptor(group, group.left);
  return 0;
}
