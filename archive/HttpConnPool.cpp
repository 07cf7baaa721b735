#include "archive/HttpConnPool.h"

#include <curl/curl.h>

namespace mail {

HttpConnPool::~HttpConnPool() {
  curl_easy_cleanup(m_pHandle);  // null is fine
}

void* HttpConnPool::getHttpConnection() {
  if (m_pHandle != nullptr) {
    curl_easy_reset(m_pHandle);  // keeps connections and cookies
    return m_pHandle;
  }
  static const CURLcode nStarted = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (nStarted == CURLE_OK) m_pHandle = curl_easy_init();
  return m_pHandle;
}

}  // namespace mail
