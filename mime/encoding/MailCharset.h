#pragma once

#include <string_view>

#include "charset/CkCharset.h"

// Charsets as mails name them. The library's lookup (CharsetNames.h) knows the registered names and
// guesses at none. Mailers write many more: "iso8859-1", "cp932", "win-1251". Who reads mail asks
// here, so that a subject, a body and a file name under one label are read alike. What neither the
// lookup nor the table here has stays unknown. Nothing throws.
namespace mail::mail_charset {

// The code page of a charset's name; 0 for a name that is unknown.
int pageOf(std::string_view strName);

// _ckCharset::setByName for a name in a mail: one of our table becomes the standard name of its
// page. False, and the charset clear, for a name that is unknown.
bool setByName(_ckCharset& objCharset, std::string_view strName);

}  // namespace mail::mail_charset
