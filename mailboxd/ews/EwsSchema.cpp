#include "mailboxd/ews/EwsSchema.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/AsciiText.h"
#include "mailboxd/ews/EwsFailure.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsSchemaTable.h"
#include "mailboxd/ews/EwsValues.h"
#include "platform/Unicode.h"

// The walk holds a document against the types of EwsSchemaTable.cpp, with a stack on the heap; an
// element outside the tables ends it, so what is walked is never deeper than the tables allow, but
// for restrictions, which nest, up to kMaximumDepth.
namespace mailbox {
namespace {

using namespace schema;

constexpr std::string_view kSoapSpace = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr std::string_view kMessagesSpace =
    "http://schemas.microsoft.com/exchange/services/2006/messages";

constexpr size_t kMostAttributes = 64;  // of one element

std::string_view SpaceName(Space space) {
  switch (space) {
    case Space::kSoap:
      return kSoapSpace;
    case Space::kMessages:
      return kMessagesSpace;
    case Space::kTypes:
      break;
  }
  return kTypesSpace;
}

// The namespace of an element's prefix, looked up at it and its ancestors; "" when undeclared.
std::string_view NamespaceOf(pugi::xml_node node) {
  const std::string_view name(node.name());
  const size_t colon = name.find(':');
  const std::string_view prefix =
      colon == std::string_view::npos ? std::string_view() : name.substr(0, colon);
  for (; node && node.type() == pugi::node_element; node = node.parent()) {
    for (const pugi::xml_attribute attribute : node.attributes()) {
      const std::string_view declared(attribute.name());
      if (!declared.starts_with("xmlns")) continue;
      if (prefix.empty()
              ? declared == "xmlns"
              : declared.size() > 6 && declared[5] == ':' && declared.substr(6) == prefix)
        return attribute.value();
    }
  }
  return {};
}

// Characters that XML does not allow reach the tree as references or as raw bytes.
bool HasForbidden(std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') return true;
  }
  return text.find("\xEF\xBF\xBE") != std::string_view::npos ||
         text.find("\xEF\xBF\xBF") != std::string_view::npos || !platform::IsValidUtf8(text);
}

pugi::xml_node NextText(pugi::xml_node node) {
  while (node && node.type() != pugi::node_pcdata && node.type() != pugi::node_cdata) {
    node = node.next_sibling();
  }
  return node;
}

// Text that a comment or a CDATA section divides becomes one piece: readers take the first.
void JoinText(pugi::xml_node node) {
  const pugi::xml_node first = NextText(node.first_child());
  pugi::xml_node next = NextText(first.next_sibling());
  if (!next) return;  // as nearly always: nothing is copied
  std::string whole(first.value());
  while (next) {
    const pugi::xml_node child = next;
    next = NextText(next.next_sibling());
    whole += child.value();
    node.remove_child(child);
  }
  pugi::xml_node(first).set_value(whole.c_str());
}

class Walk {
 public:
  explicit Walk(std::string_view buffer) : m_buffer(buffer) {}

  void Run(pugi::xml_node envelope) {
    if (!envelope || LocalName(envelope) != "Envelope" || NamespaceOf(envelope) != kSoapSpace) {
      ThrowViolation("The root element is no SOAP envelope.", m_buffer, 0);
    }
    m_open.push_back({envelope, &Types().at("Envelope")});
    while (!m_open.empty()) {
      const Open next = m_open.back();
      m_open.pop_back();
      if (next.depth > kMaximumDepth) {
        ThrowViolation("The request is nested too deeply.", m_buffer, next.node.offset_debug());
      }
      Check(next);
    }
  }

 private:
  struct Open {
    pugi::xml_node node;
    const Type* type;
    int depth = 0;
  };

  [[noreturn]] void Fail(pugi::xml_node node, const std::string& violation) const {
    ThrowViolation(violation, m_buffer, node.offset_debug());
  }

  static std::string Named(pugi::xml_node node) {
    return "'" + std::string(LocalName(node)) + "' in namespace '" +
           std::string(NamespaceOf(node)) + "'";
  }

  // Which children may come now, by index: `position` is that in a sequence, `count` says how many
  // have come.
  struct Range {
    size_t begin;
    size_t end;
  };
  static Range MayCome(const Type& type, size_t position, size_t count) {
    const size_t all = type.children.size();
    if (type.order == Order::kSequence) return {position, all};
    if (type.order != Order::kOneOf) return {0, all};
    if (count >= type.GroupCount()) return {all, all};
    return {type.GroupBegin(count), type.GroupEnd(count)};
  }

  static std::string Expected(const Type& type, size_t position, size_t count) {
    const Range range = MayCome(type, position, count);
    std::string names;
    for (size_t i = range.begin; i < range.end; ++i) {
      names += (names.empty() ? "" : ", ") + std::string(type.children[i].name);
      if (type.order == Order::kSequence && type.children[i].required) break;
    }
    if (names.empty()) return "";
    return " List of possible elements expected: '" + names + "' in namespace '" +
           std::string(SpaceName(type.space)) + "'.";
  }

  void Check(const Open& open) {
    if (open.type->order == Order::kOpen) return;
    CheckAttributes(open.node, *open.type);
    if (open.type->text != nullptr) {
      CheckText(open.node, *open.type->text);
    } else {
      CheckChildren(open);
    }
  }

