#include "archive/ClsMht.h"

#include <utility>

#include "archive/UrlText.h"
#include "archive/ZipFile.h"
#include "base/AsciiText.h"
#include "base/ClsOperation.h"
#include "base/LibraryFiles.h"
#include "base/LogContextExitor.h"

namespace mail {

bool ClsMht::GetMHT(XString& strUrlOrPath, XString& strMime) {
  return convert({"GetMHT", Given::kLocation, Mhtml::Form::kArchive}, strUrlOrPath, strMime);
}

bool ClsMht::GetEML(XString& strUrlOrPath, XString& strMime) {
  return convert({"GetEML", Given::kLocation, Mhtml::Form::kEmail}, strUrlOrPath, strMime);
}

bool ClsMht::GetAndSaveMHT(XString& strUrlOrPath, XString& strPath) {
  return save({"GetAndSaveMHT", Given::kLocation, Mhtml::Form::kArchive}, strUrlOrPath, strPath);
}

bool ClsMht::GetAndSaveEML(XString& strUrlOrPath, XString& strPath) {
  return save({"GetAndSaveEML", Given::kLocation, Mhtml::Form::kEmail}, strUrlOrPath, strPath);
}

bool ClsMht::GetAndZipMHT(XString& strUrlOrPath, XString& strEntry, XString& strZipPath) {
  return zip({"GetAndZipMHT", Given::kLocation, Mhtml::Form::kArchive}, strUrlOrPath, strEntry,
             strZipPath);
}

bool ClsMht::GetAndZipEML(XString& strUrlOrPath, XString& strEntry, XString& strZipPath) {
  return zip({"GetAndZipEML", Given::kLocation, Mhtml::Form::kEmail}, strUrlOrPath, strEntry,
             strZipPath);
}

bool ClsMht::HtmlToMHT(XString& strHtml, XString& strMime) {
  return convert({"HtmlToMHT", Given::kHtml, Mhtml::Form::kArchive}, strHtml, strMime);
}

bool ClsMht::HtmlToEML(XString& strHtml, XString& strMime) {
  return convert({"HtmlToEML", Given::kHtml, Mhtml::Form::kEmail}, strHtml, strMime);
}

bool ClsMht::HtmlToMHTFile(XString& strHtml, XString& strPath) {
  return save({"HtmlToMHTFile", Given::kHtml, Mhtml::Form::kArchive}, strHtml, strPath);
}

bool ClsMht::HtmlToEMLFile(XString& strHtml, XString& strPath) {
  return save({"HtmlToEMLFile", Given::kHtml, Mhtml::Form::kEmail}, strHtml, strPath);
}

bool ClsMht::getBaseUrl(XString& strUrl) { return strUrl.setFromUtf8(m_strBaseUrl.utf8().view()); }

bool ClsMht::setBaseUrl(XString& strUrl) { return m_strBaseUrl.setFromUtf8(strUrl.utf8().view()); }

bool ClsMht::getWebSiteLogin(XString& strLogin) {
  return strLogin.setFromUtf8(m_strWebSiteLogin.utf8().view());
}

bool ClsMht::setWebSiteLogin(XString& strLogin) {
  return m_strWebSiteLogin.setFromUtf8(strLogin.utf8().view());
}

bool ClsMht::addExcludedUrl(XString& strPart) {
  if (!strPart.isEmpty()) m_arrExcludeUrls.emplace_back(strPart.utf8().view());
  return true;
}

bool ClsMht::addStyleSheet(XString& strUrlOrPath) {
  m_arrExtraStyleSheets.emplace_back(strUrlOrPath.utf8().view());
  return true;
}

bool ClsMht::convert(const Request& objRequest, XString& strPage, XString& strMime) {
  ClsOperation objOperation(*this, objRequest.strMethod);
  return objOperation.done(run(objRequest, strPage, strMime));
}

bool ClsMht::save(const Request& objRequest, XString& strPage, XString& strPath) {
  ClsOperation objOperation(*this, objRequest.strMethod);
  XString strMime;
  const bool bMade = run(objRequest, strPage, strMime);
  return objOperation.done(bMade && writeWholeFile(strPath, strMime.utf8().view()));
}

bool ClsMht::zip(const Request& objRequest, XString& strPage, XString& strEntry,
                 XString& strZipPath) {
  ClsOperation objOperation(*this, objRequest.strMethod);
  XString strMime;
  DataBuffer arrZip;
  return objOperation.done(run(objRequest, strPage, strMime) &&
                           zipOneFile(strEntry.utf8().view(), strMime.utf8().view(), arrZip) &&
                           writeWholeFile(strZipPath, arrZip.view()));
}

bool ClsMht::run(const Request& objRequest, XString& strPage, XString& strMime) {
  strMime.clear();
  logProperties();
  copyProperties();
  const bool bEmail = objRequest.nForm == Mhtml::Form::kEmail;
  if (bEmail) m_mhtml.m_xUnsent = true;  // for the object's life
  m_mhtml.m_preferScripts = !bEmail;     // readers of mail run none
  const std::string_view strBase = m_strBaseUrl.utf8().view();
  if (objRequest.nGiven == Given::kHtml) {
    return m_mhtml.convertHtmlUtf8(strPage.utf8().view(), strBase, objRequest.nForm, strMime,
                                   m_log);
  }
  const std::string_view strLocation = trimmed(strPage.utf8().view());
  if (isHttpUrl(strLocation)) {
    return m_mhtml.convertHttpGetUtf8(strLocation, objRequest.nForm, strMime, m_log);
  }
  return m_mhtml.convertFileUtf8(strPage, strBase, objRequest.nForm, strMime, m_log);
}

void ClsMht::logProperties() {
  const LogContextExitor objContext(m_log, "propSettings");
  const auto logBool = [&](std::string_view strName, bool bValue) {
    m_log.LogDataLong(strName, bValue ? 1 : 0);
  };
  logBool("EmbedLocalOnly", m_bEmbedLocalOnly);
  logBool("EmbedImages", m_bEmbedImages);
  logBool("UseCids", m_bUseCids);
  logBool("UseFilename", m_bUseFilename);
  logBool("UseInline", m_bUseInline);
  logBool("NoScripts", m_bNoScripts);
  m_log.LogData("BaseUrl", m_strBaseUrl.utf8().view());
  const std::string_view strLogin = m_strWebSiteLogin.utf8().view();
  if (!strLogin.empty()) m_log.LogData("WebSiteLogin", strLogin.substr(0, strLogin.find(':')));
}

void ClsMht::copyProperties() {
  m_mhtml.m_useCids = m_bUseCids;
  m_mhtml.m_embedImages = m_bEmbedImages;
  m_mhtml.m_embedLocalOnly = m_bEmbedLocalOnly;
  m_mhtml.m_noScripts = m_bNoScripts;
  m_mhtml.m_useInline = m_bUseInline;
  m_mhtml.m_useFilename = m_bUseFilename;
  m_mhtml.m_bConfineToFolder = m_bConfineToFolder;
  m_mhtml.m_bJudgesBytes = m_bJudgesBytes;
  m_mhtml.m_http.m_bNoNetwork = m_bNoNetwork;
  m_mhtml.m_http.m_strLogin = m_strWebSiteLogin.utf8().view();
  m_mhtml.m_extraStyleSheets = m_arrExtraStyleSheets;
  m_mhtml.m_excludeUrls = m_arrExcludeUrls;
}

}  // namespace mail
