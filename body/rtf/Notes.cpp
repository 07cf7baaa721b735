#include "body/rtf/Notes.h"

#include <string_view>

namespace rtf {
namespace {

struct NoteText {
  std::string_view strText;
  bool bCounted;  // how often is worth telling
};
constexpr std::array<NoteText, static_cast<std::size_t>(Note::kCount)> kTexts = {{
    {"the file is no rich text; taken as plain text", false},
    {"the file is a page and no rich text; kept as that", false},
    {"the file ends before its groups do", false},
    {"groups nest too deeply; the formatting of the innermost is not told apart", false},
    {"text in a code page that is not known, read as windows-1252", true},
    {"headers and footers left out", true},
    {"comments left out", true},
    {"hidden text left out", true},
    {"deleted text of a revision left out", true},
    {"embedded objects without a picture", true},
    {"drawings left out, but for their text and pictures", true},
    {"pictures that could not be read", true},
    {"pictures in a form that browsers do not show, kept as files", true},
    {"formatting left out: it would outgrow the text by far", false},
    {"the checksum of the compressed text is wrong", false},
    {"the compressed text is cut, or not as long as it says", false},
}};

}  // namespace

std::vector<std::string> Notes::Lines() const {
  std::vector<std::string> arrLines;
  for (std::size_t n = 0; n < kTexts.size(); ++n) {
    if (m_arrCounts[n] == 0) continue;
    std::string strLine(kTexts[n].strText);
    if (kTexts[n].bCounted) strLine += " (" + std::to_string(m_arrCounts[n]) + ")";
    arrLines.push_back(std::move(strLine));
  }
  return arrLines;
}

}  // namespace rtf
