#pragma once

#include "base/LibraryObject.h"

namespace mail {

// Keeps what outlives a request: open connections and, in memory alone, cookies. One request at a
// time.
class HttpConnPool : public LibraryObject {
 public:
  HttpConnPool() = default;
  ~HttpConnPool() override;
  HttpConnPool(const HttpConnPool&) = delete;
  HttpConnPool& operator=(const HttpConnPool&) = delete;

  // libcurl's easy handle with the options of the request before; null when there is none to be
  // had. The pool stays the owner.
  void* getHttpConnection();

 private:
  void* m_pHandle = nullptr;  // made at the first request
};

}  // namespace mail
