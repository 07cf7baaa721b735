#pragma once

#include "base/CkByteData.h"
#include "base/CkMultiByteBase.h"

// Whole files. See CkMultiByteBase for texts and results.
class CkFileAccess : public CkMultiByteBase {
 public:
  CkFileAccess();

  // Creates or replaces a file. False when it cannot be written; what is there then is unspecified.
  bool WriteEntireFile(const char* pszPath, CkByteData& objBytes);
};
