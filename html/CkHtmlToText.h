#pragma once

#include "base/CkMultiByteBase.h"

// Plain text of HTML. See CkMultiByteBase for texts and results.
class CkHtmlToText : public CkMultiByteBase {
 public:
  CkHtmlToText();

  // Readable text with CR LF line ends, of at most 80 columns where words and indentation allow.
  const char* toText(const char* pszHtml);
};
