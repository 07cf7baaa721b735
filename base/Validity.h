#pragma once

#include <cstdint>

namespace mail {

// A word that says "this object is alive": set by the constructor, cleared by the destructor, and
// looked at by every operation of its owner, which does nothing and reports failure when the word
// is wrong. A copy gets the word of its own; assignment leaves both words alone.
template <class Word, Word kWord>
class Validity {
 public:
  Validity() = default;
  Validity(const Validity&) {}
  Validity& operator=(const Validity&) { return *this; }
  ~Validity() { m_word = 0; }

  bool holds() const { return m_word == kWord; }

 private:
  volatile Word m_word = kWord;  // volatile: the last store must not be taken for a dead one
};

}  // namespace mail
