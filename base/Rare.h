#pragma once

#include <memory>

namespace mail {

// A member that most objects of a large tree do without: it takes the room of a pointer until it is
// changed, and reads as an empty T until then. change may throw std::bad_alloc.
template <class T>
class Rare {
 public:
  const T& get() const {
    static const T kEmpty;
    return m_pValue != nullptr ? *m_pValue : kEmpty;
  }
  T& change() {
    if (m_pValue == nullptr) m_pValue = std::make_unique<T>();
    return *m_pValue;
  }
  void clear() { m_pValue.reset(); }

 private:
  std::unique_ptr<T> m_pValue;
};

}  // namespace mail
