#include "platform/LineReader.h"

#include <gtest/gtest.h>

#include <vector>

#include "TempFolder.h"

namespace {

using platform::WideLineReader;
using test_support::WideBytes;

using Expected = std::vector<CString>;

struct LineReader : testing::Test, TempFolder {
  std::vector<CString> Lines(const std::string& bytes) const {
    Write("lines", bytes);
    auto reader = WideLineReader::Open(Windows("lines"));
    std::vector<CString> lines;
    CString line;
    while (reader && reader->ReadLine(line)) lines.push_back(line);
    EXPECT_TRUE(line.IsEmpty());
    return lines;
  }
};

TEST_F(LineReader, OnlyTheLineFeedEndsALineAndGoes) {
  EXPECT_EQ(Lines(WideBytes(u"\xFEFFone\r\n\ntwo\rhalf")),
            (Expected{u"\xFEFFone\r", u"", u"two\rhalf"}));
  EXPECT_EQ(Lines(WideBytes(u"one\n")), Expected{u"one"});
  EXPECT_EQ(Lines(WideBytes(u"\u010A\u0A00\n")), Expected{u"\u010A\u0A00"});
  EXPECT_EQ(Lines(""), Expected{});
  EXPECT_EQ(Lines(WideBytes(u"one") + "x"), Expected{u"one"});
  EXPECT_EQ(Lines(WideBytes(u"one\n") + "x"), Expected{u"one"});
  EXPECT_FALSE(WideLineReader::Open(Windows("none")));
}

TEST_F(LineReader, LinesOfEveryLengthAroundTheChunkComeWhole) {
  std::u16string text;
  Expected expected;
  for (const int units : {1, 32766, 32767, 32768, 32769, 65536, 100000, 0, 7}) {
    expected.push_back(CString(u'a', units));
    text += std::u16string(static_cast<size_t>(units), u'a') + u'\n';
  }
  EXPECT_EQ(Lines(WideBytes(text)), expected);
}

TEST_F(LineReader, TheFirstTextLineLosesItsCarriageReturn) {
  const auto first = [&](const std::string& bytes) {
    Write("first", bytes);
    return platform::ReadFirstTextLine(Windows("first"));
  };
  EXPECT_EQ(first("one\r\ntwo"), "one");
  EXPECT_EQ(first("one\x1A\r\r\n"), "one\x1A\r");
  EXPECT_EQ(first("\n"), "");
  EXPECT_EQ(first(std::string(4095, 'x') + "\r\ny"), std::string(4095, 'x'));
  EXPECT_EQ(first(""), std::nullopt);
  EXPECT_EQ(first("no end\r"), "no end\r");
  const std::string longest(platform::kMaxFirstLineBytes, 'x');
  EXPECT_EQ(first(longest + "\r\ny"), longest);
  EXPECT_EQ(first(longest + "x\ny"), longest);
  EXPECT_EQ(first(longest + longest), longest);
}

TEST_F(LineReader, TextModeChangesLineEndsAndNothingElse) {
  EXPECT_EQ(platform::FromTextMode("a\r\nb\r\r\nc\rd\n\x1A\r"), "a\nb\r\nc\rd\n\x1A\r");
  EXPECT_EQ(platform::ToTextMode("a\nb\r\nc\r"), "a\r\nb\r\r\nc\r");
}

}  // namespace
