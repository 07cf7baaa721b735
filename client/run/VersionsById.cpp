#include "client/run/VersionsById.h"

#include <algorithm>
#include <utility>

#include "client/run/MailKey.h"

namespace client {

void VersionsById::Add(std::string key) {
  const std::string id(IdInKey(key));
  if (!id.empty() && !HashInKey(key).empty()) m_keys.emplace(id, std::move(key));
}

void VersionsById::Drop(const std::string& key) {
  const auto [begin, end] = m_keys.equal_range(std::string(IdInKey(key)));
  const auto found = std::find_if(begin, end, [&](const auto& one) { return one.second == key; });
  if (found != end) m_keys.erase(found);
}

std::optional<std::string> VersionsById::Take(std::string_view id, const OwnKeys& own) {
  if (id.empty()) return std::nullopt;
  const auto [begin, end] = m_keys.equal_range(std::string(id));
  for (auto it = begin; it != end; ++it) {
    if (own.contains(TargetIndex::DigestOf(it->second))) continue;
    std::string key = std::move(it->second);
    m_keys.erase(it);
    return key;
  }
  return std::nullopt;
}

}  // namespace client
