#include "mailboxd/ews/EwsRequest.h"

#include <algorithm>
#include <cstddef>

#include "mailboxd/ews/EwsFailure.h"
#include "mailboxd/ews/EwsSchema.h"
#include "platform/ZoneClock.h"

namespace mailbox {
namespace {

// A client names the same zone again and again.
bool IsZone(const std::string& name) {
  thread_local std::string lastKnown;
  if (name.empty()) return false;
  if (name == lastKnown) return true;
  if (!platform::ZoneClock::OfWindows(name)) return false;
  lastKnown = name;
  return true;
}

}  // namespace

EwsRequest::EwsRequest(std::string& body) {
  const size_t size = body.size();
  if (static_cast<size_t>(std::ranges::count(body, '<')) > kMostMarkup) {
    ThrowViolation("There is too much markup.", body, 0);
  }
  const pugi::xml_parse_result result = m_document.load_buffer_inplace(
      body.data(), size, pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_doctype);
  const std::string_view buffer(body.data(), size);
  if (!result) ThrowViolation(result.description(), buffer, result.offset);
  pugi::xml_node envelope;
  for (const pugi::xml_node node : m_document.children()) {
    // A document type is refused as a whole: nothing in it is ever needed.
    if (node.type() == pugi::node_doctype) {
      ThrowViolation("For security reasons DTD is prohibited in this XML document.", buffer, 0);
    }
    if (node.type() != pugi::node_element) continue;
    if (envelope) ThrowViolation("There are multiple root elements.", buffer, node.offset_debug());
    envelope = node;
  }
  CheckEnvelope(envelope, buffer);
  m_operation = FirstElement(Child(envelope, "Body"));
  const pugi::xml_node header = Child(envelope, "Header");
  const pugi::xml_node zone = Child(Child(header, "TimeZoneContext"), "TimeZoneDefinition");
  m_zone = Attribute(zone, "Id");
  // One that comes with rules may have any name.
  if (zone && !FirstElement(zone) && !IsZone(m_zone)) throw FaultOf("ErrorTimeZone");
  const pugi::xml_node sid = Child(Child(header, "ExchangeImpersonation"), "ConnectingSID");
  m_impersonated = Text(FirstElement(sid));
}

std::string_view EwsRequest::OperationName() const { return LocalName(m_operation); }

std::string_view LocalName(const char* qualifiedName) {
  const std::string_view name(qualifiedName);
  const size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view LocalName(pugi::xml_node node) { return LocalName(node.name()); }

pugi::xml_node FirstElement(pugi::xml_node node) {
  pugi::xml_node child = node.first_child();
  while (child && child.type() != pugi::node_element) child = child.next_sibling();
  return child;
}

pugi::xml_node NextElement(pugi::xml_node node) {
  do {
    node = node.next_sibling();
  } while (node && node.type() != pugi::node_element);
  return node;
}

pugi::xml_node Child(pugi::xml_node node, std::string_view name) {
  pugi::xml_node child = FirstElement(node);
  while (child && LocalName(child) != name) child = NextElement(child);
  return child;
}

std::string_view Text(pugi::xml_node node) { return node.child_value(); }

std::string_view ChildText(pugi::xml_node node, std::string_view name) {
  return Text(Child(node, name));
}

std::string_view Attribute(pugi::xml_node node, const char* name) {
  return node.attribute(name).value();
}

bool IsTrue(std::string_view text) { return text == "true" || text == "1"; }

}  // namespace mailbox
