#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <curl/curl.h>

namespace bench {

// Requests to a local mailbox by libcurl alone, over one kept connection.
class BareCurl {
 public:
  // caFile: whose certificate the server has; empty where it speaks plain HTTP.
  explicit BareCurl(const std::string& user, const std::string& caFile = {}) {
    Set(CURLOPT_USERNAME, user.c_str());
    Set(CURLOPT_PASSWORD, "local");
    Set(CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
    if (!caFile.empty()) Set(CURLOPT_CAINFO, caFile.c_str());
    Set(CURLOPT_HTTPHEADER, m_headers.get());
    Set(CURLOPT_WRITEFUNCTION, Append);
    Set(CURLOPT_WRITEDATA, &m_answer);
    Set(CURLOPT_NOPROXY, "*");
  }
  // GET for an empty body. Throws for an answer without `expected` in it.
  void Ask(const std::string& url, const std::string& body, const std::string& expected) {
    m_answer.clear();
    Set(CURLOPT_URL, url.c_str());
    Set(CURLOPT_HTTPGET, 1L);
    if (!body.empty()) {
      Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
      Set(CURLOPT_POSTFIELDS, body.data());
    }
    const CURLcode code = curl_easy_perform(m_curl.get());
    if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
    if (m_answer.find(expected) == std::string::npos)
      throw std::runtime_error("not answered as it should be: " + m_answer.substr(0, 1000));
  }

 private:
  template <typename VALUE>
  void Set(CURLoption option, VALUE value) {
    curl_easy_setopt(m_curl.get(), option, value);
  }
  static size_t Append(char* data, size_t size, size_t count, void* text) {
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
  }

  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_curl{curl_easy_init(), curl_easy_cleanup};
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> m_headers{
      curl_slist_append(curl_slist_append(nullptr, "Content-Type: text/xml; charset=utf-8"),
                        "Expect:"),
      curl_slist_free_all};
  std::string m_answer;
};

}  // namespace bench
