// `tarny rtf2html` as a program.

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/commands/TarnyRun.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using client_test::Result;
using testing::HasSubstr;

class Rtf2htmlCommand : public testing::Test {
 protected:
  std::string Read(const std::string& name) const {
    return test_support::ReadAll(folder.File(name));
  }
  Result Run(const std::string& input, const std::string& output) const {
    return client_test::Tarny("rtf2html " + folder.File(input) + " " + folder.File(output), "");
  }
  test_support::TemporaryFolder folder;
};

TEST_F(Rtf2htmlCommand, WritesThePageAndTellsWhatItLeftOut) {
  folder.Write("in.rtf", "{\\rtf1 caf\\'e9{\\header x}{\\pict\\pngblip 89504e47}}");
  const Result result = Run("in.rtf", "out.html");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "headers and footers left out (1)\n");
  EXPECT_THAT(Read("out.html"), HasSubstr("caf&#233;"));
  EXPECT_THAT(Read("out.html"), HasSubstr("<img src=\"file://" + folder.File("HTMLFile_1.png")));
  EXPECT_EQ(Read("HTMLFile_1.png"), "\x89PNG");
}

TEST_F(Rtf2htmlCommand, NamesTheFileThatFails) {
  folder.Write("in.rtf", "{\\rtf1 a}");
  EXPECT_THAT(Run("missing.rtf", "out.html").err, HasSubstr("missing.rtf"));
  const Result nowhere = Run("in.rtf", "missing/out.html");
  EXPECT_EQ(nowhere.exitCode, 1);
  EXPECT_THAT(nowhere.err, HasSubstr("missing/out.html"));
  EXPECT_EQ(Run("in.rtf", "in.rtf").exitCode, 2);
  EXPECT_EQ(Read("in.rtf"), "{\\rtf1 a}");
}

TEST_F(Rtf2htmlCommand, RefusesToDeleteItsInput) {
  const std::string rtf = "{\\rtf1 a}";
  const std::string path = folder.Write("htmlfile_LETTER.rtf", rtf);
  std::filesystem::create_symlink(path, folder.File("link.rtf"));
  for (const char* input : {"htmlfile_LETTER.rtf", "link.rtf"}) {
    const Result result = Run(input, "out.html");
    EXPECT_EQ(result.exitCode, 2) << input;
    EXPECT_THAT(result.err, HasSubstr("deleted first"));
    EXPECT_EQ(Read("htmlfile_LETTER.rtf"), rtf);
  }
  folder.Write("other/x", "");
  EXPECT_EQ(Run("htmlfile_LETTER.rtf", "other/out.html").exitCode, 0);
  EXPECT_EQ(Read("htmlfile_LETTER.rtf"), rtf);
}

}  // namespace
