#include "client/run/EngineLogs.h"

#include <gtest/gtest.h>

#include "charset/LibraryNarrow.h"
#include "tests/client/WideText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Wide;
using test_support::ReadAll;
using test_support::TemporaryFolder;

TEST(EngineLogs, GiveTheLastStatusOfTheCommandAlone) {
  mail::installLibraryNarrow();
  const TemporaryFolder folder;
  EngineLogs logs(folder.Path());
  logs.Mark();
  EXPECT_EQ(logs.LastStatus(), "");
  const std::string success = "\t\tSaving Status : Success\r\r\n";
  folder.Write("StatusLog.txt", success);
  EXPECT_EQ(logs.LastStatus(), "Saving Status : Success");
  logs.Mark();
  EXPECT_EQ(logs.LastStatus(), "");
  const std::string failure = "\t\t+Saving Status : Fail\r\r\n\t\tError Message :No caf\xe9.\r\r\n";
  folder.Write("StatusLog.txt", success + failure + "\r\r\n");
  EXPECT_EQ(logs.LastStatus(), "No caf\xC3\xA9.");
}

TEST(EngineLogs, OnlyASaveSinceTheMarkCountsAndNoSubjectThatLooksLikeOne) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("TarnyEngine.txt", Wide("a\r\n Email Save out \r\n"));
  EngineLogs logs(folder.Path());
  EXPECT_TRUE(logs.HasSavedMail());
  logs.Mark();
  EXPECT_FALSE(logs.HasSavedMail());
  folder.Write("TarnyEngine.txt", ReadAll(path) + Wide("Subject  = Email Save out \r\n"));
  EXPECT_FALSE(logs.HasSavedMail());
  folder.Write("TarnyEngine.txt", ReadAll(path) + Wide(" Email Save out \r\n"));
  EXPECT_TRUE(logs.HasSavedMail());
  EXPECT_FALSE(EngineLogs(folder.File("missing")).HasSavedMail());
}

}  // namespace
}  // namespace client
