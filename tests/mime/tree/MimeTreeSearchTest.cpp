#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <utility>

#include "mime/tree/DelimiterIndex.h"
#include "mime/tree/LineEnds.h"
#include "mime/tree/SourceText.h"

namespace {

using mail::DelimiterIndex;
using mail::SourceText;

// Text over few letters, so that everything nearly matches.
std::string RandomText(std::mt19937& random, std::string_view letters, std::size_t length) {
  std::string text;
  for (std::size_t n = 0; n < length; ++n) text += letters[random() % letters.size()];
  return text;
}

std::size_t PlainFind(std::string_view text, std::string_view pattern, std::size_t from,
                      std::size_t limit) {
  return text.substr(0, limit).find(pattern, from);
}

// The first delimiter with its line end, and where that ends; padding is no part of either.
DelimiterIndex::Place PlainFindLine(std::string_view text, std::string_view delimiter,
                                    std::string_view lineEnd, std::size_t from, std::size_t limit) {
  delimiter.remove_suffix(delimiter.size() - 1 - delimiter.find_last_not_of(" \t\r"));
  for (std::size_t n = from; (n = PlainFind(text, delimiter, n, limit)) != std::string::npos; ++n) {
    std::size_t end = n + delimiter.size();
    while (end < limit && std::string_view(" \t\r").find(text[end]) != std::string::npos) ++end;
    if (end == limit || text[end] != '\n') continue;
    if ((text[end - 1] == '\r') == (lineEnd == "\r\n")) return {n, end + 1};
  }
  return {};
}

TEST(MimeTreeSearch, IndexAndFastSearchAnswerAsAPlainSearchDoes) {
  std::mt19937 random(1);
  std::size_t hits = 0;
  std::size_t padded = 0;
  for (int round = 0; round < 16000; ++round) {
    const std::string text = RandomText(random, "---ab\r\n\n \t", 1 + random() % 120);
    const std::string delimiter =
        "--" + RandomText(random, "--ab", 1 + random() % 5) + (round % 8 == 0 ? " " : "");
    const std::string closing = delimiter + "--";
    DelimiterIndex index(text);
    std::uint64_t steps = 0;
    SourceText source(text, steps);
    ASSERT_TRUE(DelimiterIndex::canFind(closing));
    for (int query = 0; query < 6; ++query) {
      const std::size_t from = random() % (text.size() + 1);
      const std::size_t limit = from + random() % (text.size() - from + 1);
      const std::string told = testing::PrintToString(text) + " " +
                               testing::PrintToString(delimiter) + " " + std::to_string(from);
      const std::size_t wanted = PlainFind(text, closing, from, limit);
      ASSERT_EQ(index.findClosing(closing, from, limit, steps), wanted) << told;
      ASSERT_EQ(source.findClosing(closing, from, limit, 0), wanted) << told;
      for (const char* lineEnd : {"\r\n", "\n"}) {
        const auto line = PlainFindLine(text, delimiter, lineEnd, from, limit);
        const auto found = index.findLine(delimiter, lineEnd, from, limit, steps);
        ASSERT_EQ(std::pair(found.nBegin, found.nEnd), std::pair(line.nBegin, line.nEnd)) << told;
        const auto plain = source.findDelimiter(delimiter, lineEnd, from, limit, 0);
        ASSERT_EQ(std::pair(plain.nBegin, plain.nEnd), std::pair(line.nBegin, line.nEnd)) << told;
        hits += line.nBegin != std::string::npos ? 1 : 0;
        padded += line.nEnd - line.nBegin > delimiter.size() + std::strlen(lineEnd) ? 1 : 0;
      }
    }
  }
  EXPECT_GT(hits, 1000U);
  EXPECT_GT(padded, 200U);
}

TEST(MimeTreeSearch, MarkersAreFoundInWhateverOrderTheyAreAskedFor) {
  std::mt19937 random(2);
  for (int round = 0; round < 3000; ++round) {
    const std::string text = RandomText(random, "\r\r\n\na", 1 + random() % 60);
    std::uint64_t steps = 0;
    SourceText source(text, steps);
    for (int query = 0; query < 30; ++query) {
      const auto marker = static_cast<mail::Marker>(random() % 8);
      const std::size_t from = random() % (text.size() + 1);
      const std::size_t limit = from + random() % (text.size() - from + 1);
      ASSERT_EQ(source.find(marker, from, limit),
                PlainFind(text, mail::textOf(marker), from, limit))
          << testing::PrintToString(text) << " " << from << " " << limit;
    }
  }
}

TEST(MimeTreeSearch, RewritesLineEnds) {
  using mail::line_ends::Rewrite;
  struct Row {
    Rewrite rewrite;
    std::string_view text, wanted;
  };
  const Row rows[] = {
      {Rewrite::kBareLf, "a\nb\r\nc\rd\n\n", "a\r\nb\r\nc\rd\r\n\r\n"},
      {Rewrite::kAll, "\ra\r\r\n\n\rb", "\r\na\r\n\r\n\r\n\r\nb"},
      {Rewrite::kEveryCr, "a\r\nb\r", "a\r\n\nb\r\n"},
      {Rewrite::kCrCrLf, "a\r\r\nb\r\r\r\nc\r\r\r\r\nd\r\r\r\r\r\ne\r\n",
       "a\r\nb\r\nc\r\nd\r\r\ne\r\n"},
      {Rewrite::kAll, {}, ""},  // null, as the text of an empty buffer is
  };
  for (const Row& row : rows) {
    mail::DataBuffer out;
    ASSERT_TRUE(mail::line_ends::rewrite(row.text, row.rewrite, out));
    EXPECT_EQ(out.view(), row.wanted) << testing::PrintToString(row.text);
  }
}

}  // namespace
