#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// Archives and packed files that lie in a source: none is read, but those that may hold mail are
// told.
namespace client {

// A file, or a text in memory, of which some is looked at.
struct PartlyRead {
  std::uint64_t size = 0;  // bytes
  // Of at most so many bytes. Throws SourceError.
  std::function<std::string(std::uint64_t offset, std::uint64_t length)> read;
};

enum class ArchiveLook {
  kNoMail,   // no archive, or one in which all was looked at
  kMail,     // by the name of a member, or by what it begins with
  kUnknown,  // of another form, encrypted, cut off, or too large
};

// Looks at the members of a tar or ZIP file, also of one behind a program that unpacks it, and into
// what gzip packed or what was encoded; of other forms at the first bytes alone, which head has of
// each. Linear in the size of the file. Behind the ends of tar files others are looked for in 64
// MiB in all, since one with holes may have terabytes of NULs; where more stands there, it is
// kUnknown. Of what a program unpacks only mail counts, and what is encrypted: a set-up holds
// archives.
ArchiveLook LookIntoArchive(const PartlyRead& file, std::string_view head);

// By the first bytes, and by the name.
bool IsArchive(std::string_view head);
bool IsCalledAsArchive(std::string_view name);

// Why a file of that size and those first bytes is to be told as one that may hold mail; empty for
// what is no archive, and for one without mail. Throws SourceError.
std::string ArchiveReason(const std::string& path, std::uint64_t size, std::string_view head);

}  // namespace client
