#pragma once

#include <string_view>

#include "base/LogBase.h"
#include "base/OwnedPtr.h"
#include "mime/email/Email2.h"
#include "mime/email/EmailNormalisation.h"

namespace mail {

// Makes a mail of MIME text: loads it, mends what mailers are known to get wrong
// (EmailNormalisation.h), and moves the entities into a tree of Email2. bUtf8 says that the text
// was turned into UTF-8 already; it is passed over when the first kUtf8Probe bytes are 7-bit, for
// then the mail names its charsets itself. Null, with the reason in the log, for text that is no
// MIME and for want of memory. The bytes are not needed afterwards.
inline constexpr std::size_t kUtf8Probe = 50000;

OwnedPtr<Email2> buildEmail(std::string_view strMime, bool bUtf8, LogBase& log,
                            Mixtures nMixtures = Mixtures::kJoined);

}  // namespace mail
