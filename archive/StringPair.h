#pragma once

#include <string_view>

#include "base/LibraryObject.h"
#include "base/StringBuffer.h"

namespace mail {

enum class ShownAs { kPicture, kScript, kFrame, kSheet };

// One resource that a document refers to.
class StringPair : public LibraryObject {
 public:
  StringPair(std::string_view strUrl, std::string_view strContentId, ShownAs eShownAs)
      : m_strUrl(strUrl), m_strContentId(strContentId), m_eShownAs(eShownAs) {}

  StringBuffer m_strUrl;
  StringBuffer m_strContentId;  // "CID-" and a UUID
  ShownAs m_eShownAs;           // a frame, if it is one anywhere in the document
};

}  // namespace mail
