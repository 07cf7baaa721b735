#pragma once

#include <string>
#include <string_view>

#include "archive/StringPair.h"

namespace mail {

// What a resource is, by its first bytes and by its URL. Linear; throws std::bad_alloc alone.

struct DetectedType {
  std::string strType;  // "image/png"
  bool bIsScript = false;
  bool bIsBinary = false;  // an image or a PDF
};
DetectedType detectContentType(std::string_view strBytes, std::string_view strUrl);

inline constexpr const char* kPageType = "text/html";

// Whether a text begins as a page of HTML does, in units of one, two or four bytes.
bool looksLikePage(std::string_view strBytes);

// Why what came cannot be shown as such: a server that wants a login, or has lost a picture, often
// sends a page in its place and calls that a success. strContentType is what the server says of it,
// or empty. Empty where it may be what it should be.
std::string whyNot(ShownAs eShownAs, std::string_view strBytes, std::string_view strContentType);

// The text of a URL from its last "." on (in lower case); empty without one.
std::string extensionOf(std::string_view strUrl);

// The name that the URL gives the resource, with the extension that goes with an image's type.
// UTF-8.
std::string resourceName(std::string_view strType, std::string_view strUrl);

// Whether a style sheet may mean a picture by this URL that is to be embedded: data and cid URLs
// and what looks like a page are none.
bool isPictureUrl(std::string_view strUrl);

}  // namespace mail
