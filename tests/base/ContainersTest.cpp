#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/CkLogger.h"
#include "base/ClsBase.h"
#include "base/CritSecExitor.h"
#include "base/DataBuffer.h"
#include "base/ExtPtrArray.h"
#include "base/LogContextExitor.h"
#include "base/RefCountedObject.h"
#include "base/RefCountedObjectOwner.h"
#include "base/StringBuffer.h"
#include "tests/support/BlockLimit.h"

namespace {

using namespace mail;

// Overwrites the validity word of that value inside an object; false if it is not there.
template <class Word, class T>
bool Spoil(T& object, Word word, Word instead = 0) {
  auto* bytes = reinterpret_cast<unsigned char*>(&object);
  for (size_t n = 0; n + sizeof(Word) <= sizeof(T); ++n) {
    if (std::memcmp(bytes + n, &word, sizeof(Word)) != 0) continue;
    std::memcpy(bytes + n, &instead, sizeof(Word));
    return true;
  }
  return false;
}

int fatal_calls = 0;
std::string fatal_text;
void NoteFatal(const char* text) {
  ++fatal_calls;
  fatal_text = text;
}

TEST(StringBuffer, TheEightySecondByteMovesToTheHeapAndGrowthFollowsTheSteps) {
  StringBuffer text;
  ASSERT_TRUE(text.append(std::string(81, 'a')));
  EXPECT_TRUE(text.isInline());
  ASSERT_TRUE(text.appendChar('b'));
  EXPECT_FALSE(text.isInline());
  EXPECT_EQ(text.capacity(), 82 + StringBuffer::kFirstGrowStep + 1);
  const auto step = text.capacity() / 2;
  ASSERT_TRUE(text.append(std::string(1000, 'c')));
  EXPECT_EQ(text.capacity(), 1082 + step + 1);
  ASSERT_TRUE(text.append(std::string(3'000'000, 'd')));
  ASSERT_TRUE(text.append(std::string(2'000'000, 'e')));
  EXPECT_EQ(text.capacity(), 5'001'082 + StringBuffer::kMaxGrowStep + 1);
  EXPECT_EQ(std::strlen(text.getString()), text.getSize());
}

TEST(StringBuffer, NulsAtTheEndAreNeverCounted) {
  StringBuffer text;
  ASSERT_TRUE(text.appendN("a\0b\0\0", 5));
  EXPECT_EQ(text.view(), std::string_view("a\0b", 3));
  text.removeChar('b');
  EXPECT_EQ(text.view(), "a");
  ASSERT_TRUE(text.setString("xyz"));
  text.replaceAnyOf("yz", '\0');
  EXPECT_EQ(text.view(), "x");
}

TEST(StringBuffer, AppendsAndTakesPartsOfItself) {
  StringBuffer text("0123456789");
  for (int n = 0; n < 6; ++n) ASSERT_TRUE(text.append(text));
  EXPECT_EQ(text.getSize(), 640U);
  EXPECT_TRUE(text.endsWith("0123456789"));
  ASSERT_TRUE(text.setString(text.view().substr(3, 4)));
  EXPECT_EQ(text.view(), "3456");
}

TEST(StringBuffer, ChangesText) {
  StringBuffer text(" \tFoo_Bar'\"x\"\r\n");
  text.trim();
  text.toLowerCase();
  text.replaceAnyOf("_'\"abx", '-');  // the sixth character is one too many
  EXPECT_EQ(text.view(), "foo---r--x-");
  text.chop(3);
  EXPECT_EQ(text.view(), "foo---r-");
  EXPECT_EQ(text.lastChar(), '-');
  EXPECT_TRUE(text.removeFirst("oo-"));
  EXPECT_FALSE(text.removeFirst("oo-"));
  EXPECT_EQ(text.view(), "f--r-");
}

TEST(StringBuffer, ReplacesFromTheLeftInLinearTime) {
  StringBuffer text("aaaa.aa");
  EXPECT_EQ(text.replaceAll("aa", "a"), 3U);
  EXPECT_EQ(text.view(), "aa.a");
  EXPECT_EQ(text.replaceAll("", "x"), 0U);
  EXPECT_EQ(text.replaceAll(".a", std::string_view("\0", 1)), 1U);
  EXPECT_EQ(text.view(), "aa");
  StringBuffer same(std::string(2'000'000, 'a'));
  EXPECT_EQ(same.replaceAll(std::string(100'000, 'a') + "b", "x"), 0U);
}

TEST(StringBuffer, LineEndsBecomeCrLfAndLinesEndAtEachKind) {
  StringBuffer text("a\rb\nc\r\n\n\rd");
  ASSERT_TRUE(text.toCrLf());
  EXPECT_EQ(text.view(), "a\r\nb\r\nc\r\n\r\n\r\nd");
  StringBuffer old("a\rb\r");  // no other line ends
  ASSERT_TRUE(old.toCrLf());
  EXPECT_EQ(old.view(), "a\r\nb\r\n");
  ExtPtrArraySb lines;
  ASSERT_TRUE(StringBuffer("a\rb\n\r\nc\r\n").splitLines(lines, 100'000));
  ASSERT_EQ(lines.getSize(), 4U);
  EXPECT_EQ(lines.at(2)->view(), "");
  EXPECT_EQ(lines.at(3)->view(), "c");
  lines.removeAll();
  ASSERT_TRUE(StringBuffer("a\nb\nc").splitLines(lines, 2));
  EXPECT_EQ(lines.getSize(), 2U);
}

TEST(StringBuffer, ComparesWithAndWithoutCase) {
  const StringBuffer text("Content-Type: \xC3\x84");
  EXPECT_TRUE(text.equalsIgnoreCase("content-TYPE: \xC3\x84"));
  EXPECT_FALSE(text.equalsIgnoreCase("content-type: \xE3\x84"));
  EXPECT_TRUE(text.containsIgnoreCase("T-tYPE"));
  EXPECT_FALSE(text.contains("t-type"));
  EXPECT_TRUE(text.beginsWithIgnoreCase("CONTENT"));
  EXPECT_FALSE(text.beginsWithIgnoreCase(std::string(100, 'c')));
}

TEST(StringBuffer, WantOfMemoryAndAWrongWordLeaveTheTextAlone) {
  StringBuffer text(std::string(81, 'a'));
  {
    const test_support::BlockLimit none(0);
    EXPECT_FALSE(text.appendChar('b'));
    EXPECT_FALSE(text.append("bc"));
    EXPECT_FALSE(text.setString(std::string(90, 'b')));
    EXPECT_EQ(text.replaceAll("a", "bb"), 0U);
  }
  EXPECT_EQ(text.view(), std::string(81, 'a'));
  ASSERT_TRUE(Spoil<std::uint8_t>(text, StringBuffer::kValidityByte));
  EXPECT_FALSE(text.append("b"));
  EXPECT_EQ(text.getSize(), 0U);
}

TEST(DataBuffer, GrowsByTheFirstStepThatFits) {
  struct {
    std::uint32_t need, length, step;
  } const rows[] = {{1, 0, 20'000},
                    {19'999, 49'999, 20'000},
                    {20'000, 0, 20'000},
                    {20'001, 49'999, 20'001},
                    {49'999, 50'000, 50'000},
                    {50'000, 50'000, 50'000},
                    {99'999, 100'000, 100'000},
                    {1, 1'000'000, 1'000'000},
                    {1'500'000, 3'000'000, 3'000'000},
                    {1, 12'000'000, 12'000'000},
                    {12'000'000, 13'000'000, 12'000'000},
                    {7'999'999, 11'999'999, 8'000'000},
                    {9'000'000, 8'000'000, 9'000'000}};
  for (const auto& row : rows) {
    EXPECT_EQ(DataBuffer::growthStep(row.need, row.length), row.step)
        << row.need << " at " << row.length;
  }
}

TEST(DataBuffer, TriesAgainWithLessWhenAStepCannotBeHad) {
  DataBuffer bytes;
  ASSERT_TRUE(bytes.append(std::string(20'000, 'a')));
  constexpr auto kLargest = 20'000 + 100 + DataBuffer::kRetrySlack;
  const test_support::BlockLimit little(kLargest);
  ASSERT_TRUE(bytes.append(std::string(100, 'b')));
  EXPECT_EQ(bytes.capacity(), kLargest);
  EXPECT_FALSE(bytes.append(std::string(401, 'c')));
  EXPECT_EQ(bytes.getSize(), 20'100U);
}

TEST(DataBuffer, RefusesWhatPasses32BitsAndIgnoresNothing) {
  DataBuffer bytes;
  ASSERT_TRUE(bytes.append("ab"));
  EXPECT_TRUE(bytes.append(nullptr, 5));
  EXPECT_TRUE(bytes.append("x", 0));
  EXPECT_FALSE(bytes.reserve(0xFFFFFFFEU));
  EXPECT_FALSE(bytes.append(bytes.getData(), 0xFFFFFFFEU));
  EXPECT_EQ(bytes.view(), "ab");
  ASSERT_TRUE(bytes.append(bytes));
  EXPECT_EQ(bytes.view(), "abab");
}

TEST(DataBuffer, LooksForHighBytesAndForAByte) {
  for (size_t length = 1; length < 20; ++length) {
    for (size_t at = 0; at < length; ++at) {
      std::string text(length, 'a');
      text[at] = '\x80';
      DataBuffer bytes;
      ASSERT_TRUE(bytes.append(text));
      EXPECT_FALSE(bytes.is7bit());
      EXPECT_EQ(bytes.is7bit(at), at != 0);
      EXPECT_FALSE(bytes.is7bit(at + 1));
      EXPECT_EQ(bytes.findByte(0x80), at);
      EXPECT_FALSE(bytes.findByte(0x80, at + 1));
    }
  }
  EXPECT_TRUE(DataBuffer().is7bit());
}

// A tree as MIME trees are: each object owns its children.
class Node : public LibraryObject {
 public:
  ~Node() override { ++destroyed; }
  ExtPtrArrayOf<Node> children;
  static inline int destroyed = 0;
};

TEST(ExtPtrArray, GivesUpADeepTreeWithoutDeepRecursion) {
  constexpr int kDepth = 1'000'000;
  Node::destroyed = 0;
  {
    auto top = makeOwned<Node>();
    for (int n = 1; n < kDepth; ++n) {
      auto parent = makeOwned<Node>();
      ASSERT_TRUE(parent->children.append(std::move(top)));
      top = std::move(parent);
    }
  }
  EXPECT_EQ(Node::destroyed, kDepth);
}

TEST(ExtPtrArray, KeepsOrderAndHandsElementsBack) {
  ExtPtrArraySb array;
  for (const char* text : {"a", "b", "c"}) {
    ASSERT_TRUE(array.append(makeOwned<StringBuffer>(text)));
  }
  ASSERT_TRUE(array.insert(1, makeOwned<StringBuffer>("x")));
  EXPECT_EQ(array.remove(2)->view(), "b");
  EXPECT_TRUE(array.deleteAt(0));
  EXPECT_FALSE(array.deleteAt(2));
  EXPECT_EQ(array.at(0)->view(), "x");
  EXPECT_EQ(array.at(2), nullptr);
}

TEST(ExtPtrArray, RefusesAnObjectWhoseWordIsWrong) {
  const auto before = SetFatalHandler(NoteFatal);
  fatal_calls = 0;
  StringBuffer object("x");
  ExtPtrArray array;
  ASSERT_TRUE(Spoil<std::uint32_t>(object, LibraryObject::kValidityWord));
  EXPECT_FALSE(array.appendObject(&object));
  EXPECT_EQ(array.getSize(), 0U);
  LibraryObject::deleteObject(&object);  // must not delete what lies on the stack
  EXPECT_EQ(fatal_calls, 2);
  EXPECT_EQ(fatal_text, "Not a valid Velkor object.");
  SetFatalHandler(before);
}

class Counted : public ClsBase {
 public:
  explicit Counted(int& n) : alive(n) { ++alive; }
  int& alive;

 private:
  ~Counted() override { --alive; }
};

TEST(RefCountedObject, EndsWithItsLastOwner) {
  int alive = 0;
  {
    RefCountedObjectOwner owner(new Counted(alive));
    ExtPtrArrayRc array;
    owner.get()->incRefCount();
    ASSERT_TRUE(array.append(OwnedPtr<RefCountedObject>(owner.get())));
    RefCountedObjectOwner copy = owner;
    EXPECT_EQ(copy.get()->getRefCount(), 3U);
    owner = RefCountedObjectOwner();
    copy = RefCountedObjectOwner();
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ClsBase, StartsSuccessfulAndItsSectionIsEnteredAgain) {
  int alive = 0;
  auto* object = new Counted(alive);
  EXPECT_TRUE(object->isValid());
  EXPECT_TRUE(object->m_lastMethodSuccess);
  {
    const CritSecExitor outer(*object);
    const CritSecExitor inner(*object);
  }
  ASSERT_TRUE(Spoil<std::uint32_t>(*object, ClsBase::kClsValidityWord, 1));
  EXPECT_FALSE(object->isValid());
  object->decRefCount();
}

TEST(CkLogger, IndentsContextsAndKeepsHostileTextInItsLine) {
  _ckLogger log;
  {
    const LogContextExitor context(log, "LoadMimeFile");
    log.LogDataLong("numMimeBytes", -12);
    log.LogData("charsetName", "x\r\nSuccess.");
  }
  log.LogError("end");
  EXPECT_EQ(log.text(),
            "LoadMimeFile:\r\n  numMimeBytes: -12\r\n  charsetName: x  Success.\r\nend\r\n");
}

TEST(CkLogger, CutsAtCharactersAndEndsWhenItIsFull) {
  _ckLogger log;
  std::string text(_ckLogger::kMaxEntryBytes - 1, 'a');
  log.LogInfo(text + "\xE2\x82\xAC");
  EXPECT_EQ(log.text(), text + "\r\n");
  for (int n = 0; n < 1000; ++n) log.LogInfo(text);
  EXPECT_LE(log.text().size(), _ckLogger::kMaxTextBytes + 100);
  EXPECT_TRUE(log.text().ends_with("(the log ends here: it is full)\r\n"));
  log.clearLog();
  log.LogInfo("again");
  EXPECT_EQ(log.text(), "again\r\n");
}

}  // namespace
