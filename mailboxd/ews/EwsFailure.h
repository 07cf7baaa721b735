#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace mailbox {

// Fails the whole request: a SOAP fault, HTTP 500. All texts are UTF-8, unescaped; messageXml is
// finished XML with the prefix t, or "".
struct SoapFault : std::exception {
  SoapFault(std::string_view faultCode, std::string_view text)
      : code(faultCode), faultText(text), message(text) {}
  const char* what() const noexcept override { return faultText.c_str(); }

  std::string code;
  std::string faultText;
  std::string message;
  std::string messageXml;
};

// Fails one part of a request, which has a response message of its own.
struct OperationError : std::exception {
  OperationError(std::string_view responseCode, std::string_view messageText,
                 std::string_view xml = "")
      : code(responseCode), text(messageText), messageXml(xml) {}
  const char* what() const noexcept override { return text.c_str(); }

  std::string code;
  std::string text;
  std::string messageXml;
};

// The error that a response code stands for, with the text that goes with it.
OperationError ErrorOf(std::string_view responseCode);
// The same as a fault of the whole request.
SoapFault FaultOf(std::string_view responseCode);
// True for a code whose text is known.
bool IsKnownCode(std::string_view responseCode);

}  // namespace mailbox
