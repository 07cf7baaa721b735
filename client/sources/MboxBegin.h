#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace client {

// Where the first mail of a damaged mbox begins. A crash leaves NULs at the beginning of a file, a
// copy that broke off takes a part of it away: then it does not begin as an mbox does, and whole
// mails stand in it. One is seen by a dated "From " line with header fields behind it, at the start
// of a line or behind NULs or a byte order mark.
//
// Nothing is looked for in pictures, programs, archives and the like, nor in what is called as
// archives or texts are. Of a file that is anything else no more than a few KiB are read, but for
// one that is NULs so far, that has no ending, or that lies where a program keeps an mbox.
std::optional<std::uint64_t> BeginOfMails(const std::string& path, std::string_view head,
                                          bool isPlaceOfMbox);

// The same of bytes alone.
std::optional<std::uint64_t> FindFirstMail(std::string_view bytes);

// The file is called as texts are, and in its first 16 KiB a mail begins, and another one in the
// 64 MiB behind, where one alone may be quoted. Patches are none. Throws SourceError.
bool IsTextOfMails(const std::string& path, std::string_view head);

// The form in which no mails are looked for: the "From " at its beginning has 16 bits a letter.
bool IsMboxInUtf16(std::string_view head);

}  // namespace client
