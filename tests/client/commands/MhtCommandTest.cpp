// `tarny mht` as a program.

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/commands/TarnyRun.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using client_test::Result;
using client_test::Tarny;
using testing::HasSubstr;
using testing::Not;

TEST(MhtCommand, WritesTheArchiveAndTellsWhatBecameOfEachResource) {
  test_support::TemporaryFolder folder;
  folder.Write("out.gif", "GIF89a outside");
  folder.Write("my page/a.gif", "GIF89a inside");
  const std::string page =
      folder.Write("my page/p.html", "<img src=a.gif><img src=../out.gif><img src=gone.gif>");
  const std::string quoted = " '" + page + "'";
  const Result ids = Tarny("mht" + quoted, "");
  EXPECT_EQ(ids.exitCode, 0);
  EXPECT_EQ(ids.err,
            "fetched a.gif (13 bytes)\nfetched ../out.gif (14 bytes)\n"
            "missing gone.gif: there is no such file\n");
  EXPECT_THAT(ids.out, HasSubstr("Content-ID: <CID-"));
  EXPECT_THAT(ids.out, Not(HasSubstr("\r\nDate:")));

  const Result confined = Tarny("mht --confine --eml" + quoted, "");
  EXPECT_EQ(confined.exitCode, 0);
  EXPECT_THAT(confined.err,
              HasSubstr("missing ../out.gif: the file lies outside of the page's folder\n"));
  EXPECT_THAT(confined.out, HasSubstr("\r\nDate:"));

  const Result locations = Tarny("mht --locations" + quoted, "");
  EXPECT_THAT(locations.out,
              HasSubstr("Content-Location: file://" + folder.Path() + "/my%20page/a.gif\r\n"));
  EXPECT_THAT(locations.out, Not(HasSubstr("Content-ID")));
}

TEST(MhtCommand, FailsWithoutAPage) {
  EXPECT_EQ(Tarny("mht", "").exitCode, 2);
  const Result missing = Tarny("mht /nowhere/p.html", "");
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.out, "");
  EXPECT_THAT(missing.err, HasSubstr("/nowhere/p.html"));
  const Result refused = Tarny("mht http://127.0.0.1:9/p.html", "");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("cannot read http://127.0.0.1:9/p.html: "));
  EXPECT_THAT(Tarny("mht file:///nowhere/p.html", "").err, HasSubstr("there is no such file"));
  EXPECT_THAT(Tarny("mht htp://host/p.html", "").err, HasSubstr("no http, https or file URL"));
}

}  // namespace
