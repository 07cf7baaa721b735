#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "body/rtf/FontTable.h"
#include "body/rtf/Formats.h"
#include "body/rtf/ListTable.h"

namespace rtf {

inline constexpr int kNoColor = -1;

// How the notes of one kind are counted.
struct NoteNumbers {
  int nFormat = 0;  // as a \levelnfc
  int nStart = 1;
};

// What the head of a document defines and its text refers to by numbers.
struct Document {
  FontTable objFonts;
  ListTable objLists;
  std::vector<int> arrColors;                // 0xRRGGBB, or kNoColor for "automatic"
  std::vector<std::string> arrLinks;         // written as attribute values
  std::unordered_map<int, int> mapHeadings;  // style number to heading level, from 0
  int nDefaultFont = kNoFont;
  unsigned nAnsiPage = 1252;
  NoteNumbers objFootnotes;
  NoteNumbers objEndnotes;
  int nDefaultTab = 720;  // twips between tab stops that nobody set

  // kNoColor for what is automatic or was not defined.
  int Color(int nColor) const {
    const bool bDefined = nColor >= 0 && static_cast<std::size_t>(nColor) < arrColors.size();
    return bDefined ? arrColors[static_cast<std::size_t>(nColor)] : kNoColor;
  }
  // Of what lies behind text: the first entry is "none" even where it is defined.
  int SurfaceColor(int nColor) const { return nColor > 0 ? Color(nColor) : kNoColor; }
  const Font* FontOf(int nFont) const {
    return objFonts.Find(nFont == kNoFont ? nDefaultFont : nFont);
  }
};

}  // namespace rtf
