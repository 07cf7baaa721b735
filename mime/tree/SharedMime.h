#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "base/OwnedPtr.h"
#include "base/RefCountedObject.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {

// Which entity of a SharedMime an object looks at. Good as long as the tree is the same.
struct EntityKey {
  std::uint32_t nTree = 0;    // counts the trees that the SharedMime had
  std::uint32_t nEntity = 0;  // in the order in which keys were first asked for; 0 is the root
};

// One tree of entities, owned on behalf of all objects that look at it. Its lock is held while the
// tree is touched; objects take their own critical section first and this one second.
class SharedMime : public RefCountedObject {
 public:
  SharedMime();  // with an empty root

  std::recursive_mutex& lock() { return m_lock; }

  // All of these under the lock.
  EntityKey rootKey() const { return {m_nTree, 0}; }
  // The entity must be in the tree.
  EntityKey keyOf(MimeMessage2& objEntity);
  // Null when the tree is another by now; then the key is good for nothing any more.
  MimeMessage2* find(EntityKey objKey) const;
  // Gives up the tree: every key given out so far leads nowhere.
  void dropTree();

 private:
  std::recursive_mutex m_lock;
  OwnedPtr<MimeMessage2> m_pRoot;
  std::vector<MimeMessage2*> m_arrKnown;  // by number
  std::unordered_map<const MimeMessage2*, std::uint32_t> m_mapNumbers;
  std::uint32_t m_nTree = 0;
};

}  // namespace mail
