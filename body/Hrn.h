#pragma once

#include "platform/CString.h"

// The converter from RTF to HTML. Stand-in until the converter's own part comes: it converts
// nothing and fails as a converter that is not there.
class Hrn {
 public:
  void SetInWebServer(bool) {}
  void HrsSetFlags(int /*nFirst*/, int /*nSecond*/) {}
  // Is to write the page with its pictures, "HTMLFile_" and a number, beside it. Paths are in
  // Windows form. Throws std::system_error; its code is what the trace tells as the last error.
  void HrsConvertFile(const CString& strRtfPath, const CString& strHtmlPath, int nSelector);
};
