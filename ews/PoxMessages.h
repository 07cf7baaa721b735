#pragma once

#include <string>
#include <string_view>

#include "platform/CString.h"

// The two messages of autodiscovery in plain XML: the question for a mail address, and its answer.
namespace ews {

struct PoxAnswer {
  // kNothing: not what the protocol knows, as from a web server that answers for any path.
  enum class Kind { kSettings, kRedirectAddress, kRedirectUrl, kError, kNothing };
  Kind eKind = Kind::kNothing;
  // Endpoint, mail address or URL; for the other two the rest of a sentence that begins with the
  // server's name.
  std::string strValue;
  bool bBroken = false;  // an answer of this kind, and not whole
};

// Never throws.
PoxAnswer ReadPoxAnswer(std::string_view strXml);
std::string WritePoxRequest(const CString& strAddress);  // throws as SoapWriter does

}  // namespace ews
