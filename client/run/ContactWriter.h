#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/sources/Contact.h"

namespace client {

// The lines of a contact's descriptor, in UTF-8.
std::string ContactDescriptor(const Contact& contact);
// What ItemProps.json says of it beside its key: all that it has, for a descriptor has no label for
// some of it and no way to write other things.
nlohmann::json ContactProps(const Contact& contact);
// Writes the photo. Throws WriteError.
void WriteContactFiles(const std::string& workFolder, const Contact& contact);

// The lines of a group's descriptor. Members whose address cannot stand in a list are told in
// `left`.
std::string GroupDescriptor(const ContactGroup& group, std::vector<std::string>& left);

}  // namespace client
