#pragma once

#include <exception>

#include "pipeline/ST_EML_INFO.h"
#include "target/CTarnyOutlookHandler.h"

// One ImportItem call: what it was given, and what the descriptor says.
struct CTarnyOutlookHandler::ItemRun {
  const CString& strFilePath;
  CString& strErr;
  const CString& strLogFilepath;
  ST_EML_INFO objInfo;
  CString strMessageKey;
};

inline CString MessageOf(const std::exception& objError) {
  return CString::FromUtf8(objError.what());
}
