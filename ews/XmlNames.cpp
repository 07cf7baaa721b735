#include "ews/XmlNames.h"

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

bool LoadXml(pugi::xml_document& objDocument, std::string_view strXml) {
  constexpr unsigned kOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;
  return static_cast<bool>(objDocument.load_buffer(strXml.data(), strXml.size(), kOptions));
}

}  // namespace ews
