#include "mime/email/EmailLayout.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"

namespace mail {
namespace {

bool isUnder(const PlacedEmail& objPlaced, std::string_view strType) {
  return objPlaced.pParent != nullptr && objPlaced.pParent->type().equals(strType);
}

// In a digest a part that names no type is a mail.
bool isMail(const PlacedEmail& objPlaced) {
  const StringBuffer& strType = objPlaced.pNode->type();
  return strType.equals("message/rfc822") ||
         (strType.isEmpty() && isUnder(objPlaced, "multipart/digest"));
}

// "text" alone is from before there were subtypes. Of bytes without a type and a NUL among them
// nobody knows what they are.
bool isPlain(const Email2& objNode) {
  const StringBuffer& strType = objNode.type();
  return strType.equals("text/plain") || strType.equals("text") ||
         (strType.isEmpty() && !objNode.keepsBytes());
}

bool isPictureOfText(const PlacedEmail& objPlaced) {
  const MimeHeader& objHeader = objPlaced.pNode->header();
  return isUnder(objPlaced, "multipart/related") &&
         (objHeader.find("content-id") != nullptr || objHeader.find("content-location") != nullptr);
}

bool isOtherForm(const PlacedEmail& objPlaced) {
  return isUnder(objPlaced, "multipart/alternative") && objPlaced.pNode->isText() &&
         !objPlaced.pNode->type().equals("text/calendar");  // which is more than the text says
}

class Layout {
 public:
  Layout(const Email2& objRoot, LogBase& log) : m_log(log) {
    for (const PlacedEmail& objPlaced : nodesOf(objRoot)) {
      if (objPlaced.pNode->partCount() > 0) continue;
      m_arrShown.push_back({objPlaced, Role::kWithin, isMail(objPlaced)});
    }
    m_pHtml = findAlternative(objRoot, "text/html", log);
  }

  std::vector<ShownNode> run() {
    if (m_pHtml == nullptr) m_pHtml = findHtmlAnywhere();
    for (ShownNode& objNode : m_arrShown) {
      objNode.nRole = roleOf(objNode);
      m_bShowsText = m_bShowsText || objNode.nRole == Role::kText;
    }
    if (!m_bShowsText && m_pHtml == nullptr) showAnyText();
    return std::move(m_arrShown);
  }

 private:
  static bool isRoot(const ShownNode& objNode) { return objNode.objPlaced.pParent == nullptr; }

  const Email2* findHtmlAnywhere() const {
    const auto itFound =
        std::find_if(m_arrShown.begin(), m_arrShown.end(), [&](const ShownNode& objNode) {
          return objNode.objPlaced.pNode->type().equals("text/html") &&
                 !isAttachment(objNode.objPlaced, m_log);
        });
    return itFound == m_arrShown.end() ? nullptr : itFound->objPlaced.pNode;
  }

  Role roleOf(const ShownNode& objNode) const {
    const Email2& objEmail = *objNode.objPlaced.pNode;
    if (&objEmail == m_pHtml) return Role::kHtml;
    if (objNode.bMail) return Role::kFile;
    // A mail that is one text shows it, whatever name or class the text has. A mixture that lacks
    // its boundary is one text, too.
    const bool bText = isPlain(objEmail) || (isRoot(objNode) && objEmail.isMultipart());
    if (bText && isRoot(objNode)) return Role::kText;
    if (isAttachment(objNode.objPlaced, m_log)) return Role::kFile;
    if (bText && !isNamedFile(objNode.objPlaced)) return Role::kText;
    return isWithin(objNode.objPlaced) ? Role::kWithin : Role::kFile;
  }

  // A text with a name, beside one to read.
  bool isNamedFile(const PlacedEmail& objPlaced) const {
    return isNamed(*objPlaced.pNode) && !isUnder(objPlaced, "multipart/alternative") &&
           (m_bShowsText || m_pHtml != nullptr);
  }

  bool isWithin(const PlacedEmail& objPlaced) const {
    return objPlaced.pNode->body().isEmpty() ||
           objPlaced.pNode->type().contains("pkcs7-signature") || isOtherForm(objPlaced) ||
           (m_pHtml != nullptr && isPictureOfText(objPlaced));
  }

  // Better a text of a kind that nobody knows than none.
  void showAnyText() {
    const auto itFound =
        std::find_if(m_arrShown.begin(), m_arrShown.end(), [&](const ShownNode& objNode) {
          return objNode.objPlaced.pNode->isText() && !isAttachment(objNode.objPlaced, m_log);
        });
    if (itFound != m_arrShown.end()) itFound->nRole = Role::kText;
  }

  LogBase& m_log;
  std::vector<ShownNode> m_arrShown;
  const Email2* m_pHtml = nullptr;
  bool m_bShowsText = false;
};

// The page of a text that came without one; UTF-8 if nothing is to be done.
int pageOf(std::string_view strText) {
  if (!byte_search::isUtf8(strText)) return code_page::kWindows1252;
  const bool bShifts = strText.find("\x1B$B") != std::string_view::npos ||
                       strText.find("\x1B$@") != std::string_view::npos;
  return bShifts && byte_search::is7bit(strText) ? code_page::kIso2022Jp : code_page::kUtf8;
}

}  // namespace

std::vector<ShownNode> layOut(const Email2& objRoot, LogBase& log) {
  return Layout(objRoot, log).run();
}

bool isFurtherHtml(const ShownNode& objNode, LogBase& log) {
  const PlacedEmail& objPlaced = objNode.objPlaced;
  return objNode.nRole == Role::kFile && objPlaced.pNode->type().equals("text/html") &&
         !isNamed(*objPlaced.pNode) && !isAttachment(objPlaced, log);
}

bool isNamed(const Email2& objNode) {
  return !objNode.name().isEmpty() || !objNode.fileName().isEmpty();
}

std::string_view fileNameOf(const Email2& objNode) {
  for (const StringBuffer* pName : {&objNode.fileName(), &objNode.name()}) {
    if (!trimmed(pName->view()).empty()) return pName->view();
  }
  return {};
}

std::string_view listedType(const ShownNode& objNode) {
  return objNode.bMail ? "message/rfc822" : objNode.objPlaced.pNode->type().view();
}

std::string_view readableText(const Email2& objNode, DataBuffer& objRoom, LogBase& log) {
  const std::string_view strBody = objNode.body().view();
  const int nPage = pageOf(strBody);
  if (nPage == code_page::kUtf8) return strBody;
  objRoom.clear();
  (void)EncodingConvert().convertText(static_cast<unsigned>(nPage), code_page::kUtf8,
                                      strBody.data(), strBody.size(), objRoom, log);
  return objRoom.view();
}

}  // namespace mail
