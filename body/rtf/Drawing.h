#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "body/rtf/Formats.h"

namespace rtf {

// What a drawing says of itself: where its frame is, and the properties that a page can show.
struct Drawing {
  enum Property : std::size_t {
    kCropTop,  // 65536ths of its picture's size; the four in the order of BorderSide
    kCropRight,
    kCropBottom,
    kCropLeft,
    kFillColor,
    kFilled,
    kLineColor,
    kLined,
    kLineWidth,  // 12700ths of a point
    kType,
    kFlippedAcross,  // 1: left and right have changed places
    kFlippedDown,
    kProperties,
  };
  std::array<int, kSides> arrEdges{};  // twips, by BorderSide
  // Below 0: not said.
  std::array<int, kProperties> arrNumbers{0, 0, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1};

  int Crop(BorderSide eSide) const { return arrNumbers[static_cast<std::size_t>(eSide)]; }
};

// Takes a property by its name in the document; others than those above are passed over.
void SetProperty(Drawing& objDrawing, std::u16string_view strName, std::u16string_view strValue);

// Width, border and background of a box of text; empty for what has none.
std::string BoxStyle(const Drawing& objDrawing);

// How a drawing without text or picture looks as a box of its own: a line, a rectangle, an ellipse.
// Empty for one that cannot be shown so.
std::string ShapeStyle(const Drawing& objDrawing);

}  // namespace rtf
