#include "html/CkHtmlToText.h"

#include "html/ClsHtmlToText.h"

CkHtmlToText::CkHtmlToText() : CkMultiByteBase(mail::makeOwned<mail::ClsHtmlToText>()) {}

const char* CkHtmlToText::toText(const char* pszHtml) {
  return runText(&mail::ClsHtmlToText::ToText, pszHtml);
}
