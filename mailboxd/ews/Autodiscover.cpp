#include "mailboxd/ews/Autodiscover.h"

#include <pugixml.hpp>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/store/Store.h"

namespace mailbox {
namespace {

constexpr std::string_view kBegin =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    "<Autodiscover"
    " xmlns=\"http://schemas.microsoft.com/exchange/autodiscover/responseschema/2006\">";

std::string Protocol(std::string_view type, const std::string& url) {
  return "<Protocol><Type>" + std::string(type) + "</Type><ASUrl>" + url + "</ASUrl><EwsUrl>" +
         url + "</EwsUrl><OOFUrl>" + url + "</OOFUrl></Protocol>";
}

std::string InvalidRequest() {
  const std::string time = UtcNow().substr(11, 8);
  return std::string(kBegin) + "<Response><Error Time=\"" + time +
         "\" Id=\"1\"><ErrorCode>600</ErrorCode><Message>Invalid Request</Message><DebugData/>"
         "</Error></Response></Autodiscover>";
}

}  // namespace

std::string AnswerAutodiscover(std::string& body, std::string_view ewsUrl) {
  pugi::xml_document document;
  constexpr unsigned kParse = pugi::parse_default | pugi::parse_doctype;
  const auto isType = [](pugi::xml_node node) { return node.type() == pugi::node_doctype; };
  constexpr size_t kLongest = 64 * 1024;
  if (body.size() > kLongest || !document.load_buffer_inplace(body.data(), body.size(), kParse) ||
      document.find_child(isType)) {  // nothing in one is ever needed
    return InvalidRequest();
  }
  const pugi::xml_node request = Child(Child(document, "Autodiscover"), "Request");
  const std::string address(ChildText(request, "EMailAddress"));
  if (address.empty()) return InvalidRequest();
  const std::string url = EscapeXml(ewsUrl);
  return std::string(kBegin) +
         "<Response xmlns=\"http://schemas.microsoft.com/exchange/autodiscover/outlook/"
         "responseschema/2006a\"><User><DisplayName>" +
         EscapeXml(address) + "</DisplayName><AutoDiscoverSMTPAddress>" + EscapeXml(address) +
         "</AutoDiscoverSMTPAddress></User><Account><AccountType>email</AccountType>"
         "<Action>settings</Action>" +
         Protocol("EXCH", url) + Protocol("EXPR", url) + "</Account></Response></Autodiscover>";
}

}  // namespace mailbox
