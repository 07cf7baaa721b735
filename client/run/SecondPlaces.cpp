#include "client/run/SecondPlaces.h"

namespace client {

bool SecondPlaces::Take(const std::optional<Place>& place, const std::string& key) {
  if (!place) return false;
  Items& items = At(*place);
  const auto count = items.counts.find(key);
  if (count == items.counts.end() || count->second == 0) return false;
  --count->second;
  items.versions.Drop(key);
  return true;
}

std::optional<std::string> SecondPlaces::TakeVersion(const std::optional<Place>& place,
                                                     std::string_view id, const OwnKeys& own) {
  return place ? At(*place).versions.Take(id, own) : std::nullopt;
}

SecondPlaces::Items& SecondPlaces::At(const Place& place) {
  const auto [items, isNew] = m_items.try_emplace(place.path);
  if (isNew) items->second = Read(place);
  return items->second;
}

SecondPlaces::Items SecondPlaces::Read(const Place& place) {
  Items items;
  if (m_folders.contains(m_look.Identity(place))) return items;
  m_look.List(place, [&](const ews::FoundItem& found) {
    if (found.strKey.IsEmpty()) return;
    std::string key = found.strKey.ToUtf8();
    ++items.counts[key];
    items.versions.Add(std::move(key));
  });
  return items;
}

}  // namespace client
