#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "archive/HttpConnPool.h"
#include "archive/HttpControl.h"
#include "archive/LocalFiles.h"
#include "archive/MhtObserver.h"
#include "archive/MhtmlContext.h"
#include "archive/ResourceTypes.h"
#include "archive/StringPair.h"
#include "base/DataBuffer.h"
#include "base/ExtPtrArray.h"
#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/OwnedPtr.h"
#include "base/StringBuffer.h"
#include "base/XString.h"
#include "charset/CkCharset.h"

namespace mail {

class MimeMessage2;
struct SetAside;

// Makes one MIME document of a page: the page is its first part, and what it shows follows, a part
// for each URL.
//
// The page is never parsed into a tree. Each kind of tag has a pass over the whole text, and the
// order of the passes matters: styles and scripts are set aside first (<velkor_style> and
// <velkor_script> keep their places), so that nothing in them is taken for a tag; they come back
// when the tags are done. What a pass finds gets a content id at once and is fetched only then:
//
//   <img src=a.png>  ──rewriteImages──▶  <img src="cid:CID-…">    m_cidToUrl: cid:CID-… → a.png
//                                        the resource loop fetches a.png and takes the entry out
//   <img src="a.png"> again, at the end, for what could not be had
//
// A frame is a resource that is a document of its own: it goes through the same passes, with a
// context on the stack, and its resources become parts beside the page's.
//
// Whatever the page holds, the work is linear in the bytes that are read: limits are below, and
// what goes beyond them counts as missing. A missing resource is no failure. Throws std::bad_alloc
// alone.
class Mhtml : public LibraryObject {
 public:
  static constexpr std::size_t kMaxFrameDepth = 32;    // contexts, the page's among them
  static constexpr std::size_t kMaxFrames = 1000;      // of a page, at all depths
  static constexpr std::size_t kMaxIncludeDepth = 16;  // files, the page among them
  static constexpr int kMaxImportDepth = 5;            // of the sheet whose imports are honoured
  static constexpr int kMaxStyleUrls = 120;            // of one sheet
  // Of sheets, included files and frames that are brought into one page.
  static constexpr std::size_t kMaxBroughtBytes = std::size_t{32} << 20;
  static constexpr std::uint64_t kMaxResponseMb = 1024;  // MiB
  static constexpr long kReadTimeoutMs = 60000;

  // Stands for Content-Location until the message is text.
  static constexpr std::string_view kLocationField = "Html--Url--Location";

  enum class Form { kArchive, kEmail };

  Mhtml();
  ~Mhtml() override;

  // Each sets strMime to the text of the document. False, and nothing in it, when the page cannot
  // be had. A base URL ("http://host/folder", "file:///folder") is what relative URLs belong to.
  bool convertFileUtf8(XString& strPath, std::string_view strBaseUrl, Form nForm, XString& strMime,
                       LogBase& log);
  bool convertHttpGetUtf8(std::string_view strUrl, Form nForm, XString& strMime, LogBase& log);
  bool convertHtmlUtf8(std::string_view strHtml, std::string_view strBaseUrl, Form nForm,
                       XString& strMime, LogBase& log);

  // --- What the caller sets. ---
  HttpControl m_http;
  bool m_preferScripts = true;  // over what a page shows where there are none
  bool m_noScripts = false;
  bool m_embedLocalOnly = false;
  bool m_embedImages = true;
  bool m_useCids = false;
  bool m_useInline = true;
  bool m_useFilename = true;
  bool m_xUnsent = false;
  bool m_bConfineToFolder = false;
  // What bytes show counts more than names: text in wide units without a mark is known as such, a
  // frame needs no extension, and a page that comes in the place of a picture or a sheet is a
  // missing one.
  bool m_bJudgesBytes = false;
  StringBuffer m_to;
  StringBuffer m_from;
  std::vector<std::string> m_extraStyleSheets;
  std::vector<std::string> m_excludeUrls;
  MhtObserver* m_pObserver = nullptr;  // must outlive the calls

 private:
  struct Fetched {
    DataBuffer arrBytes;
    std::string strFolder;  // of a local file
  };

  // --- Mhtml.cpp: from the location to the message. ---
  void begin(bool bIsLocal, bool bFromMemory);
  unsigned widePageOf(std::string_view strBytes, unsigned nTold) const;
  bool decodeMarks(const DataBuffer& arrBytes, int nToldPage, StringBuffer& strHtml, LogBase& log);
  bool fetchPage(const std::string& strUrl, HttpControl::Document& objDocument, LogBase& log);
  void decodeResponse(DataBuffer& arrBytes, const std::string& strHttpCharset,
                      StringBuffer& strHtml, LogBase& log);
  void takeCharset(DataBuffer& arrBytes, LogBase& log);
  bool buildDocument(StringBuffer& strHtml, Form nForm, XString& strMime, LogBase& log);
  static std::string pageType(std::string_view strHtml);
  void takeBaseHref(std::string_view strHtml, LogBase& log);
  void setRootHeaders(std::string_view strType, Form nForm, LogBase& log);
  void collapse(LogBase& log);
  void writeMessage(XString& strMime, LogBase& log);

  // --- MhtmlDocument.cpp: the passes in their order. ---
  // pFrame is the part of a frame; null for the page, whose part is made.
  void processDocument(StringBuffer& strHtml, MimeMessage2* pFrame, LogBase& log);
  void rewriteTagsOf(StringBuffer& strHtml, LogBase& log);
  void addExtraStyleSheets(StringBuffer& strHtml, LogBase& log);
  void extractScripts(StringBuffer& strHtml, SetAside& objSetAside, LogBase& log);
  MimeMessage2& addMainPart(StringBuffer& strHtml, LogBase& log);
  void restoreUrls(StringBuffer& strHtml) const;

