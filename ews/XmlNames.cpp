#include "ews/XmlNames.h"

#include <algorithm>

namespace ews {

std::string_view LocalName(pugi::xml_node objNode) {
  const std::string_view strName = objNode.name();
  return strName.substr(strName.find(':') + 1);
}

pugi::xml_node Child(pugi::xml_node objParent, std::string_view strLocalName) {
  for (pugi::xml_node objChild = objParent.first_child(); objChild;
       objChild = objChild.next_sibling()) {
    if (objChild.type() == pugi::node_element && LocalName(objChild) == strLocalName) {
      return objChild;
    }
  }
  return {};
}

XmlText ParseXml(pugi::xml_document& objDocument, std::string_view strXml) {
  constexpr unsigned kOptions = pugi::parse_default | pugi::parse_ws_pcdata_single |
                                pugi::parse_doctype | pugi::parse_declaration;
  const auto CountOf = [&](char ch) {
    return static_cast<size_t>(std::count(strXml.begin(), strXml.end(), ch));
  };
  if (CountOf('<') > kMostTags || CountOf('=') > kMostAttributes) return XmlText::kTooMuchMarkup;
  if (!objDocument.load_buffer(strXml.data(), strXml.size(), kOptions)) return XmlText::kMalformed;
  for (const pugi::xml_node objChild : objDocument.children()) {
    if (objChild.type() == pugi::node_doctype) return XmlText::kDocumentType;
  }
  return XmlText::kGood;
}

bool LoadXml(pugi::xml_document& objDocument, std::string_view strXml) {
  return ParseXml(objDocument, strXml) == XmlText::kGood;
}

}  // namespace ews
