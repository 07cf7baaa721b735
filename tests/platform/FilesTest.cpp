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

TEST(Files, OnlyARegularFileIsRead) {
  TempFolder folder;
  folder.Write("file", "abc");
  mkfifo(folder.Path("pipe").c_str(), 0600);
  EXPECT_TRUE(File::Open(folder.Windows("FILE"), OpenMode::kRead));
  EXPECT_FALSE(File::Open(folder.Windows("pipe"), OpenMode::kRead));
  EXPECT_FALSE(File::Open(folder.Windows(), OpenMode::kRead));
  EXPECT_EQ(errno, EISDIR);
  EXPECT_FALSE(File::Open(folder.Windows("none"), OpenMode::kRead));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(File::Open(u"", OpenMode::kCreate));
}

TEST(Files, CreatingTakesAnExistingFileInAnyCase) {
  TempFolder folder;
  folder.Write("Log.txt", "old");
  auto file = File::Open(folder.Windows("LOG.TXT"), OpenMode::kAppendKeep);
  ASSERT_TRUE(file && file->SeekToEnd() && file->Write(Bytes("+new")));
  EXPECT_EQ(folder.Read("Log.txt"), "old+new");
  file = File::Open(folder.Windows("log.TXT"), OpenMode::kCreate);
  ASSERT_TRUE(file && file->Write(std::u16string_view(u"\u0141")));
  EXPECT_EQ(folder.Read("Log.txt"), "\x41\x01");
  EXPECT_EQ(Names(folder.Windows("*")), "Log.txt ");
}

TEST(Files, AFullDiskIsAFailure) {
  auto file = File::Open(u"\\dev\\full", OpenMode::kAppendKeep);
  ASSERT_TRUE(file);
  EXPECT_FALSE(file->Write(Bytes("x")));
}

TEST(Files, RenamingNeverReplaces) {
  TempFolder folder;
  folder.Write("a", "1");
  folder.Write("B", "2");
  EXPECT_FALSE(platform::RenameFile(folder.Windows("a"), folder.Windows("b")));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(folder.Read("B"), "2");
  EXPECT_TRUE(platform::RenameFile(folder.Windows("A"), folder.Windows("c")));
  EXPECT_EQ(folder.Read("c"), "1");
}

TEST(Files, AWildcardSearchListsInByteOrder) {
  TempFolder folder;
  for (const char* name : {"b.txt", "A.TXT", "a.txt.bak", "noext", ".hidden", "ä.txt"}) {
    folder.Write(name, "");
  }
  mkdir(folder.Path("sub.txt").c_str(), 0700);
  symlink("sub.txt", folder.Path("link.txt").c_str());
  EXPECT_EQ(Names(folder.Windows("*.Txt")), "A.TXT b.txt link.txt sub.txt/ ä.txt ");
  EXPECT_EQ(Names(folder.Windows("?.txt")), "A.TXT b.txt ä.txt ");
  EXPECT_EQ(Names(folder.Windows("*.*")),
            ".hidden A.TXT a.txt.bak b.txt link.txt noext sub.txt/ ä.txt ");
  EXPECT_EQ(Names(folder.Windows("*T*.*A?")), "a.txt.bak ");
  EXPECT_EQ(Names(folder.Windows("NOEXT")), "noext ");
  EXPECT_EQ(Names(folder.Windows("sub.txt\\")), "");
  EXPECT_EQ(Names(folder.Windows("[a]*")), "");
  EXPECT_TRUE(checkFileExists(folder.Windows("SUB.*")));
  EXPECT_FALSE(checkFileExists(folder.Windows("none*")));
  EXPECT_FALSE(checkFileExists(u""));
}

TEST(Files, APatternOfManyStarsEndsSoon) {
  TempFolder folder;
  folder.Write(std::string(255, 'a'), "");
  CString pattern = folder.Windows();
  for (int i = 0; i < 5000; ++i) pattern += u"*a";
  EXPECT_EQ(Names(pattern + u"b"), "");
}

TEST(Files, RemovingAFolderLeavesWhatItsLinksPointAt) {
  TempFolder folder;
  folder.Write("Kept/file", "x");
  folder.Write("Gone/deep/er/file", "x");
  symlink("../../Kept", folder.Path("Gone/deep/link").c_str());
  symlink("Kept", folder.Path("alias").c_str());
  EXPECT_NE(RemoveFolder(folder.Windows("GONE\\")), 0);
  EXPECT_NE(RemoveFolder(folder.Windows("alias")), 0);
  EXPECT_EQ(Names(folder.Windows("*")), "Kept/ ");
  EXPECT_EQ(folder.Read("Kept/file"), "x");
  EXPECT_EQ(RemoveFolder(folder.Windows("Kept\\file")), 0);
  EXPECT_EQ(RemoveFolder(folder.Windows("Gone")), 0);
  EXPECT_EQ(RemoveFolder(u""), 0);
}

}  // namespace
