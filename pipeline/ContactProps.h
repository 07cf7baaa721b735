#pragma once

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "platform/CString.h"

namespace ews {
class Contact;
}

// Sets what the member "contact" of ItemProps.json says of a contact, above what its tagged fields
// set; docs/protocol.md has its members. A wrong value adds a line to arrNotes and changes nothing.
void ApplyContactProps(const nlohmann::json& objJson, ews::Contact& objContact,
                       std::vector<CString>& arrNotes);
