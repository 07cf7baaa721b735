#include "mime/tree/MimeLoader.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/tree/BodyDecoding.h"
#include "mime/tree/LoadObserver.h"

namespace mail {
namespace {

constexpr std::size_t npos = SourceText::npos;
constexpr std::size_t kSmallestPart =
    5;  // bytes; what is smaller between two delimiters is nothing
using code_page::kUtf8;

// Takes up to two line ends, CR LF or LF, off the front.
void skipLineEnds(SourceRange& objRange) {
  for (int n = 0; n < 2; ++n) {
    const std::string_view strText = objRange.view();
    objRange.nBegin += strText.starts_with("\r\n") ? 2 : strText.starts_with('\n') ? 1 : 0;
  }
}

// Takes off the line end in front of a delimiter, which belongs to it, as far as it is one. Where
// line ends have more CRs than one, the delimiter's own has as many; strBehind is what follows it.
void dropLineEnd(SourceRange& objPart, std::string_view strLineEnd, std::string_view strBehind) {
  if (objPart.view().ends_with('\n')) --objPart.nEnd;
  if (strLineEnd.size() < 2) return;
  const std::size_t nCrs = std::min(strBehind.find_first_not_of('\r'), strBehind.size());
  const bool bLineEnd = nCrs > 1 && strBehind.substr(nCrs).starts_with('\n');
  for (std::size_t n = bLineEnd ? nCrs : 1; n > 0 && objPart.view().ends_with('\r'); --n) {
    --objPart.nEnd;
  }
}

// The bytes of a 7-bit boundary in the place of another, one for one.
std::string to7bit(std::string_view strBoundary) {
  std::string strNew(strBoundary);
  for (char& ch : strNew) {
    const auto nByte = static_cast<unsigned char>(ch);
    if (nByte < 0x80) continue;
    const int n = nByte - 0x80;
    ch = static_cast<char>(n < '0' ? '0' : n > 'z' ? 'z' : n);
  }
  return strNew;
}

std::string toAnsi(std::string_view strUtf8) {
  DataBuffer arrAnsi;
  LogNull log;
  (void)EncodingConvert().EncConvertToAnsi(kUtf8, strUtf8.data(), strUtf8.size(), arrAnsi, log);
  return std::string(arrAnsi.view());
}

}  // namespace

// What parts the entities of one multipart.
struct MimeLoader::Delimiters {
  std::string strText;  // "--" and the boundary
  std::string_view strLineEnd = "\r\n";
  DelimiterIndex::Place objFirst;
  bool bMended = false;  // the boundary is not spelt as in the header