  void CheckAttributes(pugi::xml_node node, const Type& type) const {
    size_t count = 0;
    for (const pugi::xml_attribute attribute : node.attributes()) {
      // Each element below looks its namespace up among them.
      if (++count > kMostAttributes) Fail(node, "The element has too many attributes.");
      const std::string_view name(attribute.name());
      // Declarations, and what another vocabulary says about the element.
      if (name == "xmlns" || name.find(':') != std::string_view::npos) continue;
      const auto rule = std::find_if(type.attributes.begin(), type.attributes.end(),
                                     [&](const AttributeRule& r) { return r.name == name; });
      if (rule == type.attributes.end()) {
        Fail(node, "The '" + std::string(name) + "' attribute is not declared.");
      }
      if (HasForbidden(attribute.value())) Fail(node, "An attribute has an invalid character.");
      const std::string reason = WhyNot(*rule->kind, attribute.value());
      if (reason.empty()) continue;
      Fail(node, "The '" + std::string(name) + "' attribute is invalid - The value '" +
                     attribute.value() + "' is invalid according to its datatype '" +
                     DataTypeName(*rule->kind) + "' - " + reason);
    }
    for (const AttributeRule& rule : type.attributes) {
      if (rule.required && !node.attribute(std::string(rule.name).c_str())) {
        Fail(node, "The required attribute '" + std::string(rule.name) + "' is missing.");
      }
    }
  }

  void CheckText(pugi::xml_node node, const Kind& kind) const {
    if (const pugi::xml_node child = FirstElement(node)) {
      Fail(child, "The element " + Named(node) + " cannot contain child element " + Named(child) +
                      " because the parent element's content model is text only.");
    }
    JoinText(node);
    const std::string_view text = Text(node);
    if (kind.value == Value::kBase64) return;
    if (HasForbidden(text)) Fail(node, "The text holds an invalid character.");
    const std::string reason = WhyNot(kind, text);
    if (reason.empty()) return;
    Fail(node, "The '" + std::string(NamespaceOf(node)) + ":" + std::string(LocalName(node)) +
                   "' element is invalid - The value '" + std::string(text) +
                   "' is invalid according to its datatype '" + DataTypeName(kind) + "' - " +
                   reason);
  }

  void CheckChildren(const Open& open) {
    const Type& type = *open.type;
    size_t position = 0;
    size_t count = 0;
    const size_t base = m_open.size();
    for (const pugi::xml_node child : open.node.children()) {
      if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
        if (mail::trimmed(child.value()).empty()) continue;
        Fail(open.node, "The element " + Named(open.node) + " cannot contain text." +
                            Expected(type, position, count));
      }
      if (child.type() != pugi::node_element) continue;
      const ChildRule& rule = Take(open.node, child, type, position, count++);
      m_open.push_back({child, &Types().at(rule.type), open.depth + 1});
    }
    CheckComplete(open.node, type, position, count);
    // The first child is looked at first, so that the first violation is the one reported.
    std::reverse(m_open.begin() + static_cast<std::ptrdiff_t>(base), m_open.end());
  }

  const ChildRule& Take(pugi::xml_node parent, pugi::xml_node child, const Type& type,
                        size_t& position, size_t count) const {
    const Range range = MayCome(type, position, count);
    const std::string_view name = LocalName(child);
    if (NamespaceOf(child) == SpaceName(type.space)) {
      for (size_t i = range.begin; i < range.end; ++i) {
        if (type.children[i].name == name) {
          position = type.children[i].many ? i : i + 1;
          return type.children[i];
        }
        // One that must come has not come yet.
        if (type.order == Order::kSequence && type.children[i].required) break;
      }
    }
    Fail(child, "The element " + Named(parent) + " has invalid child element " + Named(child) +
                    "." + Expected(type, position, count));
  }

  void CheckComplete(pugi::xml_node node, const Type& type, size_t position, size_t count) const {
    bool complete = true;
    if (type.order == Order::kOneOf) complete = count == type.GroupCount();
    if (type.order == Order::kAnyOf && !type.mayBeEmpty) complete = count > 0;
    if (type.order == Order::kSequence) {
      for (size_t i = position; i < type.children.size(); ++i) {
        if (type.children[i].required) complete = false;
      }
    }
    if (!complete) {
      Fail(node, "The element " + Named(node) + " has incomplete content." +
                     Expected(type, position, count));
    }
  }

  std::string_view m_buffer;
  std::vector<Open> m_open;
};

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '<') {
      escaped += "&lt;";
    } else if (c == '>') {
      escaped += "&gt;";
    } else if (c == '&') {
      escaped += "&amp;";
    } else {
      escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return escaped;
}

// A violation may quote what the client sent: its length is bounded, its bytes are made valid.
std::string Readable(std::string_view text) {
  constexpr size_t kLongest = 2000;
  return platform::Utf16ToUtf8(platform::Utf8ToUtf16(text.substr(0, kLongest)));
}

}  // namespace

void ThrowViolation(std::string_view violation, std::string_view buffer, std::ptrdiff_t offset) {
  const std::string text = Readable(violation);
  const size_t at =
      std::min(buffer.size(), static_cast<size_t>(std::max<std::ptrdiff_t>(offset, 0)));
  const std::string_view before = buffer.substr(0, at);
  const auto lines = std::count(before.begin(), before.end(), '\n');
  const size_t lineStart = before.rfind('\n');
  const size_t column = lineStart == std::string_view::npos ? at + 1 : at - lineStart;
  SoapFault fault("ErrorSchemaValidation", "The request failed schema validation: " + text);
  fault.message = "The request failed schema validation.";
  fault.messageXml = "<t:LineNumber>" + std::to_string(lines + 1) +
                     "</t:LineNumber><t:LinePosition>" + std::to_string(column) +
                     "</t:LinePosition><t:Violation>" + Escaped(text) + "</t:Violation>";
  throw fault;
}

void CheckEnvelope(pugi::xml_node envelope, std::string_view buffer) { Walk(buffer).Run(envelope); }

}  // namespace mailbox
