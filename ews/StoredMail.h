#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ews/ExtendedProperty.h"
#include "platform/CString.h"

namespace ews {

class ExchangeService;

// What is to become of a mail that the server has; what is not set stays as it is.
struct MailChanges {
  struct Property {
    ExtendedPropertyDefinition objDefinition;  // of an integer
    std::optional<std::int32_t> nValue;        // nothing: the mail is to lose it
  };
  std::optional<bool> bRead;
  std::optional<std::vector<CString>> arrCategories;
  std::vector<Property> arrProperties;

  bool IsEmpty() const { return !bRead && !arrCategories && arrProperties.empty(); }
};

// Sends the changes, over whatever others changed meanwhile; nobody is told that the mail was read.
// Nothing is sent where there are none. Throws ServiceException.
void UpdateMail(ExchangeService& objService, const CString& strId, const MailChanges& objChanges);

// Nothing happens to a mail that is not there any more. Throws ServiceException.
void MoveToDeletedItems(ExchangeService& objService, const CString& strId);

}  // namespace ews
