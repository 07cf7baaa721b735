#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "archive/StringPair.h"
#include "base/ExtPtrArray.h"
#include "base/LibraryObject.h"
#include "base/StringBuffer.h"

namespace mail {

// One document in work: the page, or a frame below it.
class MhtmlContext : public LibraryObject {
 public:
  ExtPtrArrayOf<StringPair> m_arrResources;
  StringBuffer base_url;
  StringBuffer root_url;
  bool m_bSavedIsLocal = false;  // of the document around the frame that is in work
  bool m_bSavedFromMemory = false;

  std::string m_strFolder;      // relative local names are joined to it; ends in "/" or is empty
  bool m_bFromNetwork = false;  // nothing local is read for such a document
  std::unordered_map<std::string, std::size_t> m_mapIndex;  // lower-case URL -> m_arrResources
  std::unordered_set<std::string> m_setImported;            // sheets, as Mhtml::identityOf
};

}  // namespace mail
