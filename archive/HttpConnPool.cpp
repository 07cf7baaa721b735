#include "archive/HttpConnPool.h"

#include <curl/curl.h>

namespace mail {

HttpConnPool::~HttpConnPool() {
  curl_easy_cleanup(m_pHandle);  // null is fine
}

void* HttpConnPool::getHttpConnection() {
  if (m_pHandle != nullptr) return m_pHandle;
  static const CURLcode nStarted = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (nStarted == CURLE_OK) m_pHandle = curl_easy_init();
  // Cookies are kept, on no disk. Each time it is set libcurl adds to a list that
  // curl_easy_reset() forgets to free, hence once, and no reset between resources.
  if (m_pHandle != nullptr) curl_easy_setopt(m_pHandle, CURLOPT_COOKIEFILE, "");
  return m_pHandle;
}

}  // namespace mail
