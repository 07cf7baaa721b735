#include "mime/email/EmailBodies.h"

#include <algorithm>
#include <array>
#include <deque>

#include "base/AsciiText.h"

namespace mail {
namespace {

bool endsWithNoCase(const StringBuffer& strText, std::string_view strEnd) {
  const std::string_view str = strText.view();
  return str.size() >= strEnd.size() &&
         equalsNoCase(str.substr(str.size() - strEnd.size()), strEnd);
}

bool isMixed(const Email2& objNode) { return objNode.type().equals("multipart/mixed"); }
bool isAlternative(const Email2& objNode) { return objNode.type().equals("multipart/alternative"); }
bool isSignature(const Email2& objNode) { return objNode.type().contains("pkcs7-signature"); }
bool isAttached(const Email2& objNode) { return objNode.disposition().equals("attachment"); }
bool isInline(const Email2& objNode) { return objNode.disposition().equals("inline"); }

bool isFileInMixture(const PlacedEmail& objPlaced) {
  constexpr std::array<std::string_view, 4> kTypes = {"image/", "application/", "audio/", "video/"};
  const StringBuffer& strType = objPlaced.pNode->type();
  return objPlaced.pParent != nullptr && isMixed(*objPlaced.pParent) &&
         std::any_of(kTypes.begin(), kTypes.end(),
                     [&](std::string_view str) { return strType.beginsWith(str); });
}

bool isMailMessageByClass(const Email2& objNode) {
  return findNoCase(objNode.header().valueOf("content-class"), "content-classes:message") !=
         std::string_view::npos;
}

bool hasSpecialSuffix(const Email2& objNode) {
  constexpr std::array<std::string_view, 3> kSuffixes = {".pem", ".pmi", ".gtr"};
  return std::any_of(kSuffixes.begin(), kSuffixes.end(), [&](std::string_view strSuffix) {
    return endsWithNoCase(objNode.fileName(), strSuffix);
  });
}

struct Rule {
  bool (*pFits)(const PlacedEmail&);
  bool bAttachment;
  std::string_view strReason;  // in the words of the log
};

// The first that fits decides.
constexpr std::array kRules = std::to_array<Rule>({
    {[](const PlacedEmail& p) { return p.pNode->isMultipart(); }, false,
     "No (multipart enclosure)"},
    {isFileInMixture, true, "Yes, under multipart-mixed AND image/application/audio/video"},
    {[](const PlacedEmail& p) { return p.pNode->type().equals("message/rfc822"); }, false,
     "No (message/rfc822)"},
    {[](const PlacedEmail& p) {
       return endsWithNoCase(p.pNode->name(), ".mht") ||
              endsWithNoCase(p.pNode->fileName(), ".mht");
     },
     true, "Yes (MHT)"},
    {[](const PlacedEmail& p) { return isSignature(*p.pNode) && isAttached(*p.pNode); }, true,
     "Yes (pkcs7-signature AND disposition=attachment)"},
    {[](const PlacedEmail& p) { return isSignature(*p.pNode); }, false, "No (pkcs7-signature)"},
    {[](const PlacedEmail& p) { return isAttached(*p.pNode); }, true,
     "Yes (disposition=attachment)"},
    {[](const PlacedEmail& p) { return p.pNode->type().beginsWith("application/"); }, true,
     "Yes (content-type=application)"},
    {[](const PlacedEmail& p) { return isInline(*p.pNode) && !p.pNode->fileName().isEmpty(); },
     true, "Yes, inline AND has filename"},
    {[](const PlacedEmail& p) { return isInline(*p.pNode); }, false, "No, inline AND no filename"},
    {[](const PlacedEmail& p) {
       return p.pNode->type().beginsWith("image/") && p.pNode->type().endsWith("tiff");
     },
     true, "Yes, image/*-tiff"},
    {[](const PlacedEmail& p) { return isMailMessageByClass(*p.pNode); }, true,
     "Yes, because of Content-Class header."},
    {[](const PlacedEmail& p) {
       return !p.pNode->name().isEmpty() && p.pNode->encoding().equalsIgnoreCase("base64");
     },
     true, "Yes, has name attribute and base64 encoding."},
    {[](const PlacedEmail& p) { return hasSpecialSuffix(*p.pNode); }, true,
     "Yes, special name file suffixes: pem, pmi, gtr"},
    {[](const PlacedEmail&) { return true; }, false, "No, attachment is not indicated."},
});

// Walks the nodes that hold the text of a mail.
class AlternativeWalk {
 public:
  explicit AlternativeWalk(LogBase& log) : m_log(log) {}

