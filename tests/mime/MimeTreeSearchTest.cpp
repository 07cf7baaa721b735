#include <gtest/gtest.h>

#include <random>
#include <string>

#include "mime/tree/ByteSearch.h"
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

TEST(MimeTreeSearch, IndexAndFastSearchAnswerAsAPlainSearchDoes) {
  std::mt19937 random(1);
  std::size_t hits = 0;
  std::size_t answered = 0;
  for (int round = 0; round < 12000; ++round) {
    const std::string text = RandomText(random, "---ab\r\n\n", 1 + random() % 120);
    const std::string boundary = RandomText(random, "--ab", 1 + random() % 7);
    DelimiterIndex index(text);
    std::uint64_t steps = 0;
    for (const char* tail : {"\r\n", "\n", "--"}) {
      const std::string pattern = "--" + boundary + tail;
      for (int query = 0; query < 6; ++query) {
        const std::size_t from = random() % (text.size() + 1);
        const std::size_t limit = from + random() % (text.size() - from + 1);
        const std::size_t wanted = PlainFind(text, pattern, from, limit);
        hits += wanted != std::string::npos ? 1 : 0;
        ASSERT_EQ(
            mail::byte_search::findPattern(std::string_view(text).substr(0, limit), pattern, from),
            wanted);
        if (!DelimiterIndex::canFind(pattern)) continue;  // a line feed in the boundary
        ++answered;
        ASSERT_EQ(index.find(pattern, from, limit, steps), wanted)
            << testing::PrintToString(text) << " " << testing::PrintToString(pattern) << " "
            << from;
      }
    }
  }
  EXPECT_GT(hits, 1000U);
  EXPECT_GT(answered, 30000U);
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
      {Rewrite::kAll, "", ""},
  };
  for (const Row& row : rows) {
    mail::DataBuffer out;
    ASSERT_TRUE(mail::line_ends::rewrite(row.text, row.rewrite, out));
    EXPECT_EQ(out.view(), row.wanted) << testing::PrintToString(row.text);
  }
}

}  // namespace
