#pragma once

#include <string_view>

#include "base/LibraryObject.h"
#include "base/StringBuffer.h"

namespace mail {

// A charset as somebody named it: its code page (0: none), the canonical name of that page (empty
// when there is none), and whether a byte order mark was asked for.
class _ckCharset : public LibraryObject {
 public:
  enum BomMode : int { kBomUnsaid = 0, kBomWanted = 1, kBomUnwanted = 2 };

  // Takes a name as people and mails write it. The prefixes "bom-" and "bom:", "no-bom-" and
  // "no-bom:" (exactly so) set the BOM mode, no prefix sets it to unsaid. Then an empty name and
  // "ansi" mean the machine's ANSI page, "oem" its OEM page (in any case), "default" and
  // "x-user-defined" (exactly so) no charset; anything else goes through nameToCodePage. False, and
  // no charset, only for a name that is unknown. A page that writes no name of its own is kept with
  // an empty one. Null counts as empty.
  bool setByName(const char* pszName);
  bool setByName(std::string_view strName);
  // No charset if the page has no name to write. Leaves the BOM mode alone.
  void setByCodePage(int nCodePage);
  // No charset. Leaves the BOM mode alone.
  void clear();

  // Against the canonical name, in any case.
  bool equalsName(std::string_view strName) const { return m_name.equalsIgnoreCase(strName); }
  int getCodePage() const { return m_codePage; }
  const StringBuffer& getName() const { return m_name; }
  int getBomMode() const { return m_bomMode; }

 private:
  StringBuffer m_name;
  int m_codePage = 0;
  int m_bomMode = kBomUnsaid;
};

}  // namespace mail
