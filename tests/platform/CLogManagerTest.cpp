#include "platform/CLogManager.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "TempFolder.h"
#include "charset/LibraryNarrow.h"
#include "platform/NarrowText.h"
#include "platform/UniqueFd.h"
#include "tests/support/FullDisk.h"

namespace {

class LogManager : public testing::Test, public TempFolder {
 protected:
  LogManager() {
    mail::installLibraryNarrow();
    platform::SetAnsiCodePage(1252);
  }
  ~LogManager() override { platform::SetAnsiCodePage(0); }

  CLogManager m_log;
};

TEST_F(LogManager, TheTraceIsRawUtf16) {
  m_log.WriteLog(u"goes nowhere");
  m_log.SetFileName(Windows("TarnyEngine.txt"));
  m_log.WriteLog(u"a\u0141\n");
  m_log.WriteLog(u"");
  EXPECT_EQ(Read("TarnyEngine.txt"), test_support::WideBytes(u"a\u0141\n\r\n\r\n"));
}

TEST_F(LogManager, ALineThatMeetsAFullDiskIsLostWhole) {
  m_log.SetFileName(Windows("trace"));
  m_log.WriteLog(u"one");
  m_log.WriteLogFile4(u"4LogFile.txt", u"one");
  const std::string trace = Read("trace");
  const std::string status = Read("4LogFile.txt");
  {
    const test_support::FullDisk disk(trace.size() + 3);  // in the middle of a unit
    m_log.WriteLog(u"two");
    m_log.WriteLogFile4(u"4LogFile.txt", u"a longer second line");
  }
  EXPECT_EQ(Read("trace"), trace);
  EXPECT_EQ(Read("4LogFile.txt"), status);
  m_log.WriteLog(u"one");
  EXPECT_EQ(Read("trace"), trace + trace);
}

TEST_F(LogManager, AStatusLineIsNarrowTextAndEndsInTwoCarriageReturns) {
  m_log.WriteLogFile4(u"4LogFile.txt", u"caf\u00E9 \u0434\U0001F600\u20AC\r\nb");
  EXPECT_EQ(Read("4LogFile.txt"), "caf\xE9 \x80\r\r\nb\r\r\n");
  platform::SetAnsiCodePage(1251);
  m_log.WriteLogFile4(u"4LOGFILE.TXT", u"\u0434\u00E9");
  EXPECT_EQ(Read("4LogFile.txt"), "caf\xE9 \x80\r\r\nb\r\r\n\xE4\r\r\n");
}

TEST_F(LogManager, AFileThatCannotBeOpenedIsToldOnceForEachReason) {
  testing::internal::CaptureStderr();
  m_log.WriteLogFile4(u"", u"lost");  // the program folder itself
  m_log.WriteLogFile4(u"", u"lost again");
  m_log.WriteLogFile4(u"no\nfolder\\x", u"lost");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "cannot open " + Path() + ": Is a directory\n" +
                                                        "cannot open " + Path("no?folder/x") +
                                                        ": No such file or directory\n");
}

TEST_F(LogManager, OnlyTheFirstLineOfAFileCounts) {
  CString text = u"before";
  testing::internal::CaptureStderr();
  m_log.GetLogFileData(Windows("none"), text);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(text, u"before");
  Write("data", "caf\xE9\r\nsecond");
  m_log.GetLogFileData(Windows("data"), text);
  EXPECT_EQ(text, u"caf\u00E9");
  Write("data", "");
  m_log.GetLogFileData(Windows("data"), text);
  EXPECT_EQ(text, u"");
}

TEST_F(LogManager, TheLockedFormsWriteTextAndRespectALock) {
  m_log.SetFileName(Windows("trace"));
  m_log.WriteLog(u"ignored", u"a\n");
  m_log.WriteTimeLog(Windows("time"), u"b");
  m_log.WriteTimeLog(u"", u"nowhere");
  EXPECT_EQ(Read("trace"), "a\r\n\r\r\n");
  EXPECT_EQ(Read("time"), "b\r\r\n");

  const platform::UniqueFd other(open(Path("time").c_str(), O_RDONLY));
  ASSERT_EQ(flock(other.Get(), LOCK_SH), 0);
  testing::internal::CaptureStderr();
  m_log.WriteTimeLog(Windows("time"), u"c");
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(Read("time"), "b\r\r\n");
}

}  // namespace
