#pragma once

#include <string_view>

#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"

namespace mail {

// A Content-Disposition value in its parts. Throws std::bad_alloc alone, for want of memory.
class ContentDisposition : public LibraryObject {
 public:
  // Replaces what was there.
  void load(std::string_view strValueUtf8, LogBase& log);
  // Appends "TYPE; filename=\"NAME\"", without what is empty.
  void emit(StringBuffer& strOut) const;
  void clear();

  StringBuffer m_type;      // lower case: "attachment", "inline", …
  StringBuffer m_fileName;  // UTF-8, pieces joined and decoded
};

}  // namespace mail
