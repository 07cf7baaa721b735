#include "mime/CkEmail.h"

#include "mime/email/ClsEmail.h"

using mail::ClsEmail;

CkEmail::CkEmail() : CkMultiByteBase(mail::makeOwned<ClsEmail>()) {}

bool CkEmail::LoadEml(const char* pszPathOrMime) { return run(&ClsEmail::LoadEml, pszPathOrMime); }
bool CkEmail::SetFromMimeText(const char* pszMime) {
  return run(&ClsEmail::SetFromMimeText, pszMime);
}
bool CkEmail::SaveEml(const char* pszPath) { return run(&ClsEmail::SaveEml, pszPath); }
bool CkEmail::HasHtmlBody() { return run(&ClsEmail::HasHtmlBody); }
const char* CkEmail::getHtmlBody() { return runText(&ClsEmail::getHtmlBody); }
void CkEmail::put_From(const char* pszFrom) { (void)run(&ClsEmail::put_From, pszFrom); }
void CkEmail::put_Subject(const char* pszSubject) { (void)run(&ClsEmail::put_Subject, pszSubject); }
