#include "mime/tree/SharedMime.h"

namespace mail {

SharedMime::SharedMime() : m_pRoot(makeOwned<MimeMessage2>()) {
  if (m_pRoot != nullptr) m_arrKnown.push_back(m_pRoot.get());
}

EntityKey SharedMime::keyOf(MimeMessage2& objEntity) {
  if (&objEntity == m_pRoot.get()) return rootKey();
  const auto nNext = static_cast<std::uint32_t>(m_arrKnown.size());
  const auto [it, bNew] = m_mapNumbers.try_emplace(&objEntity, nNext);
  if (bNew) m_arrKnown.push_back(&objEntity);
  return {m_nTree, it->second};
}

MimeMessage2* SharedMime::find(EntityKey objKey) const {
  if (objKey.nTree != m_nTree || objKey.nEntity >= m_arrKnown.size()) return nullptr;
  return m_arrKnown[objKey.nEntity];
}

void SharedMime::dropTree() {
  m_arrKnown.clear();
  m_mapNumbers.clear();
  m_pRoot.reset();
  ++m_nTree;
}

}  // namespace mail
