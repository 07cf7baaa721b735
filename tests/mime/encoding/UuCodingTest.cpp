#include "mime/encoding/UuCoding.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using mail::DataBuffer;

// The plain encoder that the decoder must undo.
std::string Encode(const std::string& bytes) {
  std::string text;
  const auto put = [&](unsigned bits) { text += bits == 0 ? '`' : static_cast<char>(bits + 32); };
  for (std::size_t at = 0; at < bytes.size(); at += 45) {
    const std::string line = bytes.substr(at, 45);
    put(static_cast<unsigned>(line.size()));
    for (std::size_t i = 0; i < line.size(); i += 3) {
      unsigned group = 0;
      for (std::size_t j = i; j < i + 3; ++j) {
        group = group << 8 | (j < line.size() ? static_cast<unsigned char>(line[j]) : 0u);
      }
      for (int shift = 18; shift >= 0; shift -= 6) put(group >> shift & 63);
    }
    text += "\r\n";
  }
  return text + "`\r\n";
}

std::string Body(std::string_view text) {
  DataBuffer out;
  EXPECT_TRUE(mail::decodeUuBody(text, out));
  return std::string(out.view());
}

TEST(UuCoding, UndoesTheEncoding) {
  std::string bytes;
  for (int i = 0; i < 300; ++i) {
    EXPECT_EQ(Body("begin 755 x\r\n" + Encode(bytes) + "end\r\n"), bytes) << i;
    bytes += static_cast<char>(i * 37);
  }
  EXPECT_EQ(Body(Encode(bytes)), bytes);
  EXPECT_EQ(Body("begin 644 cat.txt\n#0V%T\n`\nend\n"), "Cat");
  EXPECT_EQ(Body("#0V%T "), "Cat");                // with a checksum character
  EXPECT_EQ(Body("#0V"), std::string("C`\0", 3));  // cut short
}

TEST(UuCoding, FindsBlocksInText) {
  const std::string block = "begin 644  my cat.txt \r\n#0V%T\r\n`\r\nend\r\n";
  const std::string text =
      "begin 644 reasons to go on\r\nand on.\r\nx begin 644 a\r\n" + block + "z";
  const auto found = mail::findUuBlock(text, 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->strName, "my cat.txt");
  EXPECT_EQ(text.substr(0, found->nBegin) + text.substr(found->nEnd),
            text.substr(0, text.size() - block.size() - 1) + "z");
  DataBuffer out;
  EXPECT_TRUE(mail::decodeUuLines(found->strLines, out));
  EXPECT_EQ(out.view(), "Cat");
  EXPECT_FALSE(mail::findUuBlock(text, found->nEnd));
  EXPECT_FALSE(mail::findUuBlock("begin 755 a\n#0V%T\n`\nend\n", 0));
  // Without an end the block reaches as far as lines are data.
  const auto open = mail::findUuBlock("begin 600 a\n#0V%T\nRegards, and much more than data", 0);
  ASSERT_TRUE(open);
  EXPECT_EQ(open->strLines, "#0V%T\n");
  for (const char* none : {"begin 644 ", "begin 644 a\n", "begin 644", "begin 644 a\n\n", ""}) {
    EXPECT_FALSE(mail::findUuBlock(none, 0)) << none;
  }
}

}  // namespace
