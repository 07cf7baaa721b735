#pragma once

#include <string_view>

#include "base/LogBase.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {

// A text and HTML in one mixture: most mailers mean two forms of one text, but a text in front of a
// file and a page behind it may be two texts.
enum class Mixtures { kJoined, kAsTheyCame };

// Mends what mailers are known to get wrong, in the tree of a mail, before it becomes an Email2:
//
// - several fields To, Cc or Bcc are one list;
// - a mail that is nothing but a file gets an empty text beside it;
// - a text and the same in HTML, sent as parts of a mixture, are alternatives, unless mixtures are
//   to stay as they came;
// - uuencoded files in a text are attachments, unless the mailer says that it attached them;
// - "x-user-defined" is no charset.
//
// strSource, the text of the mail, gives new boundaries that stand nowhere in it. Throws
// std::bad_alloc.
void normaliseMail(MimeMessage2& objRoot, std::string_view strSource, Mixtures nMixtures,
                   LogBase& log);

}  // namespace mail
