#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/StringBuffer.h"

namespace mail {

// The styles and scripts of a document while its tags are rewritten. A place in the text stands for
// each, in order.
struct SetAside {
  static constexpr std::string_view kStylePlace = "<velkor_style>";
  static constexpr std::string_view kScriptPlace = "<velkor_script>";

  // Text from outside that holds such a place would take what belongs into another.
  static void guardPlaces(StringBuffer& strText) {
    (void)strText.replaceAll(kStylePlace, "<velkor_style >");
    (void)strText.replaceAll(kScriptPlace, "<velkor_script >");
  }

  // Scripts first: what was set aside of them holds the places of styles.
  void putBack(StringBuffer& strHtml) const;

  std::vector<std::string> arrStyles;
  std::vector<std::string> arrScripts;
};

}  // namespace mail
