#pragma once

#include <cstdint>
#include <string_view>

namespace rtf {

// Who acts on a control word.
enum class WordGroup : std::uint8_t {
  kCharacter,
  kParagraph,
  kBorder,
  kRow,
  kFlow,         // paragraphs, lines and cells end
  kCode,         // a character; the argument is its code point
  kDestination,  // the argument is a Destination
  kDocument,
  kFont,
  kPicture,
  kList,
};

enum class Word : std::uint8_t {
  kNone,
  // Characters
  kPlain,
  kFlag,
  kUnderline,
  kUnderlineColor,
  kScript,
  kRaise,
  kLower,
  kFont,
  kAssociatedFont,
  kDoubleByte,
  kSize,
  kColor,
  kBackground,
  kHighlight,
  kSpacingQuarters,
  kSpacing,
  // Paragraphs
  kPard,
  kAlign,
  kLeft,
  kRight,
  kFirst,
  kBefore,
  kAfter,
  kAutoBefore,
  kAutoAfter,
  kLine,
  kLineMultiple,
  kDirection,
  kInTable,
  kTableLevel,
  kPageBefore,
  kOutline,
  kStyle,
  kShade,
  kPattern,
  kPatternColor,
  kTabStop,
  kTabKind,
  kList,
  kListLevel,
  // Borders
  kParagraphBorder,
  kCellBorder,
  kRowBorder,
  kBorderLine,
  kBorderWidth,
  kBorderColor,
  kBorderSpace,
  // Rows and cells
  kRowDefaults,
  kCellEnd,
  kRowLeft,
  kRowGap,
  kRowPadding,
  kCellPadding,
  kRowHeight,
  kRowAlign,
  kRowDirection,
  kMergeAcross,
  kMergeDown,
  kCellAlign,
  kCellShade,
  kCellPattern,
  kCellPatternColor,
  // Flow
  kParagraphEnd,
  kLineEnd,
  kPageEnd,
  kSectionEnd,
  kTab,
  kCell,
  kNestedCell,
  kRow,
  kNestedRow,
  kNoteMark,
  // Destinations
  kDestination,
  // The document
  kCodePage,
  kAnsiCodePage,
  kDefaultFont,
  kDefaultTab,
  kUnicodeSkip,
  kUnicode,
  kFromHtml,
  kFromText,
  kHtmlRtf,
  kEndnote,
  kFootnoteFormat,
  kFootnoteStart,
  kEndnoteFormat,
  kEndnoteStart,
  kRed,
  kGreen,
  kBlue,
  // Fonts
  kFontFamily,
  kFontCharset,
  kFontCodePage,
  // Pictures
  kPictureKind,
  kShapeEdge,
  kPictureWidth,
  kPictureHeight,
  kGoalWidth,
  kGoalHeight,
  kScaleX,
  kScaleY,
  kCrop,
  kBitsPerPixel,
  kPlanes,
  kRowBytes,
  // Lists
  kNumberFormat,
  kNumberStart,
  kListId,
  kOverrideStart,
  kOldKind,
  kOldFont,
};

// Where the text of a group goes.
enum class Destination : std::uint8_t {
  kBody,
  kSkip,
  kAlternative,  // \upr: dropped but for its Unicode form
  kUnicodeForm,
  kFontTable,
  kColorTable,
  kStyleSheet,
  kListTable,
  kList,
  kListLevel,
  kLevelText,
  kOverrideTable,
  kOverride,
  kOverrideLevel,
  kPicture,
  kField,
  kInstruction,
  kResult,
  kListText,
  kOldList,
  kOldListBefore,
  kOldListAfter,
  kHtmlTag,
  kBookmark,
  kObject,
  kObjectResult,
  kShape,
  kShapeName,
  kShapeValue,
  kShapeText,
  kFootnote,
  kNestedRow,
  // Left out of the page, which is noted.
  kHeader,
  kComment,
};

struct WordEntry {
  std::string_view strName;
  WordGroup eGroup;
  Word eWord;
  int nArgument = 0;
};

// Null for a word that means nothing here. Case counts.
const WordEntry* FindWord(std::string_view strName);

}  // namespace rtf
