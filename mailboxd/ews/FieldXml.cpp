#include "mailboxd/ews/FieldXml.h"

#include <string_view>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsResponse.h"

namespace mailbox {
namespace {

std::string TagOf(pugi::xml_node element) { return "t:" + std::string(LocalName(element)); }

void OpenTag(pugi::xml_node element, std::string& xml) {
  xml += "<" + TagOf(element);
  for (const pugi::xml_attribute attribute : element.attributes()) {
    const std::string_view name(attribute.name());
    if (name == "xmlns" || name.find(':') != std::string_view::npos) continue;
    xml += XmlAttribute(name, attribute.value());
  }
  xml += ">";
}

}  // namespace

std::string FieldXml(pugi::xml_node element) {
  std::string xml;
  OpenTag(element, xml);
  pugi::xml_node node = element;
  for (;;) {
    const pugi::xml_node inner = FirstElement(node);
    if (inner) {
      OpenTag(inner, xml);
      node = inner;
      continue;
    }
    xml += EscapeXml(Text(node));
    // Out of all that end here, on to the next.
    while (node != element && !NextElement(node)) {
      xml += "</" + TagOf(node) + ">";
      node = node.parent();
    }
    xml += "</" + TagOf(node) + ">";
    if (node == element) return xml;
    node = NextElement(node);
    OpenTag(node, xml);
  }
}

}  // namespace mailbox
