#include "html/TextFiller.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/NaiveFiller.h"

namespace {

using mail::TextFiller;

// Pieces of all kinds in any order, at each margin and indentation that matters.
TEST(TextFiller, FillsInPlaceAsIfEachLineWereLaidAnew) {
  const std::string pieces[] = {"a",
                                "bb cc",
                                " word and more ",
                                "a rather long run of words that goes over several lines",
                                "unbreakableunbreakableunbreakable",
                                "\n",
                                "x&nbsp;",
                                "&nbsp;&nbsp;y",
                                "\xC3\xA4\xC3\xB6\xC3\xBC \xE2\x82\xAC\xE2\x82\xAC"};
  std::mt19937 random(1);
  for (int run = 0; run < 20'000; ++run) {
    const int margin = static_cast<int>(random() % 24);
    const size_t indent = random() % 3 * 4;
    TextFiller filler;
    std::string naive;
    std::string told;
    for (int step = 0; step < 8; ++step) {
      const std::string& piece = pieces[random() % std::size(pieces)];
      switch (random() % 5) {
        case 0:
          filler.freshLine();
          if (!naive.ends_with("\r\n")) naive += "\r\n";
          told += "|";
          break;
        case 1:
          if (indent == 0 && piece.find('\n') == std::string::npos) {
            filler.emitPre(piece, indent);
            naive += piece;
            told += "{" + piece + "}";
          }
          break;
        default:
          filler.emitText(piece, indent, margin);
          naive_filler::Emit(naive, piece, indent, margin);
          told += "[" + piece + "]";
      }
    }
    ASSERT_EQ(filler.text(), naive) << "margin " << margin << " indent " << indent << " " << told;
  }
}

TEST(TextFiller, KeepsTheLinesOfTextThatStands) {
  TextFiller filler;
  filler.freshLine();
  filler.emitPre("\na  b\r  c\n", 4);
  EXPECT_EQ(filler.text(), "\r\n    a  b\r\n      c\r\n    ");
  filler.emitText("d", 4, 80);
  EXPECT_EQ(filler.text(), "\r\n    a  b\r\n      c\r\n    d");
}

TEST(TextFiller, DrawsRules) {
  const auto rule = [](size_t indent, int margin) {
    TextFiller filler;
    filler.rule(indent, margin);
    return filler.text().substr(2);  // behind the line end in front
  };
  const auto dashes = [](size_t count) { return std::string(count, '-') + "\r\n"; };
  EXPECT_EQ(rule(0, 72), dashes(72));
  EXPECT_EQ(rule(4, 80), "    " + dashes(76));
  EXPECT_EQ(rule(80, 80), std::string(80, ' ') + dashes(1));
  EXPECT_EQ(rule(84, 80), dashes(80));
  EXPECT_EQ(rule(4, 0), dashes(80));
}

}  // namespace
