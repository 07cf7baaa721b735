#pragma once

#include <span>
#include <string_view>

#include "ews/Contact.h"

// One label of a contact's tagged fields, and what its value sets.
struct ContactLabel {
  std::u16string_view strLabel;
  void (*fnSet)(ews::Contact& objContact, const CString& strValue);
};

// In the order in which labels are compared, each with its own spelling; the first that is equal,
// case included, counts.
std::span<const ContactLabel> ContactLabels();
// Null for a label that is not known.
const ContactLabel* FindContactLabel(std::u16string_view strLabel);
