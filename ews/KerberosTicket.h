#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ews {

// Whom the Kerberos ticket is for that the system's library finds here ("tom@CORP.EXAMPLE"). None:
// there is no ticket, it has run out, or libcurl knows nothing of Kerberos.
std::optional<std::string> KerberosTicketHolder();

// True if that holder is the user of a login, which is written tom@example.com, CORP\tom or tom;
// in any case. A realm need not be named after the domain of its addresses and is not looked at.
bool IsTicketOf(std::string_view strHolder, std::string_view strLogin);

}  // namespace ews
