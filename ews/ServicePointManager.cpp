#include "ews/ServicePointManager.h"

#include "ews/Settings.h"

namespace ews {

bool ServicePointManager::AcceptsEveryCertificate() {
  if (Settings().bVerifyCertificates) return false;
  return !s_pCallback || s_pCallback(nullptr, nullptr, nullptr, 0);
}

}  // namespace ews

bool CMyClass::AcceptingCertificate(const void*, const void*, const void*, int) { return true; }
