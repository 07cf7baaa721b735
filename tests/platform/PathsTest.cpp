#include "platform/Paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>

#include "TempFolder.h"

namespace {

using platform::PathRoot;
using platform::ResolvePath;

TEST(Paths, SeparatorsOfEitherKindAndDoubledOnesAreOne) {
  TempFolder folder;
  folder.Write("Temp/a.t", "x");
  EXPECT_EQ(ResolvePath(folder.Windows("Temp\\\\/a.t")), folder.Path("Temp/a.t"));
  EXPECT_EQ(platform::FileNameOf(u"\\a/b\\c.t"), u"c.t");
  EXPECT_EQ(platform::FileNameOf(u"c.t"), u"c.t");
  EXPECT_EQ(platform::FileNameOf(u"a\\"), u"");
}

TEST(Paths, AComponentIsFoundInAnyCase) {
  TempFolder folder;
  folder.Write("Temp/Zażółć.T", "x");
  EXPECT_EQ(ResolvePath(folder.Windows("TEMP/zAŻÓŁĆ.t")), folder.Path("Temp/Zażółć.T"));
  // What does not exist keeps its spelling below what does.
  EXPECT_EQ(ResolvePath(folder.Windows("TEMP/New/File")), folder.Path("Temp/New/File"));
}

TEST(Paths, TheExactNameWinsAndThenTheFirstInByteOrder) {
  TempFolder folder;
  for (const char* name : {"abc", "aBc", "Abc"}) folder.Write(name, name);
  EXPECT_EQ(ResolvePath(folder.Windows("abc")), folder.Path("abc"));
  EXPECT_EQ(ResolvePath(folder.Windows("ABC")), folder.Path("Abc"));
  for (const char* name : {"Xyz", "xYz", "xyZ"}) folder.Write(name, name);  // made the other way
  EXPECT_EQ(ResolvePath(folder.Windows("XYZ")), folder.Path("Xyz"));
}

TEST(Paths, AWholePathInUpperCaseBeginsWithItsRoot) {
  TempFolder folder;
  folder.Write("Temp/Sub/a.t", "x");
  CString upper = folder.Windows("Temp/Sub/a.t");
  EXPECT_EQ(ResolvePath(upper.MakeUpper()), folder.Path("Temp/Sub/a.t"));
  // A sibling whose name only begins like the root is not below it.
  CString sibling = folder.Windows();
  sibling.Delete(sibling.GetLength() - 1);
  sibling = sibling.MakeUpper() + u"X\\a";
  EXPECT_NE(ResolvePath(sibling), folder.Path().substr(0, folder.Path().size() - 1) + "X/a");
}

TEST(Paths, ARootWorksBelowAParentThatCannotBeListed) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  TempFolder folder;
  folder.Write("Home/Run/Temp/a.t", "x");
  for (const char* below : {"", "Home"}) chmod(folder.Path(below).c_str(), 0711);
  chmod(folder.Path("Home/Run/Temp").c_str(), 0755);
  const CString exact = folder.Windows("Home/Run/Temp/A.T");
  CString upper = exact;
  upper.MakeUpper();
  platform::SetProgramFolder("/");  // the only root is the one of the test
  EXPECT_TRUE(AsOrdinaryUser([&] {
    const bool withoutRoot = ResolvePath(upper) == folder.Path("Home/Run/Temp/a.t");
    const PathRoot root(folder.Path("Home/Run"));
    return !withoutRoot && ResolvePath(upper) == folder.Path("Home/Run/Temp/a.t") &&
           ResolvePath(exact) == folder.Path("Home/Run/Temp/a.t");
  }));
}

TEST(Paths, TheLongestRootCountsAndLeavesWithItsObject) {
  TempFolder folder;
  folder.Write("work/ITEM/x", "1");
  folder.Write("work/item/x", "2");
  CString upper = folder.Windows("work/item/X");
  upper.MakeUpper();
  {
    const PathRoot root(folder.Path("work/item/"));
    EXPECT_EQ(ResolvePath(upper), folder.Path("work/item/x"));
  }
  EXPECT_EQ(ResolvePath(upper), folder.Path("work/ITEM/x"));
}

TEST(Paths, HostilePathsComeBackWithoutHarm) {
  TempFolder folder;
  EXPECT_EQ(ResolvePath(folder.Windows("a") + std::u16string_view(u"\0b", 2)), folder.Path("a"));
  CString deep = folder.Windows();
  for (int i = 0; i < 100000; ++i) deep += u"x\\";
  EXPECT_EQ(ResolvePath(deep).size(), folder.Path().size() + 200000);
  EXPECT_EQ(ResolvePath(u"\xD800"), "\xEF\xBF\xBD");
  EXPECT_EQ(ResolvePath(u""), "");
}

TEST(Paths, ANameThatIsNoUtf8IsFoundByItsWideForm) {
  TempFolder folder;
  folder.Write("caf\xE9.txt", "x");
  EXPECT_EQ(ResolvePath(folder.Windows("CAF\xE9.TXT")), folder.Path("caf\xE9.txt"));
}

TEST(Paths, WorkPathsFollowFromTheProgramFolder) {
  TempFolder folder;
  EXPECT_EQ(GetCurrLogPath(), folder.Windows());
  EXPECT_EQ(GetCurrPath(), folder.Windows() + u"Temp\\");
}

}  // namespace
