#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "archive/HttpConnPool.h"
#include "base/DataBuffer.h"
#include "base/LibraryObject.h"
#include "base/LogBase.h"

namespace mail {

struct HttpExchange;

// Plain GETs for the pages and resources of a web archive: http and https with certificates that
// hold, redirections followed, gzip undone, cookies kept by the pool, no proxy and no cache. Every
// request ends: a server that is silent for m_nReadTimeoutMs, that takes kMaxTimeouts times that in
// all, or that sends too much, has failed; one that was silent is not asked again until
// forgetSilentHosts, since a page may name thousands of its resources. Where kMaxSilentHosts were
// silent, others are asked only if they have answered before: a page may name thousands of hosts.
//
// False is the only failure, with the reason in failure(); what the outputs hold then is
// unspecified. Throws std::bad_alloc alone.
class HttpControl : public LibraryObject {
 public:
  static constexpr std::size_t kMaxUrlBytes = 8192;
  static constexpr long kMaxRedirections = 10;
  static constexpr long kMaxTimeouts = 10;
  static constexpr std::size_t kMaxSilentHosts = 3;
  static constexpr std::uint64_t kMebibyte = 1024 * 1024;  // bytes

  // A resource. The text of a page may stand in its URL: blanks and "&amp;" are brought in order,
  // and "/../" in its path is taken out.
  bool httpGetResource(std::string_view strUrl, DataBuffer& arrBytes, HttpConnPool& objPool,
                       LogBase& log);

  struct Document {
    DataBuffer arrBytes;
    std::string strCharset;   // of the Content-Type, as the server writes it, or empty
    std::string strFinalUrl;  // behind redirections; empty without any
  };
  // A page. With a login it is sent at once, and once more after a 401.
  bool httpGetDocument(std::string_view strUrl, Document& objDocument, HttpConnPool& objPool,
                       LogBase& log);

  const std::string& failure() const { return m_strFailure; }  // of the last call, for people
  // The Content-Type of the last answer, as the server writes it, or empty.
  const std::string& contentType() const { return m_strContentType; }
  void forgetSilentHosts() {
    m_setSilentHosts.clear();
    m_setGoodHosts.clear();
  }

  std::string m_strUserAgent =
      "Mozilla/5.0 (Windows NT 6.3; WOW64; rv:49.0) Gecko/20100101 Firefox/49.0";
  std::string m_strLogin;             // "name" or "name:password", of the page's server
  std::string m_strCaFile;            // PEM; empty: what this system trusts
  long m_nReadTimeoutMs = 20000;      // rounded up to seconds
  std::uint64_t m_nMaxSizeMb = 2000;  // MiB of a response, unpacked
  bool m_bNoNetwork = false;          // every request fails

 private:
  enum class Login { kNone, kPreset, kNegotiated };

  bool get(const std::string& strUrl, Login nLogin, HttpExchange& objExchange,
           HttpConnPool& objPool, LogBase& log);
  bool isAllowed(const std::string& strUrl, LogBase& log);
  void setOptions(void* pHandle, const std::string& strUrl, Login nLogin) const;
  void setLogin(void* pHandle, Login nLogin) const;
  bool fail(std::string strReason, LogBase& log);
  bool failStatus(long nStatus, LogBase& log);

  std::string m_strFailure;
  std::string m_strContentType;
  std::set<std::string> m_setSilentHosts;  // "host:port"
  std::set<std::string> m_setGoodHosts;    // that have answered
};

}  // namespace mail
