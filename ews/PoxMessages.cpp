#include "ews/PoxMessages.h"

#include <sstream>

#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"
#include "ews/XmlNames.h"

namespace ews {
namespace {

std::string TextOf(pugi::xml_node objParent, std::string_view strName) {
  std::string_view strText = Child(objParent, strName).child_value();
  constexpr std::string_view kBlanks = " \t\r\n";
  const size_t nFirst = strText.find_first_not_of(kBlanks);
  if (nFirst == std::string_view::npos) return {};
  return std::string(strText.substr(nFirst, strText.find_last_not_of(kBlanks) - nFirst + 1));
}

// The endpoint for clients outside is preferred to the one inside.
std::string EndpointOf(pugi::xml_node objAccount) {
  for (const std::string_view strType : {"EXPR", "EXCH", ""}) {
    for (const pugi::xml_node objProtocol : objAccount.children()) {
      if (LocalName(objProtocol) != "Protocol") continue;
      if (!strType.empty() && TextOf(objProtocol, "Type") != strType) continue;
      for (const std::string_view strElement : {"EwsUrl", "ASUrl"}) {
        std::string strUrl = TextOf(objProtocol, strElement);
        if (!strUrl.empty()) return strUrl;
      }
    }
  }
  return {};
}

}  // namespace

PoxAnswer ReadPoxAnswer(std::string_view strXml) {
  pugi::xml_document objDocument;
  if (!LoadXml(objDocument, strXml)) {
    return {PoxAnswer::Kind::kNothing, "gives no autodiscovery answer.",
            strXml.find("<Autodiscover") != std::string_view::npos};
  }
  const pugi::xml_node objResponse = Child(Child(objDocument, "Autodiscover"), "Response");
  if (const pugi::xml_node objError = Child(objResponse, "Error")) {
    return {PoxAnswer::Kind::kError, "answered: " + TextOf(objError, "Message") + " (" +
                                         TextOf(objError, "ErrorCode") + ")."};
  }
  const pugi::xml_node objAccount = Child(objResponse, "Account");
  const std::string strAction = TextOf(objAccount, "Action");
  PoxAnswer objAnswer;
  if (strAction == "settings") {
    objAnswer = {PoxAnswer::Kind::kSettings, EndpointOf(objAccount)};
  } else if (strAction == "redirectAddr") {
    objAnswer = {PoxAnswer::Kind::kRedirectAddress, TextOf(objAccount, "RedirectAddr")};
  } else if (strAction == "redirectUrl") {
    objAnswer = {PoxAnswer::Kind::kRedirectUrl, TextOf(objAccount, "RedirectUrl")};
  }
  if (objAnswer.strValue.empty()) return {PoxAnswer::Kind::kNothing, "names no endpoint."};
  return objAnswer;
}

std::string WritePoxRequest(const CString& strAddress) {
  if (!IsXmlText(strAddress)) {
    throw ServiceException("The invalid value '" + strAddress.ToUtf8() +
                           "' was specified for the 'EMailAddress' element.");
  }
  constexpr const char* kSchema = "http://schemas.microsoft.com/exchange/autodiscover/outlook/";
  pugi::xml_document objDocument;
  pugi::xml_node objRoot = objDocument.append_child("Autodiscover");
  objRoot.append_attribute("xmlns").set_value(
      (kSchema + std::string("requestschema/2006")).c_str());
  pugi::xml_node objRequest = objRoot.append_child("Request");
  objRequest.append_child("EMailAddress").text().set(strAddress.ToUtf8().c_str());
  objRequest.append_child("AcceptableResponseSchema")
      .text()
      .set((kSchema + std::string("responseschema/2006a")).c_str());
  std::ostringstream objStream;
  objDocument.save(objStream, "", pugi::format_raw, pugi::encoding_utf8);
  return objStream.str();
}

}  // namespace ews
