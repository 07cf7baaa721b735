#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace client {

// Takes the name, without the prefix, and the text of a preference.
using TakePref = std::function<void(std::string_view name, const std::string& text)>;

// Goes through the preferences in a prefs.js whose names begin with the prefix and whose values are
// texts; anything else is passed over:
//
//   user_pref("mailnews.tags.$label1.tag", "Urgent");
void EachTextPref(std::string_view prefs, std::string_view prefix, const TakePref& take);

}  // namespace client
