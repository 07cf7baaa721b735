// `tarny html2text` as a program.

#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/commands/TarnyRun.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using client_test::Tarny;
using testing::HasSubstr;

TEST(Html2textCommand, ReadsEachPageInTheCharsetThatItIsIn) {
  const std::string meta = "<meta http-equiv=content-type content='text/html; charset=";
  const std::pair<std::string, std::string> rows[] = {
      {"<p>caf\xC3\xA9</p>\n<p>2</p>", "café\n\n2\n"},
      {"caf\xE9", "café\n"},
      {meta + "koi8-r'>\xC1\xC2", "аб\n"},
      {meta + "iso-8859-1'>\x93x\x94", "“x”\n"},
      {meta + "utf-8'>caf\xE9", "café\n"},
      {meta + "utf-16'>caf\xC3\xA9", "café\n"},
      {std::string("\xFF\xFE<\0p\0>\0\xE9\0", 10), "é\n"},
      {"\xEF\xBB\xBF<p>a", "a\n"},
      {"\xEF\xBB\xBF<p>\xE9", "\uFFFD\n"},
      {"\xC3\xA4\xC3\xB6\xC3", "äö\uFFFD\n"},
      {std::string("a\0b", 3), "a b\n"},
      {"", ""},
  };
  for (const auto& [html, text] : rows) EXPECT_EQ(Tarny("html2text", html).out, text) << html;
}

TEST(Html2textCommand, TakesAFileAndNamesTheOneThatFails) {
  const test_support::TemporaryFolder folder;
  folder.Write("a.html", "<b>x</b>");
  EXPECT_EQ(Tarny("html2text " + folder.File("a.html"), "").out, "x\n");
  const client_test::Result missing = Tarny("html2text " + folder.File("b.html"), "");
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_THAT(missing.err, HasSubstr("b.html"));
}

}  // namespace
