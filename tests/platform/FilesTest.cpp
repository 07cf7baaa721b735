#include "platform/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "TempFolder.h"

namespace {

using platform::File;
using platform::OpenMode;

std::string Names(const CString& pattern) {
  std::string names;
  for (const auto& found : platform::FindFiles(pattern)) {
    names += found.strName.ToUtf8() + (found.bFolder ? "/ " : " ");
  }
  return names;
}

std::span<const unsigned char> Bytes(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

struct Files : testing::Test, TempFolder {};

TEST_F(Files, OnlyARegularFileIsRead) {
  Write("file", "abc");
  mkfifo(Path("pipe").c_str(), 0600);
  EXPECT_TRUE(File::Open(Windows("FILE"), OpenMode::kRead));
  EXPECT_FALSE(File::Open(Windows("pipe"), OpenMode::kRead));
  EXPECT_FALSE(File::Open(Windows(), OpenMode::kRead));
  EXPECT_EQ(errno, EISDIR);
  EXPECT_FALSE(File::Open(Windows("none"), OpenMode::kRead));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(File::Open(u"", OpenMode::kCreate));
}

TEST_F(Files, CreatingTakesAnExistingFileInAnyCase) {
  Write("Log.txt", "old");
  auto file = File::Open(Windows("LOG.TXT"), OpenMode::kAppendKeep);
  ASSERT_TRUE(file && file->Append(Bytes("+new")));
  EXPECT_EQ(Read("Log.txt"), "old+new");
  file = File::Open(Windows("log.TXT"), OpenMode::kCreate);
  ASSERT_TRUE(file && file->Write(std::u16string_view(u"\u0141")));
  EXPECT_EQ(Read("Log.txt"), "\x41\x01");
  EXPECT_EQ(Names(Windows("*")), "Log.txt ");
}

TEST_F(Files, AFullDiskIsAFailure) {
  auto file = File::Open(u"\\dev\\full", OpenMode::kAppendKeep);
  ASSERT_TRUE(file);
  EXPECT_FALSE(file->Write(Bytes("x")));
}

TEST_F(Files, RenamingNeverReplaces) {
  Write("a", "1");
  Write("B", "2");
  EXPECT_FALSE(platform::RenameFile(Windows("a"), Windows("b")));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(Read("B"), "2");
  EXPECT_TRUE(platform::RenameFile(Windows("A"), Windows("c")));
  EXPECT_EQ(Read("c"), "1");
}

TEST_F(Files, AWildcardSearchListsInByteOrder) {
  for (const char* name : {"b.txt", "A.TXT", "a.txt.bak", "noext", ".hidden", "ä.txt"}) {
    Write(name, "");
  }
  mkdir(Path("sub.txt").c_str(), 0700);
  symlink("sub.txt", Path("link.txt").c_str());
  EXPECT_EQ(Names(Windows("*.Txt")), "A.TXT b.txt link.txt sub.txt/ ä.txt ");
  EXPECT_EQ(Names(Windows("?.txt")), "A.TXT b.txt ä.txt ");
  EXPECT_EQ(Names(Windows("*.*")), ".hidden A.TXT a.txt.bak b.txt link.txt noext sub.txt/ ä.txt ");
  EXPECT_EQ(Names(Windows("*T*.*A?")), "a.txt.bak ");
  EXPECT_EQ(Names(Windows("NOEXT")), "noext ");
  EXPECT_EQ(Names(Windows("sub.txt\\")), "");
  EXPECT_EQ(Names(Windows("[a]*")), "");
  EXPECT_TRUE(checkFileExists(Windows("SUB.*")));
  EXPECT_FALSE(checkFileExists(Windows("none*")));
  EXPECT_FALSE(checkFileExists(u""));
}

TEST_F(Files, APatternOfManyStarsEndsSoon) {
  Write(std::string(255, 'a'), "");
  CString pattern = Windows();
  for (int i = 0; i < 5000; ++i) pattern += u"*a";
  EXPECT_EQ(Names(pattern + u"b"), "");
}

TEST_F(Files, RemovingAFolderLeavesWhatItsLinksPointAt) {
  Write("Kept/file", "x");
  Write("Gone/deep/er/file", "x");
  symlink("../../Kept", Path("Gone/deep/link").c_str());
  symlink("Kept", Path("alias").c_str());
  EXPECT_NE(RemoveFolder(Windows("GONE\\")), 0);
  EXPECT_NE(RemoveFolder(Windows("alias")), 0);
  EXPECT_EQ(Names(Windows("*")), "Kept/ ");
  EXPECT_EQ(Read("Kept/file"), "x");
  EXPECT_EQ(RemoveFolder(Windows("Kept\\file")), 0);
  EXPECT_EQ(RemoveFolder(Windows("Gone")), 0);
  EXPECT_EQ(RemoveFolder(u""), 0);
}

}  // namespace
