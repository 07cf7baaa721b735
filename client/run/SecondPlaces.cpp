#include "client/run/SecondPlaces.h"

namespace client {

bool SecondPlaces::Take(const std::optional<Place>& place, const std::string& key) {
  if (!place) return false;
  const auto [counts, isNew] = m_counts.try_emplace(place->path);
  if (isNew) counts->second = Read(*place);
  const auto count = counts->second.find(key);
  return count != counts->second.end() && count->second > 0 && count->second-- > 0;
}

SecondPlaces::Counts SecondPlaces::Read(const Place& place) {
  Counts counts;
  if (m_folders.contains(m_look.Identity(place))) return counts;
  m_look.List(place, [&](const ews::FoundItem& found) {
    if (!found.strKey.IsEmpty()) ++counts[found.strKey.ToUtf8()];
  });
  return counts;
}

}  // namespace client
