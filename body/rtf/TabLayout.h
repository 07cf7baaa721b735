#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "body/rtf/Formats.h"
#include "body/rtf/Styles.h"

namespace rtf {

// Where a tab or a line break stands in the text of a paragraph. No tag is open there.
struct TextMark {
  std::size_t nAt = 0;   // bytes of the HTML before it
  std::size_t nTag = 0;  // bytes of a line break's tag; 0 for a tab, which has none yet
  int nWidth = 0;        // of the text before a tab from the last mark on, estimated; twips
};

// The text of a paragraph whose tabs have no markup yet.
struct TabbedText {
  std::string strHtml;
  std::vector<TextMark> arrMarks;  // ascending; empty if there is no tab
};

// A page has no tab stops. Where a paragraph's own ones are all left and as far from each other as
// from the margin, the tab character and a tab-size do the same. Else each piece between tabs
// stands in a box that is as wide as the way to the next stop; which stop is next depends on the
// width of the text, which is estimated. Readers that know no boxes see a blank.
//
//   Name \tab 12 \tab 7   with stops at 72pt (left) and 144pt (right)
//   [Name: 72pt wide][12 [7: on the right] : 72pt wide]
//
// The tab-size in twips; 0 if the paragraph needs boxes.
int TabGrid(const ParagraphFormat& objFormat, int nDefaultTab);
std::string LayTabsInGrid(const TabbedText& objText);
std::string LayTabsInBoxes(const TabbedText& objText, const ParagraphFormat& objFormat,
                           int nDefaultTab, StyleBudget& objBudget);
// In text without formatting, whose lines are as they were typed.
std::string LayPlainTabs(const TabbedText& objText, StyleBudget& objBudget);

}  // namespace rtf
