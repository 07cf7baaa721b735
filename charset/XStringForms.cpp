// How one form of a text is made from another: the half of XString that converts.
#include "base/LogNull.h"
#include "base/XString.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "platform/NarrowText.h"

namespace mail {

unsigned XString::pageOf(Form nForm) {
  if (nForm == kAnsi) return platform::AnsiCodePage();
  return nForm == kUtf8 ? code_page::kUtf8 : code_page::kUtf16;
}

void XString::makeForm(Form nForm) {
  if (!isValid() || m_aMade[nForm]) return;
  m_aMade[nForm] = true;
  EncodingConvert objConvert;
  if (m_nSource == kUtf16 && nForm == kAnsi) {
    objConvert.m_errorAction = EncodingConvert::kSubstitute;
    (void)objConvert.setSubstitution("?");
  }
  const std::string_view strSource = bytesOf(m_nSource);
  DataBuffer arrMade;
  LogNull objLog;
  // The result tells of characters that the form cannot hold; the others are there all the same.
  (void)objConvert.convertText(pageOf(m_nSource), pageOf(nForm), strSource.data(), strSource.size(),
                               arrMade, objLog);
  (void)store(nForm, arrMade.view());
}

}  // namespace mail
