#include "mailboxd/store/FieldLeaves.h"

namespace mailbox {
namespace {

bool IsElement(pugi::xml_node node) { return node.type() == pugi::node_element; }

pugi::xml_node FirstInside(pugi::xml_node node) {
  return node.find_child([](pugi::xml_node child) { return IsElement(child); });
}

// The next element in the order of the text, within `root`.
pugi::xml_node Next(pugi::xml_node node, pugi::xml_node root) {
  if (const pugi::xml_node inside = FirstInside(node)) return inside;
  while (node != root) {
    pugi::xml_node next = node.next_sibling();
    while (next && !IsElement(next)) next = next.next_sibling();
    if (next) return next;
    node = node.parent();
  }
  return {};
}

// The text of an element; a time zone is all in its attributes.
std::string_view TextOf(pugi::xml_node node) {
  const std::string_view text = node.child_value();
  return text.empty() ? node.attribute("Id").value() : text;
}

// What names an entry of a field: its key, or the element of a pattern or its range.
std::string_view NameOf(pugi::xml_node entry) {
  const std::string_view name = entry.name();
  if (name.starts_with("t:") && name.ends_with("Recurrence")) return name.substr(2);
  return entry.attribute("Key").value();
}

}  // namespace

std::vector<FieldLeaf> LeavesOf(pugi::xml_node root, std::size_t most) {
  std::vector<FieldLeaf> leaves;
  pugi::xml_node lastEntry;
  for (pugi::xml_node node = root; node && leaves.size() < most; node = Next(node, root)) {
    const std::string_view text = TextOf(node);
    if (FirstInside(node) || text.empty()) continue;
    const pugi::xml_node entry = node.attribute("Key") ? node : node.parent();
    leaves.push_back({NameOf(entry), text, !leaves.empty() && entry == lastEntry});
    lastEntry = entry;
  }
  return leaves;
}

}  // namespace mailbox
