#include "mime/email/EmailNormalisation.h"

#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "mime/encoding/UuCoding.h"
#include "mime/header/CkContentType.h"
#include "mime/header/ContentDisposition.h"
#include "mime/tree/ContentTypeTable.h"
#include "platform/Sha256.h"

namespace mail {
namespace {

// Boundaries made of a digest of the mail: a text does not hold its own digest, and the same mail
// gets the same ones.
class Boundaries {
 public:
  explicit Boundaries(std::string_view strSource) : m_strSource(strSource) {}

  std::string next() {
    if (m_strDigest.empty()) m_strDigest = platform::Sha256Hex(m_strSource).substr(0, kDigits);
    return "=_" + m_strDigest + "_" + std::to_string(m_nMade++);
  }

 private:
  static constexpr std::size_t kDigits = 32;

  std::string_view m_strSource;
  std::string m_strDigest;
  unsigned m_nMade = 0;
};

OwnedPtr<MimeMessage2> newEntity() {
  auto pEntity = makeOwned<MimeMessage2>();
  if (pEntity == nullptr) throw std::bad_alloc();
  return pEntity;
}

void becomeMultipart(MimeMessage2& objEntity, std::string_view strType, Boundaries& objBoundaries,
                     LogBase& log) {
  _ckContentType objType;
  (void)objType.m_type.setString(strType);
  (void)objType.m_boundary.setString(objBoundaries.next());
  objEntity.setContentType(objType, log);
}

// Moves what a leaf is, not who sent it, into a part of its own, and makes it a mixture that has no
// part yet.
OwnedPtr<MimeMessage2> moveContent(MimeMessage2& objRoot, Boundaries& objBoundaries, LogBase& log) {
  OwnedPtr<MimeMessage2> pPart = newEntity();
  constexpr std::array<std::string_view, 3> kFields = {"Content-Type", "Content-Transfer-Encoding",
                                                       "Content-Disposition"};
  for (const std::string_view strName : kFields) {
    pPart->setHeaderField(strName, objRoot.header().valueOf(strName), log);
    objRoot.setHeaderField(strName, {}, log);
  }
  pPart->takeBody(objRoot);
  becomeMultipart(objRoot, "multipart/mixed", objBoundaries, log);
  return pPart;
}

void wrapLoneAttachment(MimeMessage2& objRoot, Boundaries& objBoundaries, LogBase& log) {
  const StringBuffer& strType = objRoot.contentType();
  if (!objRoot.isAttachment() || objRoot.isMultipart() || strType.contains("pkcs7") ||
      strType.contains("edifact")) {
    return;
  }
  OwnedPtr<MimeMessage2> pText = newEntity();
  pText->setContentType("text/plain", log);
  OwnedPtr<MimeMessage2> pFile = moveContent(objRoot, objBoundaries, log);
  (void)objRoot.parts().append(std::move(pText));
  (void)objRoot.parts().append(std::move(pFile));
}

bool isBodyOfType(const MimeMessage2& objPart, std::string_view strType, LogBase& log) {
  if (!objPart.contentType().equals(strType) || objPart.isAttachment()) return false;
  StringBuffer strFileName;
  objPart.getFileName(strFileName, log);
  return strFileName.isEmpty();
}

// The index of the first such part; the number of parts if there is none.
std::size_t findBody(const MimeMessage2& objRoot, std::string_view strType, LogBase& log) {
  std::size_t n = 0;
  while (n < objRoot.partCount() && !isBodyOfType(*objRoot.part(n), strType, log)) ++n;
  return n;
}

void joinAlternatives(MimeMessage2& objRoot, Boundaries& objBoundaries, LogBase& log) {
  if (!objRoot.contentType().equals("multipart/mixed")) return;
  const std::size_t nParts = objRoot.partCount();
  const std::size_t nPlain = findBody(objRoot, "text/plain", log);
  const std::size_t nHtml = findBody(objRoot, "text/html", log);
  if (nPlain == nParts || nHtml == nParts) return;
  if (nParts == 2) {
    objRoot.setContentType("multipart/alternative", log);
    return;
  }
  OwnedPtr<MimeMessage2> pBoth = newEntity();
  becomeMultipart(*pBoth, "multipart/alternative", objBoundaries, log);
  auto& arrParts = objRoot.parts();
  OwnedPtr<MimeMessage2> pPlain = arrParts.remove(nPlain);
  OwnedPtr<MimeMessage2> pHtml = arrParts.remove(nHtml - (nPlain < nHtml ? 1 : 0));
  (void)pBoth->parts().append(std::move(pPlain));
  (void)pBoth->parts().append(std::move(pHtml));
  // In the place of the first of them, so that what stood behind still does.
  (void)arrParts.insert(std::min(nPlain, nHtml), std::move(pBoth));
}

// The type that an extension means, for bytes of which nothing else is known: none that a reader
// would take for text or for a mail.
std::string_view typeOfFile(std::string_view strName) {
  constexpr std::string_view kUnknown = "application/octet-stream";
  const std::size_t nDot = strName.rfind('.');
  if (nDot == std::string_view::npos) return kUnknown;
  const std::string_view strType = contentTypeOfExtension(strName.substr(nDot + 1));
  const bool bBytes = !strType.empty() && !strType.starts_with("text/") &&
                      !strType.starts_with("message/") && !strType.starts_with("multipart/");
  return bBytes ? strType : kUnknown;
}

OwnedPtr<MimeMessage2> fileOfBlock(const UuBlock& objBlock, LogBase& log) {
  OwnedPtr<MimeMessage2> pFile = newEntity();
  DataBuffer arrBytes;
  if (!decodeUuLines(objBlock.strLines, arrBytes)) throw std::bad_alloc();
  _ckContentType objType;
  (void)objType.m_type.setString(typeOfFile(objBlock.strName));
  (void)objType.m_name.setString(objBlock.strName);
  pFile->setContentType(objType, log);
  ContentDisposition objDisposition;
  (void)objDisposition.m_type.setString("attachment");
  (void)objDisposition.m_fileName.setString(objBlock.strName);
  StringBuffer strDisposition;
  objDisposition.emit(strDisposition);
  pFile->setHeaderField("Content-Disposition", strDisposition.view(), log);
  pFile->setEncoding("base64", log);
  pFile->setBody(std::move(arrBytes));
  return pFile;
}

using Files = std::vector<OwnedPtr<MimeMessage2>>;

// Adds the uuencoded files of a text to arrFiles and cuts them out of it.
void cutUuBlocks(MimeMessage2& objText, Files& arrFiles, LogBase& log) {
  const std::string_view strBody = objText.body().view();
  DataBuffer arrRest;
  std::size_t nDone = 0;
  while (const auto objBlock = findUuBlock(strBody, nDone)) {
    if (!arrRest.append(strBody.substr(nDone, objBlock->nBegin - nDone))) throw std::bad_alloc();
    arrFiles.push_back(fileOfBlock(*objBlock, log));
    nDone = objBlock->nEnd;
  }
  if (nDone == 0) return;
  if (!arrRest.append(strBody.substr(nDone))) throw std::bad_alloc();
  objText.setBody(std::move(arrRest));
}

bool isPlainLeaf(const MimeMessage2& objEntity) {
  const StringBuffer& strType = objEntity.contentType();
  return objEntity.partCount() == 0 && (strType.equals("text/plain") || strType.isEmpty()) &&
         !objEntity.isAttachment();
}

bool holdsTexts(const MimeMessage2& objEntity) {
  return objEntity.contentType().equals("multipart/mixed") ||
         objEntity.contentType().equals("multipart/alternative");
}

// The plain texts of a mail, as far down as alternatives in a mixture.
std::vector<MimeMessage2*> plainTextsOf(MimeMessage2& objRoot) {
  constexpr int kLevels = 2;
  std::vector<MimeMessage2*> arrLevel = {&objRoot};
  std::vector<MimeMessage2*> arrTexts;
  for (int nLevel = 0; nLevel <= kLevels; ++nLevel) {
    std::vector<MimeMessage2*> arrNext;
    for (MimeMessage2* pEntity : arrLevel) {
      if (isPlainLeaf(*pEntity)) arrTexts.push_back(pEntity);
      if (!holdsTexts(*pEntity)) continue;
      for (std::size_t n = 0; n < pEntity->partCount(); ++n) arrNext.push_back(pEntity->part(n));
    }
    arrLevel = std::move(arrNext);
  }
  return arrTexts;
}

// Makes the root a mixture, to which files can be added.
void becomeMixture(MimeMessage2& objRoot, Boundaries& objBoundaries, LogBase& log) {
  if (objRoot.contentType().equals("multipart/mixed")) return;
  ExtPtrArrayOf<MimeMessage2> arrParts;
  arrParts.swap(objRoot.parts());
  OwnedPtr<MimeMessage2> pContent = moveContent(objRoot, objBoundaries, log);
  // A mail without a type is text; a part says so, or no reader would take it for the mail's text.
  if (pContent->contentType().isEmpty()) pContent->setContentType("text/plain", log);
  pContent->parts().swap(arrParts);
  (void)objRoot.parts().append(std::move(pContent));
}

void extractUuencoded(MimeMessage2& objRoot, Boundaries& objBoundaries, LogBase& log) {
  if (findNoCase(objRoot.header().valueOf("x-ms-has-attach"), "yes") != std::string_view::npos)
    return;
  Files arrFiles;
  for (MimeMessage2* pText : plainTextsOf(objRoot)) cutUuBlocks(*pText, arrFiles, log);
  if (arrFiles.empty()) return;
  becomeMixture(objRoot, objBoundaries, log);
  for (OwnedPtr<MimeMessage2>& pFile : arrFiles) (void)objRoot.parts().append(std::move(pFile));
}

void dropUserDefinedCharset(MimeMessage2& objRoot, LogBase& log) {
  if (findNoCase(objRoot.header().valueOf("content-type"), "x-user-defined") ==
      std::string_view::npos) {
    return;
  }
  _ckContentType objType;
  objRoot.getContentType(objType, log);
  objType.m_charset.clear();
  objType.m_unknownCharset.clear();
  // A text is written with a charset in any case; it must be one that holds it.
  const std::string_view strBody = objRoot.body().view();
  if (objType.m_type.beginsWith("text/") && !byte_search::is7bit(strBody)) {
    (void)objType.m_charset.setByName("utf-8");
  }
  objRoot.setContentType(objType, log);
}

}  // namespace

void normaliseMail(MimeMessage2& objRoot, std::string_view strSource, Mixtures nMixtures,
                   LogBase& log) {
  for (const std::string_view strName : {"to", "cc", "bcc"}) {
    objRoot.header().mergeFields(strName, ",", log);
  }
  Boundaries objBoundaries(strSource);
  wrapLoneAttachment(objRoot, objBoundaries, log);
  if (nMixtures == Mixtures::kJoined) joinAlternatives(objRoot, objBoundaries, log);
  dropUserDefinedCharset(objRoot, log);  // while the text is the root's
  extractUuencoded(objRoot, objBoundaries, log);
}

}  // namespace mail
