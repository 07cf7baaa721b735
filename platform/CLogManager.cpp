#include "platform/CLogManager.h"

#include <sys/file.h>

#include <cerrno>
#include <optional>

#include "platform/FileErrors.h"
#include "platform/LineReader.h"
#include "platform/NarrowText.h"
#include "platform/Paths.h"

namespace {

using platform::File;
using platform::OpenMode;

std::optional<File> OpenOrTell(const CString& strPath, OpenMode eMode) {
  std::optional<File> objFile = File::Open(strPath, eMode);
  if (!objFile) platform::TellFileError(strPath, errno);
  return objFile;
}

// A line that cannot be written is lost: what is logged must not disturb the work. It is lost
// whole, as half a unit on a full disk would shift all UTF-16 behind it.
void AppendNarrowLine(File& objFile, const CString& strText) {
  (void)objFile.AppendText(strText + u"\r\n");
}

void AppendLocked(const CString& strPath, const CString& strText) {
  if (strPath.IsEmpty()) return;
  std::optional<File> objFile = OpenOrTell(strPath, OpenMode::kAppendKeep);
  if (!objFile) return;
  if (flock(objFile->Fd(), LOCK_EX | LOCK_NB) != 0) {
    platform::TellFileError(strPath, errno);
    return;
  }
  AppendNarrowLine(*objFile, strText);
}

}  // namespace

void CLogManager::SetFileName(const CString& strLogFileName) {
  CloseFile();
  m_strFileName = strLogFileName;
}

void CLogManager::WriteLog(const CString& strLogFileText) {
  if (m_strFileName.IsEmpty()) return;
  if (!m_objFile) m_objFile = OpenOrTell(m_strFileName, OpenMode::kAppendKeep);
  if (m_objFile) (void)m_objFile->Append((strLogFileText + u"\r\n").View());
}

void CLogManager::WriteLog(const CString& /*strcLogFileName*/, const CString& strLogFileText) {
  AppendLocked(m_strFileName, strLogFileText);
}

void CLogManager::WriteTimeLog(const CString& strcLogFile, const CString& strLogFileText) {
  AppendLocked(strcLogFile, strLogFileText);
}

CString CLogManager::GetFilefilePath() const { return GetCurrLogPath(); }

void CLogManager::GetLogFileData(const CString& strLogFileName, CString& strLogFileText) {
  if (!OpenOrTell(strLogFileName, OpenMode::kRead)) return;
  const std::optional<std::string> strLine = platform::ReadFirstTextLine(strLogFileName);
  strLogFileText = platform::NarrowToWide(strLine.value_or(""));
}

void CLogManager::WriteLogFile4(const CString& strLogFileName, const CString& strLogFileText) {
  std::optional<File> objFile =
      OpenOrTell(GetCurrLogPath() + strLogFileName, OpenMode::kAppendKeep);
  if (objFile) AppendNarrowLine(*objFile, strLogFileText);
}
