#include "base/AsciiText.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using mail::findBytes;
using mail::findNoCase;

constexpr std::size_t kNone = std::string_view::npos;

TEST(AsciiText, FindsAPartInAnyCase) {
  struct Row {
    std::string text;
    std::string part;
    std::size_t from;
    std::size_t found;
  };
  const std::string longPart(40, 'x');
  const Row rows[] = {
      {"a <META b", "<meta", 0, 2},
      {"mMmeta", "meta", 0, 2},
      {"metmeta", "META", 0, 3},
      {"meta", "meta", 1, kNone},
      {"", "a", 0, kNone},
      {"", "", 0, 0},
      {"abc", "", 3, 3},
      {"abc", "", 4, kNone},
      {"met", "meta", 0, kNone},
      {"\xE4", "\xC4", 0, kNone},
      {"@`", "`", 0, 1},
      {"y" + longPart, longPart, 0, 1},
      {"XX", "xx", 0, 0},
      {longPart, "X", 39, 39},
      {"a-b-c", "-", 2, 3},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(findNoCase(row.text, row.part, row.from), row.found) << row.text << " " << row.part;
  }
  EXPECT_EQ(findNoCase("Y" + std::string(40, 'X'), longPart), 1u);
  EXPECT_EQ(findBytes("aAa", "A"), 1u);
  EXPECT_EQ(findBytes({}, {}), 0u);
}

TEST(AsciiText, TrimsBothEnds) {
  EXPECT_EQ(mail::trimmed(" \t\r\n a b \n"), "a b");
  EXPECT_EQ(mail::trimmed("\r\n "), "");
}

}  // namespace
