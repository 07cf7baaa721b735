#include "body/rtf/DecimalPoint.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(DecimalPoint, StandsInTheFirstNumber) {
  const struct {
    std::string text;
    std::string halves;
  } rows[] = {
      {"", "|"},
      {"none", "none|"},
      {"12", "12|"},
      {"12.5", "12|.5"},
      {"1,5 kg", "1|,5 kg"},
      {"12 kg", "12|&#160;kg"},
      {"$ 12.50 (a.b)", "$ 12|.50 (a.b)"},
      {"12.", "12|."},
      {".5", ".5|"},  // no digit before it
      // What groups thousands, and what does not.
      {"1.234", "1.234|"},
      {"1,234,567", "1,234,567|"},
      {"1,234.5", "1,234|.5"},
      {"1.234,567", "1.234|,567"},
      {"1 234,5", "1 234|,5"},
      {"1&#160;234,5", "1&#160;234|,5"},
      {"1'234.50", "1'234|.50"},
      // Tags are whole on both sides; digits in them and in references are none of the number.
      {"<b>12.5</b>", "<b>12</b>|<b>.5</b>"},
      {"<a href=\"1.5\"><b>1</b>2<i>.</i>5</a>",
       "<a href=\"1.5\"><b>1</b>2<i></i></a>|<a href=\"1.5\"><i>.</i>5</a>"},
      {"<b>12</b>", "<b>12</b>|"},
      {"&#8364;7.5", "&#8364;7|.5"},
      {"\x01"
       "12\x01"
       "3.5",
       "\x01"
       "12\x01"
       "3|.5"},
      // Cut.
      {"1<b", "1<b|"},
      {"1&#16", "1|&#16"},
  };
  for (const auto& row : rows) {
    const rtf::DecimalHalves halves = rtf::SplitAtDecimalPoint(row.text);
    EXPECT_EQ(halves.strWhole + "|" + halves.strFraction, row.halves);
  }
  EXPECT_EQ(rtf::SplitAtDecimalPoint("<b>12.50</b>").nFractionPart, 60u);
}

}  // namespace
