#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/ContentLines.h"

namespace client {

// What stands in a calendar beside others: an event, a task, the rules of a time zone.
struct IcsComponent {
  std::string name;                              // upper case: "VEVENT"
  std::vector<ContentLine> lines;                // values in UTF-8, or bytes
  std::vector<std::vector<ContentLine>> alarms;  // the lines of each
  std::size_t offset = 0;                        // bytes of the text
  std::size_t length = 0;
  bool ended = false;  // by an END of its own

  const ContentLine* First(std::string_view wanted) const;
  std::string Text(std::string_view wanted) const;  // without escapes; empty without one
};

// Hands over the components of all calendars of a text in their order. One that ends in the middle,
// because the next begins or the text is over, has what there is of it. Of what lies inside of a
// component alarms alone are looked at.
void ReadIcsComponents(std::string_view text,
                       const std::function<void(const IcsComponent& component)>& take);

}  // namespace client
