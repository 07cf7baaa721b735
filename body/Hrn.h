#pragma once

#include "body/rtf/Notes.h"
#include "platform/CString.h"

// The converter from RTF to HTML, as the engine knows it: one file in, one page out with its
// pictures beside it. Paths are in Windows form.
//
// The page begins with the UTF-8 signature and three line ends, so that a reader who drops three
// characters loses no text, whatever his code page makes of the signature. The rest is ASCII and
// names no charset, but for the folder in the links of pictures: those are
// `<img src="file://` + the output's folder as it was given, in the ANSI code page and not escaped,
// + "HTMLFile_" + number from 1 + extension, the numbers in the order of the page.
class Hrn {
 public:
  // Whoever serves pages to browsers would want other links; nobody does.
  void SetInWebServer(bool /*bInWebServer*/) {}
  void HrsSetFlags(int /*nFirst*/, int /*nSecond*/) {}  // nothing depends on them

  // First deletes the page and all pictures with such names beside it: after a failure nothing is
  // there that could be taken for the result. Throws std::system_error for a file that cannot be
  // read or written; its code is what the trace tells as the last error. nSelector is not looked
  // at.
  void HrsConvertFile(const CString& strRtfPath, const CString& strHtmlPath, int nSelector);

  // What the last conversion did not carry over.
  const rtf::Notes& LeftOut() const { return m_objNotes; }

 private:
  rtf::Notes m_objNotes;
};
