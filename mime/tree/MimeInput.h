#pragma once

#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {

// Replaces the entity by a message as it lies in a file: MIME, and what people save as such. UTF-16
// of either order, with its mark or without, is converted; a text that begins with a delimiter line
// gets the multipart header that it lacks. By default line ends are not repaired, so that bodies
// are kept byte for byte. Where it is doubted, a text that calls itself us-ascii and is none is read
// as UTF-8 if all of it can be, else as windows-1252. False as loadMimeComplete.
enum class AsciiLabel { kTrusted, kDoubted };
bool loadMimeInput(MimeMessage2& objRoot, std::string_view strBytes, LogBase& log,
                   MimeMessage2::LoadOptions objOptions = {},
                   AsciiLabel eAscii = AsciiLabel::kTrusted);

// For a file that is such a mail in UTF-16: its text in UTF-8, without a mark, is appended. False,
// and nothing is, for any other file.
bool utf8OfUtf16Mail(std::string_view strBytes, DataBuffer& arrUtf8, LogBase& log);

}  // namespace mail