  std::string closing() const { return strText + "--"; }
};

MimeLoader::MimeLoader(const MimeMessage2::LoadOptions& objOptions, LogBase& log, bool bDoubtsAscii)
    : m_bRepair(objOptions.bRepair),
      m_bUtf8(objOptions.bUtf8),
      m_bDoubtsAscii(bDoubtsAscii),
      m_bHeaderOnly(objOptions.bHeaderOnly),
      m_strClue(objOptions.strClue),
      m_log(log),
      m_pObserver(objOptions.pObserver) {}

bool MimeLoader::load(MimeMessage2& objRoot, std::string_view strBytes) {
  objRoot.clear();
  try {
    SourceText objText(strBytes, m_nSteps);
    const bool bLoaded = loadEntity(objRoot, {&objText, 0, strBytes.size()}, 0);
    objRoot.m_bHasUndivided = m_bHasUndivided;
    return bLoaded;
  } catch (const std::bad_alloc&) {
    m_log.LogError("Out of memory loading MIME.");
    objRoot.clear();
    return false;
  }
}

bool MimeLoader::loadEntity(MimeMessage2& objEntity, SourceRange objRange, std::size_t nDepth) {
  if (m_pObserver != nullptr) m_pObserver->entityBegins(objEntity);
  skipMboxLine(objRange);
  if (m_bHeaderOnly && !m_bRepair) cutBehindEmptyLine(objRange);
  std::unique_ptr<SourceText> pRewritten;
  const HeaderEnd objEnd = findEndOfHeader2(objRange, m_bRepair, pRewritten, m_log);
  if (!objEnd.bFound) return loadWithoutEnd(objEntity, objRange);
  return loadParted(objEntity, objRange, objEnd, nDepth);
}

void MimeLoader::skipMboxLine(SourceRange& objRange) {
  const std::string_view strText = objRange.view();
  if (!strText.starts_with("From ")) return;
  const std::size_t nEnd = strText.find_first_of("\r\n");
  const std::size_t nStart = nEnd == npos ? npos : strText.find_first_not_of("\r\n", nEnd);
  if (nStart == npos) return;
  m_log.LogInfo("Skipping MBOX leading From line...");
  objRange.nBegin += nStart;
}

bool MimeLoader::loadParted(MimeMessage2& objEntity, SourceRange objRange, const HeaderEnd& objEnd,
                            std::size_t nDepth) {
  std::string_view strHeader;
  if (objEnd.nPos > objRange.nBegin) {
    const std::size_t nLength = objEnd.nPos + objEnd.strMarker.size() - objRange.nBegin;
    strHeader = objRange.view().substr(0, nLength);
    loadHeader(objEntity, strHeader, objEnd.strMarker);
  }
  if (m_pObserver != nullptr) m_pObserver->headerRead(objEntity, strHeader, objEnd.strMarker);
  if (m_bHeaderOnly) return true;
  objRange.nBegin = objEnd.nPos;
  skipLineEnds(objRange);
  // Without a body too: what the type says of the charset holds for every leaf.
  return parseMimeBody(objEntity, objRange, nDepth);
}

bool MimeLoader::loadWithoutEnd(MimeMessage2& objEntity, const SourceRange& objRange) {
  const std::string_view strText = objRange.view();
  if (strText.starts_with("\r\n")) {
    m_log.LogInfo(
        "Parsing MIME assuming an empty header.  The default content-type is text/plain.");
    loadHeader(objEntity, "Content-Type: text/plain", {});
    if (m_pObserver != nullptr) m_pObserver->headerRead(objEntity, {}, {});
    return decodeLeaf(objEntity, objRange.passing(), true);
  }
  if (strText.size() > MimeMessage2::kMaxLoneHeader) {
    m_log.LogError("Header larger than 20MB?  This cannot be MIME...");
    objEntity.clear();
    return false;
  }
  m_log.LogInfo("Assuming the entire MIME message is a header with no body.");
  loadHeader(objEntity, strText, {});
  if (m_pObserver != nullptr) m_pObserver->headerRead(objEntity, strText, {});
  return decodeLeaf(objEntity, {}, false);
}

void MimeLoader::loadHeader(MimeMessage2& objEntity, std::string_view strHeader,
                            std::string_view strMarker) {
  m_nSteps += strHeader.size();
  (void)objEntity.m_header.loadMimeHeaderText(strHeader, strMarker, m_bUtf8 ? kUtf8 : 0, m_strClue,
                                              m_log);
  objEntity.refreshCache(m_log);
}

bool MimeLoader::parseMimeBody(MimeMessage2& objEntity, SourceRange objRange, std::size_t nDepth) {
  if (!objEntity.isMultipart() || objEntity.boundary().isEmpty()) {
    return decodeLeaf(objEntity, objRange.passing(), false);
  }
  if (objRange.size() == 0) {
    if (m_pObserver != nullptr) m_pObserver->leafRead(objEntity, {});
    return true;
  }
  if (nDepth >= MimeMessage2::kMaxDepth) return keepUndivided(objEntity, objRange.view());
  Delimiters objDelimiters;
  if (!findFirst(objEntity, objRange, nDepth, objDelimiters)) {
    m_log.LogInfo("No boundary found -- loading the body with all that follows.");
    return decodeLeaf(objEntity, objRange.passing(), true);
  }
  return loadParts(objEntity, objRange, nDepth, objDelimiters);
}

bool MimeLoader::keepUndivided(MimeMessage2& objEntity, std::string_view strBody) {
  if (!m_bHasUndivided) m_log.LogInfo("Nested too deeply: the parts of an entity stay undivided.");
  m_bHasUndivided = objEntity.m_bUndivided = true;
  return objEntity.m_body.append(strBody);
}

// Tries one spelling of the boundary; then a few that mailers are known to get wrong. The entity's
// boundary follows the one that is there.
bool MimeLoader::findFirst(MimeMessage2& objEntity, const SourceRange& objRange, std::size_t nDepth,
                           Delimiters& objDelimiters) {
  constexpr std::string_view kAlternative = "=_alternative";
  const auto bFound = [&](std::string_view strSpelling) {
    std::string& strText = objDelimiters.strText = std::string("--").append(strSpelling);
    DelimiterIndex::Place& objFirst = objDelimiters.objFirst;
    objFirst = objRange.pText->findDelimiter(strText, objDelimiters.strLineEnd, objRange.nBegin,
                                             objRange.nEnd, nDepth);
    if (objFirst.nBegin == npos) return false;
    // The blank there is the one that the header lacks, and no padding.
    return !strSpelling.ends_with(kAlternative) ||
           objRange.pText->view()[objFirst.nBegin + strText.size()] != ' ';
  };
  const std::string strBoundary(objEntity.boundary().view());
  if (bFound(strBoundary)) return true;
  m_log.LogInfo("Did not find boundary ending in CRLF, re-checking for bare-LF...");
  objDelimiters.strLineEnd = "\n";
  if (bFound(strBoundary)) return true;
  m_log.LogError("Still did not find boundary...");
  objDelimiters.bMended = true;
  if (const std::size_t nAt = strBoundary.find(kAlternative); nAt != npos) {
    std::string strSpaced = strBoundary;
    strSpaced.insert(nAt + kAlternative.size(), " ");
    for (const std::string_view strLineEnd : {"\r\n", "\n"}) {
      objDelimiters.strLineEnd = strLineEnd;
      if (!bFound(strSpaced)) continue;
      objEntity.setBoundary(strSpaced, m_log);
      return true;
    }
  }
  if (byte_search::is7bit(strBoundary)) return false;
  m_log.LogInfo("Still looking for the boundary: Searching using ANSI instead...");
  const std::string strAnsi = toAnsi(strBoundary);
  for (const std::string_view strLineEnd : {"\r\n", "\n"}) {
    objDelimiters.strLineEnd = strLineEnd;
    if (!bFound(strAnsi)) continue;
    objEntity.setBoundary(to7bit(strBoundary), m_log);
    return true;
  }
  return false;
}

bool MimeLoader::loadParts(MimeMessage2& objEntity, const SourceRange& objRange, std::size_t nDepth,
                           const Delimiters& objDelimiters) {
  SourceText& objText = *objRange.pText;
  const std::string strClosing = objDelimiters.closing();
  std::size_t nBegin = objDelimiters.objFirst.nEnd;
  for (bool bLast = false; !bLast;) {
    auto [nNext, nBehind] = objText.findDelimiter(objDelimiters.strText, objDelimiters.strLineEnd,
                                                  nBegin, objRange.nEnd, nDepth);
    bLast = nNext == npos;
    if (bLast) {
      nNext = objText.findClosing(strClosing, nBegin, objRange.nEnd, nDepth);
      nBehind = nNext == npos ? objRange.nEnd : nNext + strClosing.size();
    }
    SourceRange objPart{&objText, nBegin, objRange.nEnd};
    if (nNext != npos) {
      // A boundary may end in padding, which the line need not have.
      const std::size_t nText =
          bLast ? nBehind : std::min(nNext + objDelimiters.strText.size(), nBehind);
      objPart.nEnd = nNext;
      dropLineEnd(objPart, objDelimiters.strLineEnd,
                  objText.view().substr(nText, objRange.nEnd - nText));
    }
    nBegin = nBehind;
    if (objPart.size() >= kSmallestPart && !loadPart(objEntity, objPart, nDepth)) return false;
    if (bLast && m_pObserver != nullptr) {
      m_pObserver->partsRead(objEntity, {nNext != npos, objDelimiters.bMended,
                                         objText.view().substr(nBegin, objRange.nEnd - nBegin)});
    }
  }
  return true;
}

bool MimeLoader::loadPart(MimeMessage2& objEntity, const SourceRange& objPart, std::size_t nDepth) {
  OwnedPtr<MimeMessage2> pChild = makeOwned<MimeMessage2>();
  if (pChild == nullptr) return false;
  if (objEntity.partCount() == 0 && objEntity.isPgpSigned() &&
      !pChild->m_rawPart.append(objPart.view())) {
    return false;
  }
  objEntity.m_bDirty = true;
  // A part that is no MIME stays in the tree, empty, so that those behind it keep their index.
  (void)loadEntity(*pChild, objPart, nDepth + 1);
  return objEntity.m_parts.append(std::move(pChild));
}

bool MimeLoader::decodeLeaf(MimeMessage2& objEntity, const PassingBytes& objBody,
                            bool bTextForSure) {
  if (m_bHeaderOnly) return true;
  m_nSteps += objBody.strBytes.size();
  BodyDecoding objDecoding(objEntity, {m_bUtf8, bTextForSure, m_bDoubtsAscii}, m_strClue, m_log);
  if (m_pObserver == nullptr) {
    if (!objDecoding.decode(objBody)) throw std::bad_alloc();  // which load() answers for
    return true;
  }
  const std::string strEncoding(objEntity.encoding().view());
  const int nNamedPage = objEntity.charset().getCodePage();
  const PassingBytes objKept{objBody.strBytes};  // the observer reads them again
  if (!objDecoding.decode(objKept)) throw std::bad_alloc();
  m_pObserver->leafRead(objEntity, {objKept.strBytes, strEncoding, nNamedPage,
                                    objDecoding.textPage(), objDecoding.isLossy()});
  return true;
}

}  // namespace mail
