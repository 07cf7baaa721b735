#include "mime/CkMime.h"

#include <new>

#include "mime/tree/ClsMime.h"

using mail::ClsMime;

CkMime::CkMime() : CkMime(new (std::nothrow) ClsMime) {}
CkMime::CkMime(ClsMime* pImpl) : CkMultiByteBase(pImpl) {}

bool CkMime::LoadMimeFile(const char* pszPath) { return run(&ClsMime::LoadMimeFile, pszPath); }
bool CkMime::SaveBody(const char* pszPath) { return run(&ClsMime::SaveBody, pszPath); }
const char* CkMime::getMime() { return runText(&ClsMime::getMime); }

bool CkMime::GetMimeBytes(CkByteData& objBytes) {
  return run(&ClsMime::GetMimeBytes, objBytes.bytes());
}

bool CkMime::SetHeaderField(const char* pszName, const char* pszValue) {
  return run(&ClsMime::SetHeaderField, pszName, pszValue);
}

CkMime* CkMime::GetPart(int nIndex) {
  mail::OwnedPtr<ClsMime> pPart = run(&ClsMime::GetPart, nIndex);
  if (pPart == nullptr) return nullptr;
  auto* const pMime = new (std::nothrow) CkMime(pPart.get());
  if (pMime == nullptr) return nullptr;
  (void)pPart.release();  // the object's from now on
  pMime->put_Utf8(get_Utf8());
  return pMime;
}
