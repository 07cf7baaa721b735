#include "client/sources/TagNames.h"

#include <algorithm>

#include "client/sources/Names.h"
#include "client/sources/Prefs.h"

namespace client {

TagNames::TagNames(std::string_view prefs) {
  constexpr std::size_t kMostOfName = 1024;  // bytes
  EachPref(prefs, "mailnews.tags.", [&](std::string_view key, const std::string& name) {
    if (!key.ends_with(".tag") || name.empty() || name.size() > kMostOfName) return;
    key.remove_suffix(4);  // the others are a colour, an order
    MailState byKey;
    AddKeyword(key, byKey);
    if (byKey.categories.empty()) return;
    m_names[byKey.categories.front()] = WithoutForbiddenControls(name);
  });
}

void TagNames::Apply(MailState& state) const {
  std::vector<std::string> named;
  for (std::string& category : state.categories) {
    const auto name = m_names.find(category);
    std::string shown = name == m_names.end() ? std::move(category) : name->second;
    if (std::ranges::find(named, shown) == named.end()) named.push_back(std::move(shown));
  }
  state.categories = std::move(named);
}

}  // namespace client
