#include "tests/ews/RequestSamples.h"

#include <regex>
#include <stdexcept>

#include <pugixml.hpp>

#include "tests/support/SchemaValidator.h"

namespace request_samples {
namespace {

void Dump(pugi::xml_node node, const std::string& path, std::string& out) {
  const std::string here = path + "/" + node.name();
  out += here;
  for (const auto attribute : node.attributes()) {
    if (!std::string_view(attribute.name()).starts_with("xmlns")) {
      out += std::string(" ") + attribute.name() + "=" + attribute.value();
    }
  }
  const bool leaf =
      node.find_child([](auto child) { return child.type() == pugi::node_element; }).empty();
  if (leaf) out += std::string(": ") + node.child_value();
  out += "\n";
  for (const auto child : node.children()) {
    if (child.type() == pugi::node_element) Dump(child, here, out);
  }
}

std::string DumpOfSample(const std::string& sample) {
  return DumpOf(test_support::SchemaValidator::Sample(sample + ".request.xml"));
}

}  // namespace

const Difference kDifferences[7] = {
    {R"((SystemTime: \n[^\n]*Value: )2024-07-05T09:15:00\.000-04:00)", "$012024-07-05T13:15:00Z",
     "A moment is written in UTC."},
    {R"((\d{4}-\d\d-\d\d(T\d\d:\d\d:\d\d)?)(\.000)?\+00:00)", "$1Z", "The same, shorter."},
    {"SendToAllAndSaveCopy", "SendToNone", "A migration writes to nobody."},
    {"TimeZoneDefinition Name=[^\\n]* Id=", "TimeZoneDefinition Id=",
     "Servers go by the id; the other name is for people, in the language of a Windows."},
    {"Id=Greenwich Standard Time", "Id=UTC", "UTC has a name of its own."},
    {"(\\n[^\\n]*/t:Mailbox/)t:EmailAddress: \"?([^\"<\\n]*?)\"? <([^>\\n]*)>",
     "$1t:Name: $2$1t:EmailAddress: $3", "Addresses are parsed, so that no server has to."},
    {R"(([^\n]*/t:Member\n[^\n]*/t:Mailbox\n[^\n]*/t:EmailAddress: [^\n]*\n)\1)", "$1",
     "A member that is there already is passed over."},
};

std::string DumpOf(const std::string& xml) {
  pugi::xml_document document;
  if (!document.load_buffer(xml.data(), xml.size())) throw std::runtime_error("no XML: " + xml);
  std::string out;
  Dump(document.document_element(), "", out);
  return out;
}

bool Difference::IsIn(const std::string& sample) const {
  return std::regex_search(DumpOfSample(sample), std::regex(there));
}

std::string Expected(const std::string& sample) {
  std::string dump = DumpOfSample(sample);
  for (const Difference& difference : kDifferences) {
    dump = std::regex_replace(dump, std::regex(difference.there), difference.here);
  }
  return dump;
}

}  // namespace request_samples
