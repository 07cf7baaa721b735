// `tarny convert` as a program: bytes in, bytes out, messages and exit codes.

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/commands/TarnyRun.h"

namespace {

using client_test::Result;
using testing::HasSubstr;

Result Convert(const std::string& arguments, const std::string& input) {
  return client_test::Tarny("convert " + arguments, input);
}

std::string EveryByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

TEST(ConvertCommand, ConvertsAndTellsWhatDidNotMap) {
  const std::string none = "tarny convert: there is no conversion from page ";
  const struct {
    const char* arguments;
    std::string input;
    int exitCode;
    std::string out;
    std::string err;
  } cases[] = {
      {"--from windows-1252 --to utf-8", "\x80 \r\n\xE4", 0, "\xE2\x82\xAC \r\n\xC3\xA4", ""},
      {"--from 932 --to 65001", "", 0, "", ""},
      // A byte without meaning: the conversion itself reports success.
      {"--from 1252 --to 65001", "a\x81z", 0, "az", "had errors\n"},
      // A character that the target lacks: it reports failure, with the rest converted.
      {"--from 65001 --to 1252", "a\xE4\xB8\xADz", 1, "az", "had errors\n"},
      // Pages without a table, and one that is no charset at all.
      {"--from asmo-449 --to utf-8", "text", 1, "", none + "709 to page 65001\n"},
      {"--from utf-16be --to euc-tw", {"\0a", 2}, 1, "", none + "1201 to page 51950\n"},
      {"--from asmo-449 --to utf-16be", "text", 1, "", none + "709 to page 1201\n"},
      {"--from base64 --to utf-8", "text", 1, "", none + "1 to page 65001\n"},
      {"--from klingon --to utf-8", "x", 2, "",
       "tarny convert: the charset 'klingon' is unknown\n"},
      {"--from utf-8 --to utf-99", "x", 2, "", "tarny convert: the charset 'utf-99' is unknown\n"},
      {"--from 1252 --to 99999999999", "x", 2, "",
       "tarny convert: the charset '99999999999' is unknown\n"},
      {"--to utf-8", "x", 2, "", "tarny convert: --from is required\n"},
      {"", "x", 2, "", "tarny convert: --from is required\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Result result = Convert(c.arguments, c.input);
    EXPECT_EQ(result.exitCode, c.exitCode);
    EXPECT_EQ(result.out, c.out);
    EXPECT_EQ(result.err, c.err);
  }
  const Result help = Convert("--help", "");
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_THAT(help.out, HasSubstr("--from"));
}

// NULs, line ends and 0x1A are bytes like any other, by number as by name.
TEST(ConvertCommand, EveryByteComesThroughThereAndBack) {
  const Result wide = Convert("--from 28591 --to UTF-16BE", EveryByte());
  EXPECT_EQ(wide.out.size(), 512U);
  const Result back = Convert("--from 1201 --to iso-8859-1", wide.out);
  EXPECT_EQ(back.exitCode, 0);
  EXPECT_EQ(back.out, EveryByte());
}

TEST(ConvertCommand, AnOutputThatCannotBeWrittenFails) {
  const std::string command =
      "echo text | " TARNY_BIN "/tarny convert --from 1252 --to 65001 > /dev/full 2> /dev/null";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
}

}  // namespace
