#pragma once

#include <cstdint>
#include <mutex>

#include "base/CkLogger.h"
#include "base/RefCountedObject.h"

namespace mail {

// The base of the working objects (Cls*) behind the public ones (Ck*). Every public operation
// checks isValid first, holds the critical section for its length (CritSecExitor), and logs into
// m_log.
class ClsBase : public RefCountedObject {
 public:
  static constexpr std::uint32_t kClsValidityWord = 0x991144AA;

  bool isValid() const { return m_clsValidity.holds(); }

  _ckLogger m_log;
  bool m_lastMethodSuccess = true;  // result of the last public operation

 protected:
  ClsBase() = default;
  ~ClsBase() override = default;

 private:
  friend class CritSecExitor;

  Validity<std::uint32_t, kClsValidityWord> m_clsValidity;
  std::recursive_mutex m_criticalSection;  // recursive: public operations may call each other
};

}  // namespace mail
