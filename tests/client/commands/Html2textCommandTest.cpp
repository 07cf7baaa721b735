// `tarny html2text` as a program.

#include <algorithm>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/WideText.h"
#include "tests/client/commands/TarnyRun.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using client_test::Tarny;
using client_test::Wide;
using testing::HasSubstr;

// With the bytes of each unit in the other order.
std::string Swapped(std::string bytes, std::size_t unit) {
  for (std::size_t n = 0; n + unit <= bytes.size(); n += unit) {
    std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(n),
                 bytes.begin() + static_cast<std::ptrdiff_t>(n + unit));
  }
  return bytes;
}

const std::string kFourBytes("<\0\0\0p\0\0\0>\0\0\0\0\xF6\1\0", 16);  // "<p>😀" in UTF-32

TEST(Html2textCommand, ReadsEachPageInTheCharsetThatItIsIn) {
  const std::string meta = "<meta http-equiv=content-type content='text/html; charset=";
  const std::pair<std::string, std::string> rows[] = {
      {"<p>caf\xC3\xA9</p>\n<p>2</p>", "café\n\n2\n"},
      {"caf\xE9", "café\n"},
      {meta + "koi8-r'>\xC1\xC2", "аб\n"},
      {meta + "iso-8859-1'>\x93x\x94", "“x”\n"},
      {meta + "utf-8'>caf\xE9", "café\n"},
      {meta + "utf-16'>caf\xC3\xA9", "café\n"},
      {meta + "us-ascii'>Gr\xC3\xBC\xC3\x9F", "Grüß\n"},
      {meta + "us-ascii'>Gr\xFC\xDF \x80", "Grüß €\n"},
      {std::string("\xFF\xFE<\0p\0>\0\xE9\0", 10), "é\n"},
      {Wide("<p>é水</p>"), "é水\n"},
      {Swapped(Wide("<p>é水</p>"), 2), "é水\n"},
      {kFourBytes, "😀\n"},
      {std::string("\xFF\xFE\0\0", 4) + kFourBytes, "😀\n"},
      {Swapped(kFourBytes, 4), "😀\n"},
      {"x<pre>a  b\n</pre>y<ul><li>1<pre>2\n</pre></ul>", "x\na  b\ny\n    1\n    2\n"},
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
