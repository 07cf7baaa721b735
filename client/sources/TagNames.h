#pragma once

#include <map>
#include <string>
#include <string_view>

#include "client/sources/MailState.h"

namespace client {

// What the owner of a Thunderbird calls the tags of mails, which the mails have by their keys:
//
//   user_pref("mailnews.tags.$label1.tag", "Urgent");
class TagNames {
 public:
  TagNames() = default;
  // Of a prefs.js; what is no such line is passed over.
  explicit TagNames(std::string_view prefs);
  bool IsEmpty() const { return m_names.empty(); }
  // The categories of a mail get the names.
  void Apply(MailState& state) const;

 private:
  std::map<std::string, std::string> m_names;  // by what the key alone makes a category
};

}  // namespace client
