#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// What rich text says of characters, paragraphs and tables. All are plain values that are copied
// with each group. Lengths are twips (a twentieth of a point) where nothing else is said; numbers
// of colours and fonts are those of the document's tables, and need not exist there.
namespace rtf {

enum CharacterFlag : std::uint16_t {
  kBold = 1 << 0,
  kItalic = 1 << 1,
  kStrike = 1 << 2,
  kDoubleStrike = 1 << 3,
  kCapitals = 1 << 4,
  kSmallCapitals = 1 << 5,
  kHidden = 1 << 6,
  kDeleted = 1 << 7,
  kOutline = 1 << 8,
  kShadow = 1 << 9,
};

enum class Underline : std::uint8_t { kNone, kSingle, kDouble, kDotted, kDashed, kWavy, kThick };
enum class Script : std::uint8_t { kNone, kSuper, kSub };

inline constexpr int kNoFont = -1;  // the document's default
inline constexpr int kNoLink = -1;
inline constexpr int kNoColorNumber = -1;  // of text: as its surroundings; of surfaces 0 is, too
inline constexpr int kDefaultSize = 24;    // half points

struct CharacterFormat {
  std::uint16_t nFlags = 0;
  Underline eUnderline = Underline::kNone;
  Script eScript = Script::kNone;
  int nFont = kNoFont;
  int nSize = kDefaultSize;  // half points
  int nRaise = 0;            // half points; below 0 under the line
  int nSpacing = 0;
  int nColor = kNoColorNumber;
  int nBackground = 0;
  int nHighlight = 0;
  int nUnderlineColor = 0;
  int nLink = kNoLink;

  bool Is(CharacterFlag eFlag) const { return (nFlags & eFlag) != 0; }
  bool operator==(const CharacterFormat&) const = default;
};

enum class BorderLine : std::uint8_t { kNone, kSolid, kDouble, kDotted, kDashed, kInset, kOutset };
enum BorderSide : std::uint8_t { kTop, kRight, kBottom, kLeft, kSides };

// The sides that a word for borders means.
constexpr int SideBit(BorderSide eSide) { return 1 << eSide; }
inline constexpr int kAllSides = (1 << kSides) - 1;
inline constexpr int kInnerRows = 1 << kSides;  // of a row: between cells
inline constexpr int kInnerColumns = 2 << kSides;

struct Border {
  BorderLine eLine = BorderLine::kNone;
  bool bGiven = false;  // named at all, be it to say that there is none
  int nWidth = 10;
  int nColor = 0;
  int nSpace = 0;  // between line and text
  bool operator==(const Border&) const = default;
};
using Borders = std::array<Border, kSides>;

enum class Align : std::uint8_t { kNone, kLeft, kRight, kCenter, kJustify };

// What of the text lies at the stop's place.
enum class TabKind : std::uint8_t { kLeft, kCenter, kRight, kDecimal };

// The tab stops of a paragraph, from the margin, in the order in which they are set.
struct TabStops {
  struct Stop {
    int nAt : 30;
    unsigned nKind : 2;
    TabKind Kind() const { return static_cast<TabKind>(nKind); }
  };
  static constexpr std::size_t kMost = 12;  // the rest is left out
  std::array<Stop, kMost> arrStops{};
  std::uint8_t nCount = 0;
  TabKind eNext = TabKind::kLeft;  // of the stop to come

  void Add(int nAt) {
    if (nAt > 0 && nCount < kMost) arrStops[nCount++] = {nAt, static_cast<unsigned>(eNext)};
    eNext = TabKind::kLeft;
  }
  std::span<const Stop> All() const { return {arrStops.data(), nCount}; }
};

struct ParagraphFormat {
  Align eAlign = Align::kNone;
  bool bRightToLeft = false;
  bool bInTable = false;
  bool bPageBreak = false;
  bool bLineMultiple = false;  // nLine counts 240ths of a line
  std::uint8_t nListLevel = 0;
  std::int8_t nOutline = -1;  // from 0; -1: no heading
  int nTableLevel = -1;       // -1: not said
  int nLeft = 0;
  int nRight = 0;
  int nFirst = 0;
  int nBefore = 0;
  int nAfter = 0;
  int nLine = 0;
  int nShade = 0;    // a colour
  int nPattern = 0;  // hundredths of a percent of nPatternColor over it
  int nPatternColor = 0;
  int nList = 0;  // key of ListTable
  TabStops objTabs;
  Borders arrBorders;

  bool HasBorders() const {
    for (const Border& objBorder : arrBorders) {
      if (objBorder.eLine != BorderLine::kNone) return true;
    }
    return false;
  }
};

enum class Merge : std::uint8_t { kNone, kFirst, kFollowing };
enum class VerticalAlign : std::uint8_t { kTop, kMiddle, kBottom };

struct CellFormat {
  Merge eAcross = Merge::kNone;
  Merge eDown = Merge::kNone;
  VerticalAlign eAlign = VerticalAlign::kTop;
  int nRight = 0;  // the right edge, from the margin
  int nShade = 0;
  int nPattern = 0;
  int nPatternColor = 0;
  std::array<int, kSides> arrPadding{-1, -1, -1, -1};  // -1: as the row says
  Borders arrBorders;
};

}  // namespace rtf
