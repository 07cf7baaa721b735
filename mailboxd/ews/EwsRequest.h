#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace mailbox {

// Tags of one request: as a tree, each takes many times its bytes.
inline constexpr std::size_t kMostMarkup = 1'000'000;

// One SOAP request. It is parsed inside the buffer it came in, which must outlive it, so that the
// base64 text of a large message is never copied; what a client may send is checked against
// EwsSchema before anything is done.
class EwsRequest {
 public:
  // Takes the body apart in place. Throws SoapFault for what is no XML or not allowed.
  explicit EwsRequest(std::string& body);

  // The element in the SOAP body: "FindFolder", ….
  pugi::xml_node Operation() const { return m_operation; }
  std::string_view OperationName() const;
  // The mailbox to act for; "" without impersonation.
  const std::string& ImpersonatedAddress() const { return m_impersonated; }
  // The Windows name of the time zone that its dates are meant in; "" for none.
  const std::string& ZoneName() const { return m_zone; }

 private:
  pugi::xml_document m_document;
  pugi::xml_node m_operation;
  std::string m_impersonated;
  std::string m_zone;
};

// Names without their prefix; views into the request.
std::string_view LocalName(pugi::xml_node node);
std::string_view LocalName(const char* qualifiedName);
// The first child element of that local name, or an empty node.
pugi::xml_node Child(pugi::xml_node node, std::string_view name);
pugi::xml_node FirstElement(pugi::xml_node node);
pugi::xml_node NextElement(pugi::xml_node node);
// The text of the element: its first text node, "" without one.
std::string_view Text(pugi::xml_node node);
std::string_view ChildText(pugi::xml_node node, std::string_view name);
std::string_view Attribute(pugi::xml_node node, const char* name);
// xs:boolean; anything else is false.
bool IsTrue(std::string_view text);

}  // namespace mailbox
