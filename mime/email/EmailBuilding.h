#pragma once

#include <string_view>

#include "base/LogBase.h"
#include "base/OwnedPtr.h"
#include "mime/email/Email2.h"

namespace mail {

// Makes a mail of MIME text: loads it, mends what mailers are known to get wrong
// (EmailNormalisation.h), and moves the entities into a tree of Email2. bUtf8 says that the text
// was turned into UTF-8 already; it is passed over when the first kUtf8Probe bytes are 7-bit, for
// then the mail names its charsets itself. Null, with the reason in the log, for text that is no
// MIME and for want of memory. The bytes are not needed afterwards. For a reader, mixtures stay as
// they came, and bytes beyond ASCII in a text that calls itself us-ascii are UTF-8 where all of
// them can be, else windows-1252.
inline constexpr std::size_t kUtf8Probe = 50000;
enum class BuildFor { kObject, kReader };

OwnedPtr<Email2> buildEmail(std::string_view strMime, bool bUtf8, LogBase& log,
                            BuildFor eFor = BuildFor::kObject);

}  // namespace mail
