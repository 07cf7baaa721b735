#include "client/run/OtherItems.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "client/run/CalendarWriter.h"
#include "client/run/ContactWriter.h"
#include "client/run/DescriptorText.h"
#include "client/run/ItemProps.h"
#include "client/run/NewFile.h"
#include "client/sources/IcsComponents.h"
#include "client/sources/Names.h"
#include "client/sources/PreparedItem.h"
#include "pipeline/ST_EML_INFO.h"

namespace client {
namespace {

constexpr std::size_t kMostTold = 10;

// What goes into the work folder beside the companion files.
struct Prepared {
  std::string descriptor;  // UTF-8
  nlohmann::json props;
  std::vector<std::string> left;
};

Prepared PrepareCalendar(const std::string& workFolder, const std::string& text) {
  const CalendarItem item = ReadCalendarItem(text);
  WriteCalendarFiles(workFolder, item);
  return {CalendarDescriptor(item), CalendarProps(item), item.left};
}

Prepared PrepareCard(const std::string& workFolder, std::int32_t type, const std::string& text) {
  const std::vector<VCardExtent> extents = FindVCards(text);
  std::vector<VCard> cards;
  for (const VCardExtent& extent : extents) {
    cards.push_back(ParseVCard(std::string_view(text).substr(extent.offset, extent.length)));
  }
  if (cards.empty()) throw SourceError("no card is in it");
  if (type == TYPE_CONTACT) {
    const Contact contact = ContactOf(cards[0]);
    WriteContactFiles(workFolder, contact);
    return {ContactDescriptor(contact), ContactProps(contact), contact.left};
  }
  const std::vector<VCard> others(cards.begin() + 1, cards.end());
  ContactGroup group = ContactGroupOf(cards[0], others);
  std::string descriptor = GroupDescriptor(group, group.left);
  return {std::move(descriptor), nlohmann::json::object(), std::move(group.left)};
}

// A descriptor alone does not carry these.
void TellProps(const nlohmann::json& props, std::vector<std::string>& left) {
  for (const auto& [name, value] : props.items()) {
    if (name != "uid") left.push_back(name + " as far as a descriptor has no place for it");
  }
}

}  // namespace

std::string IdOfOther(std::int32_t type, const std::string& text) {
  if (type == TYPE_CONTACT || type == TYPE_DIST_LIST) return ParseVCard(text).Text("UID");
  std::string id;
  ReadIcsComponents(text, [&](const IcsComponent& component) {
    if (id.empty() && component.name != "VTIMEZONE") id = component.Text("UID");
  });
  return id;
}

std::vector<std::string> WriteOther(const std::string& workFolder, std::int32_t type,
                                    const std::string& text, const std::string& key) {
  const bool isCard = type == TYPE_CONTACT || type == TYPE_DIST_LIST;
  Prepared item = isCard ? PrepareCard(workFolder, type, text) : PrepareCalendar(workFolder, text);
  if (key.empty()) {
    TellProps(item.props, item.left);
  } else {
    for (std::string& name : WriteItemProps(workFolder, key, std::move(item.props))) {
      item.left.push_back(name + ", which is too large");
    }
  }
  NewFile(workFolder + "/" + std::string(kDescriptorName))
      .Write(Utf16LittleEndian(item.descriptor));
  return std::move(item.left);
}

std::string LeftOutText(const std::vector<std::string>& left) {
  std::string text;
  for (std::size_t i = 0; i < std::min(left.size(), kMostTold); ++i) {
    text += (text.empty() ? "left out: " : ", ") + WithoutForbiddenControls(left[i]);
  }
  if (left.size() > kMostTold) text += fmt::format(", and {} more", left.size() - kMostTold);
  return text;
}

}  // namespace client
