#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mime/tree/LoadObserver.h"
#include "mime/tree/MimeMessage2.h"

namespace client {

// What is damaged in one entity of a mail, or a guess, as texts for people. A sound one has none.

// Of a header that is not empty, with the marker that ends it.
std::vector<std::string> HeaderNotes(const mail::MimeMessage2& entity, std::string_view header,
                                     std::string_view endMarker);

// Of a body that is not empty. In a file of UTF-16 nobody has to name a charset.
std::vector<std::string> BodyNotes(const mail::MimeMessage2& entity,
                                   const mail::LoadObserver::Leaf& leaf, bool isFileWide);

// Of a multipart that became no tree.
std::string WhyNoParts(const mail::MimeMessage2& entity, const mail::LoadObserver::Leaf& leaf);

// True for bytes as they are: their line ends are bytes like others.
bool IsBinary(const mail::MimeMessage2& entity, const mail::LoadObserver::Leaf& leaf);

}  // namespace client
