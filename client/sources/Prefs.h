#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace client {

// Takes the name, without the prefix, and the value of a preference: a text, or a word or number as
// it stands.
using TakePref = std::function<void(std::string_view name, const std::string& value)>;

// Goes through the preferences in a prefs.js whose names begin with the prefix; anything else is
// passed over:
//
//   user_pref("mailnews.tags.$label1.tag", "Urgent");
//   user_pref("mail.server.server2.moveOnSpam", true);
void EachPref(std::string_view prefs, std::string_view prefix, const TakePref& take);

}  // namespace client
