#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "archive/Mhtml.h"
#include "base/ClsBase.h"
#include "base/XString.h"

namespace mail {

// The working object behind CkMht: its properties, and the forms in which a page is given and its
// archive taken.
class ClsMht : public ClsBase {
 public:
  ClsMht() = default;

  bool GetMHT(XString& strUrlOrPath, XString& strMime);
  bool GetEML(XString& strUrlOrPath, XString& strMime);
  bool GetAndSaveMHT(XString& strUrlOrPath, XString& strPath);
  bool GetAndSaveEML(XString& strUrlOrPath, XString& strPath);
  bool GetAndZipMHT(XString& strUrlOrPath, XString& strEntry, XString& strZipPath);
  bool GetAndZipEML(XString& strUrlOrPath, XString& strEntry, XString& strZipPath);
  bool HtmlToMHT(XString& strHtml, XString& strMime);
  bool HtmlToEML(XString& strHtml, XString& strMime);
  bool HtmlToMHTFile(XString& strHtml, XString& strPath);
  bool HtmlToEMLFile(XString& strHtml, XString& strPath);

  void setObserver(MhtObserver* pObserver) { m_mhtml.m_pObserver = pObserver; }

  // --- Properties. ---
  bool getBaseUrl(XString& strUrl);
  bool setBaseUrl(XString& strUrl);
  bool getWebSiteLogin(XString& strLogin);
  bool setWebSiteLogin(XString& strLogin);
  bool addExcludedUrl(XString& strPart);
  bool addStyleSheet(XString& strUrlOrPath);
  bool m_bUseCids = false;
  bool m_bEmbedImages = true;
  bool m_bEmbedLocalOnly = false;
  bool m_bNoScripts = false;
  bool m_bUseInline = true;
  bool m_bUseFilename = true;
  bool m_bConfineToFolder = false;
  bool m_bNoNetwork = false;
  bool m_bJudgesBytes = false;

 private:
  ~ClsMht() override = default;

  enum class Given { kLocation, kHtml };
  struct Request {
    std::string_view strMethod;
    Given nGiven;
    Mhtml::Form nForm;
  };
  bool convert(const Request& objRequest, XString& strPage, XString& strMime);
  bool save(const Request& objRequest, XString& strPage, XString& strPath);
  bool zip(const Request& objRequest, XString& strPage, XString& strEntry, XString& strZipPath);
  bool run(const Request& objRequest, XString& strPage, XString& strMime);
  void logProperties();
  void copyProperties();

  XString m_strBaseUrl;
  XString m_strWebSiteLogin;
  std::vector<std::string> m_arrExtraStyleSheets;
  std::vector<std::string> m_arrExcludeUrls;
  Mhtml m_mhtml;
};

}  // namespace mail
