#include "mime/email/EmailBuilding.h"

#include <new>
#include <utility>
#include <vector>

#include "base/ByteSearch.h"
#include "base/MemoryShortage.h"
#include "mime/email/EmailNormalisation.h"
#include "mime/tree/MimeInput.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {
namespace {

// An entity whose turn is to come, and the node that will hold its own.
struct Pending {
  OwnedPtr<MimeMessage2> pEntity;
  Email2* pParent;
};

// Fills the node from the entity, whose parts get in line: the first one last, so that it comes
// first.
void takeOver(MimeMessage2& objEntity, Email2& objNode, std::vector<Pending>& arrPending,
              LogBase& log) {
  objNode.takeEntity(objEntity, log);
  auto& arrParts = objEntity.parts();
  while (arrParts.getSize() > 0) {
    arrPending.push_back({arrParts.remove(arrParts.getSize() - 1), &objNode});
  }
}

// Moves a tree of entities into one of nodes; each entity is given up as soon as it was taken, so
// that the two trees never stand side by side.
bool moveTree(OwnedPtr<MimeMessage2> pRoot, Email2& objRoot, LogBase& log) {
  std::vector<Pending> arrPending;
  takeOver(*pRoot, objRoot, arrPending, log);
  while (!arrPending.empty()) {
    const Pending objNow = std::move(arrPending.back());
    arrPending.pop_back();
    Email2& objParent = *objNow.pParent;
    if (!objParent.addPart(makeOwned<Email2>())) return false;
    takeOver(*objNow.pEntity, *objParent.part(objParent.partCount() - 1), arrPending, log);
  }
  return true;
}

// The field From is written as one text, so names that need it are encoded here.
void encodeFrom(Email2& objRoot, LogBase& log) {
  const std::string_view strFrom = objRoot.header().valueOf("from");
  if (!byte_search::is7bit(strFrom)) objRoot.setFrom(strFrom, log);
}

OwnedPtr<Email2> build(std::string_view strMime, bool bUtf8, LogBase& log, BuildFor eFor) {
  const bool bReader = eFor == BuildFor::kReader;
  auto pRoot = makeOwned<MimeMessage2>();
  auto pEmail = makeOwned<Email2>();
  if (pRoot == nullptr || pEmail == nullptr) return nullptr;
  bUtf8 = bUtf8 && !byte_search::is7bit(strMime.substr(0, kUtf8Probe));
  if (!loadMimeInput(*pRoot, strMime, log, {.bRepair = true, .bUtf8 = bUtf8},
                     bReader ? AsciiLabel::kDoubted : AsciiLabel::kTrusted)) {
    return nullptr;
  }
  normaliseMail(*pRoot, strMime, bReader ? Mixtures::kAsTheyCame : Mixtures::kJoined, log);
  if (!moveTree(std::move(pRoot), *pEmail, log)) return nullptr;
  pEmail->takeCharset(pEmail->contentType().m_charset);
  encodeFrom(*pEmail, log);
  return pEmail;
}

}  // namespace

OwnedPtr<Email2> buildEmail(std::string_view strMime, bool bUtf8, LogBase& log, BuildFor eFor) {
  try {
    const auto nShortages = memoryShortages();
    OwnedPtr<Email2> pEmail = build(strMime, bUtf8, log, eFor);
    if (memoryShortages() != nShortages) throw std::bad_alloc();  // no mail without some of it
    return pEmail;
  } catch (const std::bad_alloc&) {
    log.LogError("Out of memory building an e-mail.");
    return nullptr;
  }
}

}  // namespace mail
