#include "platform/Paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>

#include "TempFolder.h"

namespace {

using platform::PathRoot;
using platform::ResolvePath;

struct Paths : testing::Test, TempFolder {};

TEST_F(Paths, SeparatorsOfEitherKindAndDoubledOnesAreOne) {
  Write("Temp/a.t", "x");
  EXPECT_EQ(ResolvePath(Windows("Temp\\\\/a.t")), Path("Temp/a.t"));
  EXPECT_EQ(platform::FileNameOf(u"\\a/b\\c.t"), u"c.t");
  EXPECT_EQ(platform::FileNameOf(u"c.t"), u"c.t");
  EXPECT_EQ(platform::FileNameOf(u"a\\"), u"");
}

TEST_F(Paths, AComponentIsFoundInAnyCase) {
  Write("Temp/Zażółć.T", "x");
  EXPECT_EQ(ResolvePath(Windows("TEMP/zAŻÓŁĆ.t")), Path("Temp/Zażółć.T"));
  // What does not exist keeps its spelling below what does.
  EXPECT_EQ(ResolvePath(Windows("TEMP/New/File")), Path("Temp/New/File"));
}

TEST_F(Paths, TheExactNameWinsAndThenTheFirstInByteOrder) {
  for (const char* name : {"abc", "aBc", "Abc"}) Write(name, name);
  EXPECT_EQ(ResolvePath(Windows("abc")), Path("abc"));
  EXPECT_EQ(ResolvePath(Windows("ABC")), Path("Abc"));
  for (const char* name : {"Xyz", "xYz", "xyZ"}) Write(name, name);  // made the other way
  EXPECT_EQ(ResolvePath(Windows("XYZ")), Path("Xyz"));
}

TEST_F(Paths, AWholePathInUpperCaseBeginsWithItsRoot) {
  Write("Temp/Sub/a.t", "x");
  CString upper = Windows("Temp/Sub/a.t");
  EXPECT_EQ(ResolvePath(upper.MakeUpper()), Path("Temp/Sub/a.t"));
  // A sibling whose name only begins like the root is not below it.
  CString sibling = Windows();
  sibling.Delete(sibling.GetLength() - 1);
  sibling = sibling.MakeUpper() + u"X\\a";
  EXPECT_NE(ResolvePath(sibling), Path().substr(0, Path().size() - 1) + "X/a");
}

TEST_F(Paths, ARootWorksBelowAParentThatCannotBeListed) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  Write("Home/Run/Temp/a.t", "x");
  for (const char* below : {"", "Home"}) chmod(Path(below).c_str(), 0711);
  chmod(Path("Home/Run/Temp").c_str(), 0755);
  const CString exact = Windows("Home/Run/Temp/A.T");
  CString upper = exact;
  upper.MakeUpper();
  platform::SetProgramFolder("/");  // the only root is the one of the test
  EXPECT_TRUE(AsOrdinaryUser([&] {
    const bool withoutRoot = ResolvePath(upper) == Path("Home/Run/Temp/a.t");
    const PathRoot root(Path("Home/Run"));
    return !withoutRoot && ResolvePath(upper) == Path("Home/Run/Temp/a.t") &&
           ResolvePath(exact) == Path("Home/Run/Temp/a.t");
  }));
}

TEST_F(Paths, TheLongestRootCountsAndLeavesWithItsObject) {
  Write("work/ITEM/x", "1");
  Write("work/item/x", "2");
  CString upper = Windows("work/item/X");
  upper.MakeUpper();
  {
    const PathRoot root(Path("work/item/"));
    EXPECT_EQ(ResolvePath(upper), Path("work/item/x"));
  }
  EXPECT_EQ(ResolvePath(upper), Path("work/ITEM/x"));
}

TEST_F(Paths, HostilePathsComeBackWithoutHarm) {
  EXPECT_EQ(ResolvePath(Windows("a") + std::u16string_view(u"\0b", 2)), Path("a"));
  CString deep = Windows();
  for (int i = 0; i < 100000; ++i) deep += u"x\\";
  EXPECT_EQ(ResolvePath(deep).size(), Path().size() + 200000);
  EXPECT_EQ(ResolvePath(u"\xD800"), "\xEF\xBF\xBD");
  EXPECT_EQ(ResolvePath(u""), "");
}

TEST_F(Paths, ANameThatIsNoUtf8IsFoundByItsWideForm) {
  Write("caf\xE9.txt", "x");
  EXPECT_EQ(ResolvePath(Windows("CAF\xE9.TXT")), Path("caf\xE9.txt"));
}

TEST_F(Paths, WorkPathsFollowFromTheProgramFolder) {
  EXPECT_EQ(GetCurrLogPath(), Windows());
  EXPECT_EQ(GetCurrPath(), Windows() + u"Temp\\");
}

}  // namespace