  // --- MhtmlTags.cpp: a pass for each kind of tag. ---
  void rewriteFrames(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log);
  void rewriteImages(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log);
  void rewriteScripts(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log);
  void makeAbsolute(StringBuffer& strHtml, std::string_view strNeedle, std::string_view strName);
  void rewriteRollovers(StringBuffer& strHtml, LogBase& log);
  void rewriteBackgrounds(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log);
  bool isEmbeddableImage(std::string_view strUrl) const;
  // What a tag refers to the resource by from now on: its content id, or its URL.
  std::string referTo(const std::string& strUrl, ShownAs eShownAs = ShownAs::kPicture);

  // --- MhtmlStyles.cpp: style sheets. ---
  void extractStyles(StringBuffer& strHtml, SetAside& objSetAside, LogBase& log);
  void updateLinkHrefs(StringBuffer& strHtml, LogBase& log);
  void replaceLink(StringBuffer& strTag, const std::string& strUrl, LogBase& log);
  struct StyleAttributes {
    StringBuffer strMedia;
    StringBuffer strScoped;
    StringBuffer strTitle;
  };
  bool includeStyleSheet(const std::string& strUrl, const StyleAttributes& objAttributes,
                         StringBuffer& strOut, LogBase& log);
  void processSheet(StringBuffer& strSheet, int nDepth, LogBase& log);
  void processStyleUrls(StringBuffer& strSheet, LogBase& log);
  void processImports(StringBuffer& strSheet, int nDepth, LogBase& log);
  bool importSheet(std::string_view strUrl, std::string_view strMedia, int nDepth,
                   StringBuffer& strOut, LogBase& log);
  const StringBuffer* fetchSheet(const std::string& strUrl, LogBase& log);
  std::string styleUrl(std::string_view strValue, LogBase& log);

  // --- MhtmlIncludes.cpp: what a page on disk includes of other files. ---
  void processIncludes(StringBuffer& strHtml, std::vector<std::string>& arrChain, LogBase& log);
  void includeFile(std::string_view strTag, std::vector<std::string>& arrChain,
                   StringBuffer& strOut, LogBase& log);

  // --- MhtmlResources.cpp: resources and their parts. ---
  // The entry of that URL in the document's list; good until the document is done.
  const StringPair& addResource(const std::string& strUrl, ShownAs eShownAs);
  void addResourceParts(std::string_view strHtml, LogBase& log);
  bool isWanted(const StringPair& objPair, bool bReferenced, bool bFrameset, LogBase& log);
  void addResourcePart(const StringPair& objPair, LogBase& log);
  void setPartHeaders(MimeMessage2& objPart, const StringPair& objPair, const DetectedType& objType,
                      std::string_view strCharset, LogBase& log);
  void processFrame(const std::string& strUrl, const std::string& strFolder, StringBuffer& strHtml,
                    MimeMessage2& objPart, LogBase& log);
  bool fetchResource(const std::string& strUrl, ShownAs eShownAs, Fetched& objFetched,
                     LogBase& log);
  bool loadLocal(const std::string& strUrl, Fetched& objFetched, std::string& strReason,
                 LogBase& log);
  // A file by its name in the current document, in any of its spellings.
  std::optional<std::string> findLocal(const std::string& strName);
  // False when the page has brought in too much.
  bool spendBrought(std::size_t nBytes);
  bool takesFrame(std::size_t nBytes);
  // One text for all spellings of what one URL means in the current document.
  std::string identityOf(const std::string& strUrl);
  // The same, but for what cannot be shown as such while it may be had.
  std::string missingKeyOf(const std::string& strUrl, ShownAs eShownAs);
  // One text for each part: with ids the thing itself, without them each URL that stands for it.
  std::string partKeyOf(const std::string& strUrl);

  // --- MhtmlUrls.cpp: what URLs mean in the current document. ---
  MhtmlContext& context();  // the top of the stack, which is never empty behind it
  std::string absoluteUrl(std::string_view strUrl);
  std::string imageUrl(std::string_view strUrl);
  void setBaseUrls(std::string_view strUrl, LogBase& log);

  HttpConnPool m_connPool;
  LocalFiles m_files;
  ExtPtrArrayOf<MhtmlContext> m_contexts;
  OwnedPtr<MimeMessage2> m_pRoot;  // of the document in work
  std::size_t m_frameCounter = 0;
  StringBuffer m_pageUrl;      // of a page that came over the network
  bool m_dropScripts = false;  // of the document in work
  bool m_isLocal = false;      // its relative URLs are names of files
  bool m_fromMemory = false;
  _ckCharset m_charset;  // of the page; one that a file names stays for the next file
  StringBuffer m_styleBase;
  std::unordered_set<std::string> m_doneUrls;  // as partKeyOf
  std::unordered_map<std::string, std::string> m_cidToUrl;
  std::unordered_map<std::string, std::string> m_mapIds;      // identityOf -> content id
  std::unordered_set<std::string> m_setMissing;               // as missingKeyOf
  std::unordered_map<std::string, StringBuffer> m_mapSheets;  // identityOf -> text as fetched
  std::size_t m_nBroughtBytes = 0;
};

}  // namespace mail
