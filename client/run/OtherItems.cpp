#include "client/run/OtherItems.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "client/run/CalendarWriter.h"
#include "client/run/ContactWriter.h"
#include "client/run/DescriptorText.h"
#include "client/run/ItemProps.h"
#include "client/run/NewFile.h"
#include "client/run/ReducedMail.h"
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
  LeftOut left;
};

Prepared PrepareCalendar(const std::string& workFolder, const std::string& text) {
  const CalendarItem item = ReadCalendarItem(text);
  WriteCalendarFiles(workFolder, item);
  return {CalendarDescriptor(item), CalendarProps(item), {item.left, item.isReduced}};
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
    return {ContactDescriptor(contact), ContactProps(contact), {contact.left}};
  }
  const std::vector<VCard> others(cards.begin() + 1, cards.end());
  ContactGroup group = ContactGroupOf(cards[0], others);
  const std::size_t toldBefore = group.left.size();
  std::string descriptor = GroupDescriptor(group, group.left);
  const bool isReduced = group.isReduced || group.left.size() > toldBefore;
  nlohmann::json props = nlohmann::json::object();
  if (!group.categories.empty()) props["categories"] = group.categories;
  return {std::move(descriptor), std::move(props), {std::move(group.left), isReduced}};
}

// In the descriptor or its companion files, or of no use in a mailbox.
constexpr std::array<std::string_view, 4> kNeverTold = {"uid", "start", "end", "photo"};

bool IsAmong(std::string_view name, std::span<const std::string_view> names) {
  return std::ranges::find(names, name) != names.end();
}

// What a mailbox says of an item unless it is told something else.
bool IsUsual(const std::string& name, const nlohmann::json& props) {
  if (name == "zone") return !props.contains("series");
  return (name == "busy" && props[name] == "Busy") || (name == "reminder" && props[name] == false);
}

// What a descriptor has no place for.
void TellWithoutProps(const nlohmann::json& props, std::vector<std::string>& left) {
  std::vector<std::string> names;
  for (const auto& [name, value] : props.items()) {
    if (!IsAmong(name, kNeverTold) && !IsUsual(name, props)) names.push_back(name);
  }
  if (names.empty()) return;
  left.push_back(fmt::format("what a descriptor has no place for of {}", fmt::join(names, ", ")));
}

// What a mailbox keeps where no calendar shows it.
void TellAnswers(const nlohmann::json& props, std::vector<std::string>& left) {
  std::size_t answers = 0;
  for (const nlohmann::json& person : props.value("attendees", nlohmann::json::array())) {
    answers += person.value("answer", "none") != "none";
  }
  if (answers == 0) return;
  left.push_back(fmt::format("the answers of {} (kept in the property TarnyAnswers alone)",
                             answers == 1 ? "an attendee" : fmt::format("{} attendees", answers)));
}

}  // namespace

std::string IdOfOther(std::int32_t type, const std::string& text) {
  if (type == TYPE_CONTACT || type == TYPE_DIST_LIST) return ParseVCard(text).Text("UID");
  std::string id;
  ReadIcsComponents(text, [&](const IcsComponent& component) {
    if (!id.empty() || component.name == "VTIMEZONE") return;
    id = component.Text("UID");
    // Occurrences without their series are items by themselves.
    const std::string occurrence = component.Text("RECURRENCE-ID");
    if (!id.empty() && !occurrence.empty()) id += " " + occurrence;
  });
  return id;
}

LeftOut WriteOther(const std::string& workFolder, std::int32_t type, const std::string& text,
                   const std::string& key) {
  const bool isCard = type == TYPE_CONTACT || type == TYPE_DIST_LIST;
  Prepared item = isCard ? PrepareCard(workFolder, type, text) : PrepareCalendar(workFolder, text);
  std::vector<std::string>& left = item.left.texts;
  key.empty() ? TellWithoutProps(item.props, left) : TellAnswers(item.props, left);
  if (!key.empty()) {
    for (std::string& name : WriteItemProps(workFolder, key, std::move(item.props))) {
      left.push_back(name + ", which is too large");
    }
  }
  WriteNewFile(workFolder + "/" + std::string(kDescriptorName), Utf16LittleEndian(item.descriptor));
  return std::move(item.left);
}

std::string LeftOutText(const LeftOut& left) {
  const std::size_t count = left.texts.size();
  std::string text = left.isReduced ? std::string(kReduced) + ", " : std::string();
  for (std::size_t i = 0; i < std::min(count, kMostTold); ++i) {
    text += (i == 0 ? "left out: " : ", ") + WithoutForbiddenControls(left.texts[i]);
  }
  if (count > kMostTold) text += fmt::format(", and {} more", count - kMostTold);
  return text;
}

}  // namespace client
