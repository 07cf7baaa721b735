#pragma once

#include <optional>

#include "platform/COleDateTime.h"
#include "platform/CString.h"
#include "platform/Files.h"

// Appends lines to log files. A line has been written before its call returns, so that a crash
// loses nothing. A file that cannot be opened is told on standard error, once for each file and
// reason, and nothing is raised to the caller.
//
// The trace file is opened with its first line and stays open until its name is set or CloseFile is
// called: a command writes some tens of lines. All other files are closed behind each line.
class CLogManager {
 public:
  virtual ~CLogManager() = default;

  void SetFileName(const CString& strLogFileName);
  CString GetFileName() const { return m_strFileName; }
  // At the end of each command, so that the file can be taken away between two.
  void CloseFile() { m_objFile.reset(); }

  // Appends the text and CR LF to the trace file as raw UTF-16 little-endian, no byte-order mark.
  // Does nothing while no file name is set.
  void WriteLog(const CString& strLogFileText);
  // The first argument is ignored: the file is the trace file, opened in text mode and locked.
  void WriteLog(const CString& strcLogFileName, const CString& strLogFileText);
  // As the one before, but on strcLogFile; an empty name does nothing.
  void WriteTimeLog(const CString& strcLogFile, const CString& strLogFileText);
  CString GetFilefilePath() const;
  // The first line of a file, read in text mode; strLogFileText stays when it cannot be opened.
  void GetLogFileData(const CString& strLogFileName, CString& strLogFileText);
  // Appends to a file below the program folder in narrow text mode: "\r\n" is written as CR CR LF.
  // kept: readers of the status logs match on it. A character that the ANSI page lacks is left out.
  void WriteLogFile4(const CString& strLogFileName, const CString& strLogFileText);

  COleDateTime m_dtTime;  // the web handler keeps the time of its last token here

 private:
  CString m_strFileName;
  std::optional<platform::File> m_objFile;  // of that name
};
