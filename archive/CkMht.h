#pragma once

#include "base/CkMultiByteBase.h"
#include "base/CkString.h"

namespace mail {
class ClsMht;
class MhtObserver;
}  // namespace mail

// Makes one self-contained MIME document of an HTML page: the page and, a part for each, the
// pictures, scripts and frames that it shows; style sheets are put into the page. See
// CkMultiByteBase for texts and results.
//
// A page is a file, an http or https URL, or a text. A file is named by its path, with or without
// "file:///"; where it is not there as it is spelt, it is found without regard to case. The methods
// with EML make a mail of it, those with MHT a web archive, which differ in this: a mail has a Date
// and "X-Unsent: 1" (which stays for all that the object makes from then on), and of a page that
// has something to show to readers without scripts, that is what a mail holds.
//
// False, and an empty text, only when the page itself cannot be had (or a result cannot be
// written). What the page refers to and cannot be had stays as the URL that it was. Certificates
// must hold. The limits on nesting and size are in archive/Mhtml.h.
class CkMht : public CkMultiByteBase {
 public:
  CkMht();

  // --- The archive as text: into strMime, or in a result slot (null on failure). ---
  bool GetMHT(const char* pszUrlOrPath, CkString& strMime);
  const char* getMHT(const char* pszUrlOrPath);
  bool GetEML(const char* pszUrlOrPath, CkString& strMime);
  const char* getEML(const char* pszUrlOrPath);
  // The page is a text; what it refers to belongs to BaseUrl.
  bool HtmlToMHT(const char* pszHtml, CkString& strMime);
  const char* htmlToMHT(const char* pszHtml);
  bool HtmlToEML(const char* pszHtml, CkString& strMime);
  const char* htmlToEML(const char* pszHtml);

  // --- The archive as a file, which is created or replaced. ---
  bool GetAndSaveMHT(const char* pszUrlOrPath, const char* pszPath);
  bool GetAndSaveEML(const char* pszUrlOrPath, const char* pszPath);
  bool HtmlToMHTFile(const char* pszHtml, const char* pszPath);
  bool HtmlToEMLFile(const char* pszHtml, const char* pszPath);
  // In a ZIP file of its own, under that name.
  bool GetAndZipMHT(const char* pszUrlOrPath, const char* pszEntry, const char* pszZipPath);
  bool GetAndZipEML(const char* pszUrlOrPath, const char* pszEntry, const char* pszZipPath);

  // --- What is taken in. ---
  bool get_EmbedImages();  // true at the start
  void put_EmbedImages(bool bEmbed);
  bool get_EmbedLocalOnly();  // no pictures by http or https; false at the start
  void put_EmbedLocalOnly(bool bOnly);
  bool get_NoScripts();  // scripts and event attributes go; false at the start
  void put_NoScripts(bool bNone);
  // No file outside of the page's folder (of BaseUrl's, for a page that is a text), links resolved
  // first; false at the start.
  bool get_ConfineToFolder();
  void put_ConfineToFolder(bool bConfine);
  bool get_NoNetwork();  // every URL by http or https is missing; false at the start
  void put_NoNetwork(bool bNone);
  // What bytes show counts more than names: pages in UTF-16 or UTF-32 without a mark are read, a
  // frame needs no extension, and a page that comes in the place of a picture or a style sheet is a
  // missing one. False at the start.
  bool get_JudgeByBytes();
  void put_JudgeByBytes(bool bJudge);
  // A resource whose URL holds that part is left out, in addition to those so far.
  void AddExcludedUrl(const char* pszPart);
  // A sheet that is put into every page, in addition to those so far.
  void AddStyleSheet(const char* pszUrlOrPath);

  // --- How it is written. ---
  // Parts have a Content-ID, by which the page refers to them. Without it they have a
  // Content-Location, and the page refers to them by URL. False at the start.
  bool get_UseCids();
  void put_UseCids(bool bUse);
  bool get_UseInline();  // "Content-Disposition: inline"; true at the start
  void put_UseInline(bool bUse);
  bool get_UseFilename();  // the same with a file name; true at the start
  void put_UseFilename(bool bUse);

  // --- Where it comes from. ---
  // What relative URLs of a file or a text belong to; empty at the start. A file's pictures are
  // still read from its own folder, unless it begins with "file:///".
  const char* baseUrl();
  void put_BaseUrl(const char* pszUrl);
  // "name" or "name:password", for a page that asks for it.
  const char* webSiteLogin();
  void put_WebSiteLogin(const char* pszLogin);

  // Is told what became of each resource; null, as at the start, for nobody. Must outlive the
  // calls.
  void setObserver(mail::MhtObserver* pObserver);

 private:
  bool property(bool mail::ClsMht::*pMember);
  void setProperty(bool mail::ClsMht::*pMember, bool bValue);
};
