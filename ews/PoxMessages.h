#pragma once

#include <string>
#include <string_view>

#include "platform/CString.h"

// The two messages of autodiscovery in plain XML: the question for a mail address, and its answer.
namespace ews {

struct PoxAnswer {
  enum class Kind { kSettings, kRedirectAddress, kRedirectUrl, kError };
  Kind eKind = Kind::kError;
  std::string strValue;  // endpoint, mail address, URL, or the server's text
  bool bBroken = false;  // an answer of this kind, and not whole
};

// Never throws: what is no answer of this kind is an error with a text of our own.
PoxAnswer ReadPoxAnswer(std::string_view strXml);
std::string WritePoxRequest(const CString& strAddress);  // throws as SoapWriter does

}  // namespace ews
