#include "mailboxd/web/WebFields.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/FieldLeaves.h"
#include "mailboxd/store/ItemFields.h"
#include "mailboxd/web/WebHtml.h"
#include "platform/Base64.h"

namespace mailbox::web {
namespace {

constexpr size_t kLeavesShown = 500;  // of one field
constexpr size_t kValueShown = 2000;  // bytes of one value
constexpr size_t kPropertiesShown = 500;

std::string ValueHtml(std::string_view text) {
  if (text.find('T') == 10) {  // "2024-03-11T…": a date, as all that looks like one is
    if (const auto date = ReadDateTime(text)) return Date(*date);
  }
  return Text(Cut(text, kValueShown)) + (text.size() > kValueShown ? "…" : "");
}

// The texts of a field, each behind what names its entry.
std::string LeavesHtml(pugi::xml_node root) {
  std::string html;
  std::vector<FieldLeaf> leaves = LeavesOf(root, kLeavesShown + 1);
  const bool isCut = leaves.size() > kLeavesShown;
  if (isCut) leaves.pop_back();
  for (const FieldLeaf& leaf : leaves) {
    if (!html.empty()) html += leaf.isSameEntry ? ", " : "; ";
    if (!leaf.name.empty() && !leaf.isSameEntry) {
      html += "<span class=\"soft\">" + Text(Spaced(leaf.name)) + "</span> ";
    }
    html += ValueHtml(leaf.text);
  }
  return html + (isCut ? "; …" : "");
}

struct Signature {
  std::string_view begin;
  std::string_view type;
};
constexpr std::array<Signature, 4> kSignatures = {{
    {"\xFF\xD8\xFF", "image/jpeg"},
    {"\x89PNG\r\n\x1A\n", "image/png"},
    {"GIF8", "image/gif"},
    {"BM", "image/bmp"},
}};

}  // namespace

std::string FieldRows(const ItemInfo& item) {
  std::string rows;
  for (const ItemField& field : item.fields) {
    const FieldTree tree(&field);
    rows += Row(Spaced(field.name), LeavesHtml(tree.Root()));
  }
  if (item.importance != "Normal") rows += Row("Importance", Text(item.importance));
  if (item.sensitivity != "Normal") rows += Row("Sensitivity", Text(item.sensitivity));
  std::string categories;
  for (const std::string& one : item.categories) {
    categories += (categories.empty() ? "" : "; ") + Text(Cut(one, kValueShown));
  }
  return rows + Row("Categories", categories);
}

std::string PropertyBox(const ItemInfo& item) {
  if (item.properties.empty()) return "";
  std::string html = OpenTable("names", "Properties", {{"Property"}, {"Type"}, {"Value"}});
  const size_t shown = std::min(item.properties.size(), kPropertiesShown);
  for (const ExtendedProperty& property : std::span(item.properties).first(shown)) {
    std::string values;
    for (const std::string& value : property.values) {
      if (values.size() > kValueShown) break;
      values += (values.empty() ? "" : "; ") + ValueHtml(value);
    }
    html += "<tr><th scope=\"row\">" + Text(Cut(property.key, kNameShown)) +
            "</th><td class=\"type\">" + Text(property.type) + "</td><td>" + values +
            "</td></tr>\n";
  }
  const auto count = static_cast<std::int64_t>(item.properties.size());
  return Folded(Count(count, "property", "properties"), html + CloseTable());
}

std::string PictureUrl(std::string_view bytes) {
  for (const Signature& row : kSignatures) {
    if (!bytes.starts_with(row.begin)) continue;
    return "data:" + std::string(row.type) + ";base64," + platform::Base64Encode(bytes);
  }
  return "";
}

std::string Folded(std::string_view title, const std::string& html) {
  return "<details><summary>" + std::string(title) + "</summary>\n" + html + "</details>\n";
}

}  // namespace mailbox::web
