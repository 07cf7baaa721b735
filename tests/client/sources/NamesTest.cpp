#include "client/show/OutputText.h"
#include "client/sources/Names.h"

#include <gtest/gtest.h>

#include "client/run/MailKey.h"

namespace client {
namespace {

const std::string kHash(64, 'a');

TEST(Names, ALevelKeepsWhatAFolderMayBeCalled) {
  EXPECT_EQ(LevelName("Reisen & \"Fotos\" <2024>?"), "Reisen & \"Fotos\" <2024>?");
  EXPECT_EQ(LevelName("a\\b"),
            "a\xEF\xBC\xBC"
            "b");
  EXPECT_EQ(LevelName("a\x01\x1f\tb"), "a b");
  EXPECT_EQ(LevelName(std::string(254, 'x') + "\xF0\x9F\x98\x80"), std::string(254, 'x'));
  EXPECT_EQ(LevelName("M\xf8te"), "M\xC3\xB8te");
  EXPECT_EQ(LevelName("Caf\xe9"), "Caf\xC3\xA9");
  EXPECT_EQ(LevelName("\xC3\xA4 b\xC3"), "\xC3\xA4 b\xEF\xBF\xBD") << "it was cut";
  EXPECT_EQ(LevelName("\x01"), "_");
}

TEST(Names, AFileNameLosesWhatFileSystemsRefuse) {
  EXPECT_EQ(FileName("a/b\\c:d*e?f\"g<h>i|j\x7f.eml"), "abcdefghij.eml");
  EXPECT_EQ(FileName("name . . "), "name");
  for (const char* name : {"", ".", "..", "/", " . "}) EXPECT_EQ(FileName(name), "_");
}

TEST(Names, ALongFileNameKeepsItsExtensionAndItsLastCharacterWhole) {
  std::string umlauts;
  for (int i = 0; i < 150; ++i) umlauts += "\xC3\xA4";
  const std::string name = FileName(umlauts + ".html");
  EXPECT_LE(name.size(), kMaxFileName);
  EXPECT_GE(name.size(), kMaxFileName - 1);
  EXPECT_TRUE(name.ends_with("\xC3\xA4.html"));
  const std::string exact(kMaxFileName, 'x');
  EXPECT_EQ(FileName(exact), exact);
  EXPECT_EQ(FileName(exact + "y"), exact);
  EXPECT_EQ(NumberedFileName("a.b.eml", 2), "a.b (2).eml");
  EXPECT_EQ(NumberedFileName("a", 12), "a (12)");
  const std::string numbered = NumberedFileName(name, 2);
  EXPECT_LE(numbered.size(), kMaxFileName);
  EXPECT_TRUE(numbered.ends_with("\xC3\xA4 (2).html"));
}

TEST(Names, ALineOfOutputDrivesNoTerminal) {
  EXPECT_EQ(OneLine("a\x1b[2Jb\nc\xC2\x9B"), "a\xE2\x90\x9B[2Jb c\xEF\xBF\xBD");
}

TEST(MailKey, IsTheMessageIdWhereItCanServe) {
  EXPECT_EQ(MailKey("<a@b>", kHash), "<a@b>");
  EXPECT_EQ(MailKey("  <a@b>\t", kHash), "<a@b>");
  const std::string longest(kMaxKey, 'x');
  EXPECT_EQ(MailKey(longest, kHash), longest);
}

TEST(MailKey, IsTheHashWhereTheIdCannotServe) {
  const std::string fromHash = "sha256:" + kHash;
  for (const std::string& id :
       {std::string(), std::string(" \t"), std::string("<o'brien@b>"),
        std::string("'); DROP TABLE MAILBOXINFO;--"), std::string(kMaxKey + 1, 'x'),
        std::string("<a\x01@b>"), std::string("<a\xff@b>"), std::string("<a\0b>", 5),
        std::string("<MessageID : a@b>"), std::string("\xC2\xA0")}) {
    EXPECT_EQ(MailKey(id, kHash), fromHash) << id;
  }
}

}  // namespace
}  // namespace client
