#pragma once

#include <string_view>

#include "base/LibraryObject.h"
#include "base/StringBuffer.h"

namespace mail {

// One resource that a document refers to.
class StringPair : public LibraryObject {
 public:
  StringPair(std::string_view strUrl, std::string_view strContentId)
      : m_strUrl(strUrl), m_strContentId(strContentId) {}

  StringBuffer m_strUrl;
  StringBuffer m_strContentId;  // "CID-" and a UUID
};

}  // namespace mail
