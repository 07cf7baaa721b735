#pragma once

#include <mutex>

#include "base/ClsBase.h"

namespace mail {

// Holds an object's critical section for the life of the guard. The object must outlive it.
class CritSecExitor {
 public:
  explicit CritSecExitor(ClsBase& objBase) : m_lock(objBase.m_criticalSection) {}

 private:
  std::lock_guard<std::recursive_mutex> m_lock;
};

}  // namespace mail
