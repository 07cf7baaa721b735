#pragma once

#include <string_view>

#include "base/ClsBase.h"
#include "base/DataBuffer.h"
#include "base/OwnedPtr.h"
#include "base/XString.h"
#include "mime/tree/SharedMime.h"

namespace mail {

// The working object behind CkMime: one entity of a shared tree. When its tree was replaced by
// another load, an operation notes so and goes on with a fresh, empty message.
class ClsMime : public ClsBase {
 public:
  ClsMime();

  // Each of the operations says in m_log what it did.
  bool LoadMimeFile(XString& strPath);
  // The same from memory; the bytes are not needed afterwards.
  bool LoadMimeBytes(std::string_view strBytes);
  // The child of that index, from 0, as an object on the same tree; null on a bad index.
  OwnedPtr<ClsMime> GetPart(int nIndex);
  bool SaveBody(XString& strPath);
  bool getMime(XString& strMime);
  bool GetMimeBytes(DataBuffer& arrBytes);                   // replaces what was in the buffer
  bool SetHeaderField(XString& strName, XString& strValue);  // always true

 private:
  ~ClsMime() override;

  ClsMime(SharedMime& objShared, EntityKey objKey);
  class TreeLock;
  bool load(std::string_view strBytes);
  MimeMessage2* entity(TreeLock& objLock);  // takes the tree's lock; null for want of memory
  void startFresh();

  OwnedPtr<SharedMime> m_pShared;  // one reference
  EntityKey m_objKey;
};

}  // namespace mail
