#include "archive/CkMht.h"

#include <optional>

#include "archive/ClsMht.h"

using mail::ClsMht;
using mail::XString;

CkMht::CkMht() : CkMultiByteBase(mail::makeOwned<ClsMht>()) {}

bool CkMht::GetMHT(const char* pszUrlOrPath, CkString& strMime) {
  return run(&ClsMht::GetMHT, pszUrlOrPath, strMime.text());
}
bool CkMht::GetEML(const char* pszUrlOrPath, CkString& strMime) {
  return run(&ClsMht::GetEML, pszUrlOrPath, strMime.text());
}
bool CkMht::HtmlToMHT(const char* pszHtml, CkString& strMime) {
  return run(&ClsMht::HtmlToMHT, pszHtml, strMime.text());
}
bool CkMht::HtmlToEML(const char* pszHtml, CkString& strMime) {
  return run(&ClsMht::HtmlToEML, pszHtml, strMime.text());
}

const char* CkMht::getMHT(const char* psz) { return runText(&ClsMht::GetMHT, psz); }
const char* CkMht::getEML(const char* psz) { return runText(&ClsMht::GetEML, psz); }
const char* CkMht::htmlToMHT(const char* psz) { return runText(&ClsMht::HtmlToMHT, psz); }
const char* CkMht::htmlToEML(const char* psz) { return runText(&ClsMht::HtmlToEML, psz); }

bool CkMht::GetAndSaveMHT(const char* pszUrlOrPath, const char* pszPath) {
  return run(&ClsMht::GetAndSaveMHT, pszUrlOrPath, pszPath);
}
bool CkMht::GetAndSaveEML(const char* pszUrlOrPath, const char* pszPath) {
  return run(&ClsMht::GetAndSaveEML, pszUrlOrPath, pszPath);
}
bool CkMht::HtmlToMHTFile(const char* pszHtml, const char* pszPath) {
  return run(&ClsMht::HtmlToMHTFile, pszHtml, pszPath);
}
bool CkMht::HtmlToEMLFile(const char* pszHtml, const char* pszPath) {
  return run(&ClsMht::HtmlToEMLFile, pszHtml, pszPath);
}
bool CkMht::GetAndZipMHT(const char* pszUrlOrPath, const char* pszEntry, const char* pszZipPath) {
  return run(&ClsMht::GetAndZipMHT, pszUrlOrPath, pszEntry, pszZipPath);
}
bool CkMht::GetAndZipEML(const char* pszUrlOrPath, const char* pszEntry, const char* pszZipPath) {
  return run(&ClsMht::GetAndZipEML, pszUrlOrPath, pszEntry, pszZipPath);
}

bool CkMht::get_UseCids() { return property(&ClsMht::m_bUseCids); }
void CkMht::put_UseCids(bool b) { setProperty(&ClsMht::m_bUseCids, b); }
bool CkMht::get_EmbedImages() { return property(&ClsMht::m_bEmbedImages); }
void CkMht::put_EmbedImages(bool b) { setProperty(&ClsMht::m_bEmbedImages, b); }
bool CkMht::get_EmbedLocalOnly() { return property(&ClsMht::m_bEmbedLocalOnly); }
void CkMht::put_EmbedLocalOnly(bool b) { setProperty(&ClsMht::m_bEmbedLocalOnly, b); }
bool CkMht::get_NoScripts() { return property(&ClsMht::m_bNoScripts); }
void CkMht::put_NoScripts(bool b) { setProperty(&ClsMht::m_bNoScripts, b); }
bool CkMht::get_UseInline() { return property(&ClsMht::m_bUseInline); }
void CkMht::put_UseInline(bool b) { setProperty(&ClsMht::m_bUseInline, b); }
bool CkMht::get_UseFilename() { return property(&ClsMht::m_bUseFilename); }
void CkMht::put_UseFilename(bool b) { setProperty(&ClsMht::m_bUseFilename, b); }
bool CkMht::get_ConfineToFolder() { return property(&ClsMht::m_bConfineToFolder); }
void CkMht::put_ConfineToFolder(bool b) { setProperty(&ClsMht::m_bConfineToFolder, b); }
bool CkMht::get_JudgeByBytes() { return property(&ClsMht::m_bJudgesBytes); }
void CkMht::put_JudgeByBytes(bool b) { setProperty(&ClsMht::m_bJudgesBytes, b); }
bool CkMht::get_NoNetwork() { return property(&ClsMht::m_bNoNetwork); }
void CkMht::put_NoNetwork(bool b) { setProperty(&ClsMht::m_bNoNetwork, b); }

const char* CkMht::baseUrl() { return runText(&ClsMht::getBaseUrl); }
void CkMht::put_BaseUrl(const char* pszUrl) { (void)run(&ClsMht::setBaseUrl, pszUrl); }
const char* CkMht::webSiteLogin() { return runText(&ClsMht::getWebSiteLogin); }
void CkMht::put_WebSiteLogin(const char* psz) { (void)run(&ClsMht::setWebSiteLogin, psz); }
void CkMht::AddExcludedUrl(const char* pszPart) { (void)run(&ClsMht::addExcludedUrl, pszPart); }
void CkMht::AddStyleSheet(const char* psz) { (void)run(&ClsMht::addStyleSheet, psz); }

void CkMht::setObserver(mail::MhtObserver* pObserver) {
  (void)perform<ClsMht>([&](ClsMht& objMht) {
    objMht.setObserver(pObserver);
    return true;
  });
}

bool CkMht::property(bool ClsMht::*pMember) {
  const auto read = [&](ClsMht& objMht) { return std::optional<bool>(objMht.*pMember); };
  return perform<ClsMht>(read).value_or(false);
}

void CkMht::setProperty(bool ClsMht::*pMember, bool bValue) {
  (void)perform<ClsMht>([&](ClsMht& objMht) {
    objMht.*pMember = bValue;
    return true;
  });
}
