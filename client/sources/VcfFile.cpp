#include "client/sources/VcfFile.h"

#include <unordered_map>

#include <fmt/format.h>

#include "client/sources/Contact.h"
#include "client/sources/Names.h"
#include "client/sources/PlaceNames.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/VCard.h"

namespace client {
namespace {

constexpr std::size_t kLongestText = 500;  // bytes of a name or address of a group's member

// What a group needs of a person.
struct Person {
  std::string name;
  std::string address;
};
using People = std::unordered_map<std::string, Person>;  // by UID

struct CardPlace {
  std::string title;
  VCardExtent extent;
  bool group = false;
  std::vector<std::string> members;  // UIDs
  std::string text;                  // of a file that must be converted
  FileStamp listed;
};

std::string OneLine(std::string_view value) {
  std::string text(CutAtCharacter(value, kLongestText));
  for (char& c : text) {
    if (c == '\n' || c == '\r' || c == '\\' || c == ',' || c == ';') c = ' ';
  }
  return text;
}

// The name that the item has in the target, or a number where there is nothing else.
std::string TitleOf(const VCard& card) {
  if (card.IsGroup()) return ContactGroupOf(card, {}).name;
  const Contact contact = ContactOf(card);
  if (const std::string* name = contact.Find("displayName")) return *name;
  return contact.phones.empty() ? std::string() : contact.phones[0].number;
}

// What of the file can be items; the people it names are added.
std::vector<CardPlace> CardsOf(const std::string& path, People& people,
                               std::vector<SourceProblem>& problems) {
  const FileStamp listed = StampOf(path);
  const TextFile file = ReadTextFile(path);
  std::vector<CardPlace> places;
  const std::vector<VCardExtent> extents = FindVCards(file.text);
  if (extents.empty()) throw SourceError("no card is in it");
  std::size_t number = 0;
  for (const VCardExtent& extent : extents) {
    const std::string_view text = std::string_view(file.text).substr(extent.offset, extent.length);
    const VCard card = ParseVCard(text);
    CardPlace place{TitleOf(card), extent, card.IsGroup(), {}, {}, listed};
    if (file.isConverted) place.text = text;
    ++number;
    if (!extent.ended || place.title.empty()) {
      problems.push_back(
          {place.title.empty() ? fmt::format("{}: card {}", path, number)
                               : fmt::format("{}: {}", path, OneLine(place.title)),
           extent.ended ? "a card without a name, an address and a number" : "the card is cut off",
           /*isUnread=*/true});
      continue;
    }
    if (std::string uid = MemberUid(card.Text("UID")); !uid.empty()) {
      people.try_emplace(std::move(uid), Person{OneLine(place.title), OneLine(card.Text("EMAIL"))});
    }
    for (const ContentLine& property : card.properties) {
      if (IsMember(property)) place.members.push_back(MemberUid(property.value));
    }
    places.push_back(std::move(place));
  }
  return places;
}

std::string AppendixOf(const CardPlace& place, const People& people) {
  std::string text;
  for (const std::string& uid : place.members) {
    const auto person = people.find(uid);
    if (person == people.end()) continue;
    text += fmt::format("BEGIN:VCARD\r\nUID:{}\r\nFN:{}\r\nEMAIL:{}\r\nEND:VCARD\r\n", uid,
                        person->second.name, person->second.address);
  }
  return text;
}

}  // namespace

void ListVcfFiles(const std::vector<std::string>& paths, const std::string& folder,
                  std::vector<SourceItem>& items, std::vector<SourceProblem>& problems) {
  People people;
  std::vector<std::pair<std::string, std::vector<CardPlace>>> files;
  for (const std::string& path : paths) {
    try {
      files.emplace_back(path, CardsOf(path, people, problems));
    } catch (const SourceError& error) {
      problems.push_back({path, error.what(), /*isUnread=*/true});
    }
  }
  for (const auto& [path, places] : files) {
    PlaceNames names(path);
    for (const CardPlace& place : places) {
      SourceItem item;
      item.location = names.Next(place.title);
      item.folder = folder;
      const bool inFile = place.text.empty();
      item.offset = inFile ? place.extent.offset : 0;
      item.length = inFile ? place.extent.length : 0;
      item.type = place.group ? TYPE_DIST_LIST : TYPE_CONTACT;
      item.file = path;
      item.listed = place.listed;
      item.appendix = inFile ? "" : place.text + "\r\n";
      item.appendix += AppendixOf(place, people);
      items.push_back(std::move(item));
    }
  }
}

std::string ReadVcfItem(const SourceItem& item) {
  std::string text;
  if (item.length > 0) {
    const OpenedFile file = OpenSourceFile(item.file, Links::kFollow);
    text = ReadRange(file, item.offset, item.length);
    RequireAsListed(file, item);
  }
  if (!text.empty() && !text.ends_with('\n')) text += "\r\n";
  return text + item.appendix;
}

}  // namespace client
