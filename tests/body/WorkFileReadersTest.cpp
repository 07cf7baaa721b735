#include "body/WorkFileReaders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "charset/LibraryNarrow.h"
#include "target/CTarnyOutlookHandler.h"
#include "tests/pipeline/TempRunFolder.h"

namespace {

class WorkFileReaders : public testing::Test {
 protected:
  WorkFileReaders() { mail::installLibraryNarrow(); }
  CString Path() const { return GetCurrPath() + u"f"; }
  CString Narrow(const std::string& bytes) {
    folder.WriteWork("f", bytes);
    length = -1;
    return GetStringFromFilenonUnicode(Path(), &length);
  }

  TempRunFolder folder;
  int length = -1;
};

TEST_F(WorkFileReaders, NarrowTextAroundTheChunk) {
  for (const size_t size : {0u, 1u, 65535u, 65536u, 65537u, 131072u, 131073u}) {
    EXPECT_EQ(Narrow(std::string(size, 'x')), CString(u'x', static_cast<int>(size))) << size;
    EXPECT_EQ(length, static_cast<int>(size));
  }
}

TEST_F(WorkFileReaders, LineEndsShrinkAndSeamsRepeat) {
  EXPECT_EQ(Narrow("a\r\nb\rc\nd\r"), u"a\nb\rc\nd\r");
  // The first chunk takes one byte more than its share, which the rest reads once more.
  const CString text = Narrow("\r\n" + std::string(65534, 'x') + "yz");
  EXPECT_EQ(text.GetLength(), 1 + 65534 + 1 + 2);
  EXPECT_EQ(text.Right(4), u"xyyz");
  // CR and LF on the two sides of a read stay one line end.
  const CString seam = Narrow(std::string(65535, 'x') + "\r\n" + std::string(10, 'y'));
  EXPECT_EQ(seam.Mid(65534, 4), u"x\n\ny");
}

TEST_F(WorkFileReaders, NulEndsItsChunkOnly) {
  const CString text = Narrow("ab" + std::string(65534, '\0') + "cd");
  EXPECT_EQ(text, u"abcd");
}

TEST_F(WorkFileReaders, LongerReadingWins) {
  CTarnyOutlookHandler handler;
  folder.WriteWork("f", "narrow text");
  EXPECT_EQ(handler.GetStringFromFile(Path(), &length, false), u"narrow text");
  folder.WriteWork("f", u"\uFEFFwide\ttext\r\nmore");
  EXPECT_EQ(handler.GetStringFromFile(Path(), &length, false),
            CString(std::u16string(u"\uFEFFwide\0text\rmore", 15)));
  EXPECT_EQ(length, 32);
  folder.WriteWork("f", "");
  EXPECT_EQ(handler.GetStringFromFile(Path(), &length, false), u"");
  EXPECT_EQ(length, 0);
  length = 7;
  EXPECT_EQ(handler.GetStringFromFile(GetCurrPath() + u"none", &length, false), u"");
  EXPECT_EQ(length, 7);
}

TEST_F(WorkFileReaders, BytesComeWholeAndAFolderIsNoFile) {
  folder.WriteWork("f", std::string("a\0b", 3));
  const std::unique_ptr<unsigned char[]> bytes(GetPureMime(Path(), &length));
  ASSERT_TRUE(bytes);
  EXPECT_EQ(length, 3);
  EXPECT_EQ(bytes[2], 'b');
  EXPECT_EQ(GetPureMime(GetCurrPath(), &length), nullptr);
  EXPECT_EQ(length, 0);
  const std::unique_ptr<unsigned char[]> same(GetCharFromFile(Path(), &length));
  ASSERT_TRUE(same);
  EXPECT_EQ(length, 3);
  EXPECT_EQ(same[2], 'b');
  EXPECT_EQ(GetCharFromFile(GetCurrPath(), &length), nullptr);
  EXPECT_EQ(length, 3);  // here it stays
}

TEST_F(WorkFileReaders, LinesComeAsTheyAreWithTheirEnd) {
  CTarnyOutlookHandler handler;
  folder.WriteWork("f", u"one\r\n\tt\u00F6\n\nend");
  EXPECT_EQ(handler.GetStringFromFileTemp(Path(), &length, false), u"one\r\n\tt\u00F6\n\nend\n");
  EXPECT_EQ(length, 26);
  EXPECT_EQ(handler.GetStringFromFileTemp(GetCurrPath() + u"none", &length, false), u"");
  EXPECT_EQ(length, 26);
}

TEST_F(WorkFileReaders, TextIsCopiedIntoAClearedBuffer) {
  std::vector<unsigned char> bytes(kCopyBytes, 0xEE);
  CopyTOChar(u"a\u20ACz", bytes.data());
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 6), std::string("a\0\xAC\0z\0", 6));
  EXPECT_EQ(std::ranges::count(bytes, 0), static_cast<long>(kCopyBytes) - 3);
  std::vector<char16_t> units(kCopyBytes / 2, u'\xEEEE');
  CopyTOCharUNicode(u"a\u20ACz", units.data());
  EXPECT_EQ(std::u16string(units.begin(), units.begin() + 3), u"a\u20ACz");
  EXPECT_EQ(std::ranges::count(units, u'\0'), static_cast<long>(kCopyBytes / 2) - 3);
}

TEST_F(WorkFileReaders, NamesAreClassifiedByCase) {
  CTarnyOutlookHandler handler;
  EXPECT_EQ(handler.FindExtension(u"image/png"), 1);
  EXPECT_EQ(handler.FindExtension(u"image/x-png"), 0);
  EXPECT_EQ(handler.FindExtension(u"text/plain; inline"), 1);
  EXPECT_EQ(handler.FindDotExtensionn(u"a.JPG"), 0);
  EXPECT_EQ(handler.FindDotExtensionn(u"a.jpe"), 1);
  CStringArray types;
  for (const char16_t* type : {u"text/plain", u"Image/png; 1", u"image/png; 2", u"image/png; 3"}) {
    types.Add(type);
  }
  EXPECT_EQ(handler.ExtractTYPEFromeFile(types, u"image/png"), u"image/png; 2");
  EXPECT_EQ(handler.ExtractTYPEFromeFile(types, u"audio"), u"");
}

}  // namespace