  std::vector<const Email2*> run(const Email2& objRoot) {
    if (objRoot.partCount() == 0) {
      const bool bBare = objRoot.type().isEmpty() && objRoot.disposition().isEmpty();
      if (bBare || objRoot.isText()) m_arrFound.push_back(&objRoot);
      return m_arrFound;
    }
    m_arrLater.push_back(&objRoot);
    while (!m_arrLater.empty()) {
      const Email2* const pNode = m_arrLater.front();
      m_arrLater.pop_front();
      walk(*pNode);
    }
    return m_arrFound;
  }

 private:
  struct Open {
    const Email2* pNode;
    std::size_t nNext;
  };

  bool isReadable(const PlacedEmail& objPlaced) const {
    return objPlaced.pNode->isText() && !isSignature(*objPlaced.pNode) &&
           !isAttachment(objPlaced, m_log);
  }

  static bool isEntered(const Email2& objNode) {
    return isMixed(objNode) || isAlternative(objNode) || objNode.type().equals("multipart/signed");
  }
  static bool isRelated(const Email2& objNode) {
    return objNode.type().equals("multipart/related");
  }

  void walk(const Email2& objTop) {
    if (!isEntered(objTop) && !isRelated(objTop)) return;
    std::vector<Open> arrOpen = {{&objTop, 0}};
    while (!arrOpen.empty()) {
      Open& objOpen = arrOpen.back();
      const Email2* const pParent = objOpen.pNode;
      const Email2* const pPart = pParent->part(objOpen.nNext++);
      if (pPart == nullptr) {
        arrOpen.pop_back();
      } else if (isRelated(*pPart)) {
        m_arrLater.push_back(pPart);
      } else if (isEntered(*pPart)) {
        arrOpen.push_back({pPart, 0});
      } else if (isReadable({pPart, pParent})) {
        m_arrFound.push_back(pPart);
      }
    }
  }

  LogBase& m_log;
  std::vector<const Email2*> m_arrFound;
  std::deque<const Email2*> m_arrLater;
};

}  // namespace

bool isAttachment(const PlacedEmail& objPlaced, LogBase& log) {
  const auto itRule = std::find_if(kRules.begin(), kRules.end(),
                                   [&](const Rule& objRule) { return objRule.pFits(objPlaced); });
  if (log.m_bVerbose) log.LogData("isAttachment", itRule->strReason);
  return itRule->bAttachment;
}

std::vector<PlacedEmail> nodesOf(const Email2& objRoot) {
  std::vector<PlacedEmail> arrNodes;
  std::vector<PlacedEmail> arrOpen = {{&objRoot, nullptr}};
  while (!arrOpen.empty()) {
    const PlacedEmail objPlaced = arrOpen.back();
    arrOpen.pop_back();
    arrNodes.push_back(objPlaced);
    for (std::size_t n = objPlaced.pNode->partCount(); n-- > 0;) {
      arrOpen.push_back({objPlaced.pNode->part(n), objPlaced.pNode});
    }
  }
  return arrNodes;
}

std::vector<const Email2*> alternativesOf(const Email2& objRoot, LogBase& log) {
  return AlternativeWalk(log).run(objRoot);
}

const Email2* findAlternative(const Email2& objRoot, std::string_view strType, LogBase& log) {
  for (const Email2* pNode : alternativesOf(objRoot, log)) {
    if (equalsNoCase(pNode->type().view(), strType)) return pNode;
  }
  return nullptr;
}

bool appendHtml(std::string_view strBody, StringBuffer& strHtml) {
  if (!strHtml.reserve(strBody.size())) return false;
  while (!strBody.empty()) {
    const std::string_view strPiece = strBody.substr(0, strBody.find('\0'));
    strBody.remove_prefix(strPiece.size());
    if (!strHtml.append(strPiece)) return false;
    if (strBody.empty()) break;
    if (!strHtml.appendChar(' ')) return false;
    strBody.remove_prefix(1);
  }
  return strHtml.toCrLf();
}

bool htmlBodyOf(const Email2& objRoot, StringBuffer& strHtml, LogBase& log) {
  strHtml.clear();
  const bool bAlone = objRoot.type().equals("text/html");
  if (bAlone) log.LogInfo("This is an HTML-only email.  It is not multipart/alternative.");
  const Email2* const pHtml = bAlone ? &objRoot : findAlternative(objRoot, "text/html", log);
  if (pHtml == nullptr) {
    log.LogError("No HTML alternative.");
    return false;
  }
  const bool bTaken = appendHtml(pHtml->body().view(), strHtml);
  if (!bTaken) log.LogError("Failed to get HTML alternative body data");
  return bTaken;
}

}  // namespace mail
