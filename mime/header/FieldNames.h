#pragma once

#include <cstdint>
#include <string_view>

namespace mail {

// What the name of a field says about the treatment of its value.
enum FieldTraits : std::uint8_t {
  kPlainField = 0,
  kAddressField = 1,
  kAttributeField = 2,  // written attribute by attribute
  kTabsToBlanks = 4,
  kNeverFolded = 8,
  kNeverEncoded = 16,
  kIsContentType = 32,
  kIsLocation = 64,  // holds a URL, whose "=" make no attributes
};

// A set of FieldTraits. Any case; kPlainField for a name that is none of the table's.
std::uint8_t fieldTraits(std::string_view strName);

// Whether the white space of such a field is shrunk in a mail that an e-mail object reads: trace
// fields, whose folding differs from relay to relay.
bool isTraceField(std::string_view strName);

}  // namespace mail
