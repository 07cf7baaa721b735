#include "mime/CkMime.h"

#include <memory>
#include <utility>

#include "mime/tree/ClsMime.h"

using mail::ClsMime;

CkMime::CkMime() : CkMime(mail::makeOwned<ClsMime>()) {}
CkMime::CkMime(mail::OwnedPtr<ClsMime> pImpl) : CkMultiByteBase(std::move(pImpl)) {}

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
  const auto newPart = [&](ClsMime& objMime) -> std::unique_ptr<CkMime> {
    mail::OwnedPtr<ClsMime> pPart = objMime.GetPart(nIndex);
    if (pPart == nullptr) return nullptr;
    std::unique_ptr<CkMime> pMime(new CkMime(std::move(pPart)));
    pMime->put_Utf8(get_Utf8());
    return pMime;
  };
  return perform<ClsMime>(newPart).release();
}
