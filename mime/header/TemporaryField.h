#pragma once

#include <string_view>

#include "base/LogBase.h"
#include "base/OwnedPtr.h"
#include "mime/header/MimeField.h"
#include "mime/header/MimeHeader.h"

namespace mail {

// Another field in the place of the first of its name, or a new one, for the life of the object.
// The header is then as it was, to the letter: the old field is kept, not only what it says.
class TemporaryField {
 public:
  // Header and name must outlive the object.
  TemporaryField(MimeHeader& objHeader, std::string_view strName, std::string_view strValueUtf8,
                 LogBase& log);
  ~TemporaryField() { restore(); }
  TemporaryField(TemporaryField&& other) noexcept;
  TemporaryField& operator=(TemporaryField&&) = delete;

  // False for want of memory, which the log tells: the header is as it was.
  bool isSet() const { return m_pHeader != nullptr; }
  void restore();

 private:
  MimeHeader* m_pHeader = nullptr;  // null: nothing to restore
  std::string_view m_strName;
  OwnedPtr<MimeField> m_pOld;  // null: there was none
};

}  // namespace mail
