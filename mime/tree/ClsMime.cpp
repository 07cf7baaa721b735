#include "mime/tree/ClsMime.h"

#include <mutex>
#include <new>

#include "base/ClsOperation.h"
#include "base/LibraryFiles.h"
#include "base/RefCountedObjectOwner.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/tree/MimeInput.h"

namespace mail {

ClsMime::ClsMime() { startFresh(); }
ClsMime::~ClsMime() = default;

ClsMime::ClsMime(SharedMime& objShared, EntityKey objKey)
    : m_pShared(&objShared), m_objKey(objKey) {
  objShared.incRefCount();
}

// Holds the lock of a tree, and the tree itself for as long.
class ClsMime::TreeLock {
 public:
  void hold(SharedMime* pShared) {
    m_objLock = {};
    m_objKeeper = {};
    if (pShared == nullptr) return;
    pShared->incRefCount();
    m_objKeeper = RefCountedObjectOwner(pShared);
    m_objLock = std::unique_lock(pShared->lock());
  }

 private:
  RefCountedObjectOwner m_objKeeper;  // outlives the lock
  std::unique_lock<std::recursive_mutex> m_objLock;
};

void ClsMime::startFresh() {
  m_pShared = makeOwned<SharedMime>();
  m_objKey = m_pShared != nullptr ? m_pShared->rootKey() : EntityKey{};
}

MimeMessage2* ClsMime::entity(TreeLock& objLock) {
  objLock.hold(m_pShared.get());
  MimeMessage2* const pEntity = m_pShared != nullptr ? m_pShared->find(m_objKey) : nullptr;
  if (pEntity != nullptr) return pEntity;
  m_log.LogError("Internal MIME part no longer exists within the MIME document.");
  startFresh();
  objLock.hold(m_pShared.get());
  return m_pShared != nullptr ? m_pShared->find(m_objKey) : nullptr;
}

bool ClsMime::LoadMimeFile(XString& strPath) {
  ClsOperation objOperation(*this, "LoadMimeFile");
  m_log.LogData("path", strPath.utf8().view());
  DataBuffer arrBytes;
  if (!readWholeFile(strPath, arrBytes)) {
    m_log.LogError("Failed to read file.");
    return objOperation.done(false);
  }
  m_log.LogDataLong("numMimeBytes", arrBytes.getSize());
  return objOperation.done(load(arrBytes.view()));
}

bool ClsMime::LoadMimeBytes(std::string_view strBytes) {
  ClsOperation objOperation(*this, "LoadMimeBytes");
  m_log.LogDataLong("numMimeBytes", static_cast<std::int64_t>(strBytes.size()));
  return objOperation.done(load(strBytes));
}

// Objects on the tree that was there look at nothing from now on, if the tree was all this
// object's.
bool ClsMime::load(std::string_view strBytes) {
  {
    TreeLock objLock;
    objLock.hold(m_pShared.get());
    if (m_pShared != nullptr && m_objKey.nEntity == 0) m_pShared->dropTree();
  }
  startFresh();
  TreeLock objLock;
  MimeMessage2* const pRoot = entity(objLock);
  return pRoot != nullptr && loadMimeInput(*pRoot, strBytes, m_log);
}

OwnedPtr<ClsMime> ClsMime::GetPart(int nIndex) {
  ClsOperation objOperation(*this, "GetPart");
  m_log.LogDataLong("index", nIndex);
  TreeLock objLock;
  MimeMessage2* const pEntity = entity(objLock);
  const std::size_t nParts = pEntity != nullptr ? pEntity->partCount() : 0;
  if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= nParts) {
    m_log.LogError("Failed to get MIME message part");
    m_log.LogDataLong("num_parts", static_cast<std::int64_t>(nParts));
    m_log.LogDataLong("requested_part_index", nIndex);
    (void)objOperation.done(false);
    return nullptr;
  }
  MimeMessage2& objPart = *pEntity->part(static_cast<std::size_t>(nIndex));
  OwnedPtr<ClsMime> pPart(new (std::nothrow) ClsMime(*m_pShared, m_pShared->keyOf(objPart)));
  (void)objOperation.done(pPart != nullptr);
  return pPart;
}

bool ClsMime::SaveBody(XString& strPath) {
  ClsOperation objOperation(*this, "SaveBody");
  StringBuffer strShown;
  (void)ContentCoding().encodeQuotedPrintable(strPath.utf8().view(), strShown);
  m_log.LogData("destPathUtf8_QP", strShown.view());
  TreeLock objLock;
  const MimeMessage2* const pEntity = entity(objLock);
  if (pEntity == nullptr) return objOperation.done(false);
  DataBuffer arrRoom;
  return objOperation.done(writeWholeFile(strPath, pEntity->bodyForFile(arrRoom, m_log)));
}

bool ClsMime::getMime(XString& strMime) {
  ClsOperation objOperation(*this, "getMime");
  TreeLock objLock;
  MimeMessage2* const pEntity = entity(objLock);
  if (pEntity != nullptr) pEntity->getMimeText(strMime, m_log);
  return objOperation.done(pEntity != nullptr);
}

bool ClsMime::GetMimeBytes(DataBuffer& arrBytes) {
  ClsOperation objOperation(*this, "GetMimeBytes");
  TreeLock objLock;
  const MimeMessage2* const pEntity = entity(objLock);
  arrBytes.weakClear();
  if (pEntity != nullptr) pEntity->getMimeBytes(arrBytes, m_log);
  return objOperation.done(pEntity != nullptr);
}

bool ClsMime::SetHeaderField(XString& strName, XString& strValue) {
  ClsOperation objOperation(*this, "SetHeaderField");
  m_log.LogData("name", strName.utf8().view());
  m_log.LogData("value", strValue.utf8().view());
  TreeLock objLock;
  MimeMessage2* const pEntity = entity(objLock);
  if (pEntity != nullptr) {
    pEntity->setHeaderField(strName.utf8().view(), strValue.utf8().view(), m_log);
  }
  return objOperation.done(true);
}

}  // namespace mail
