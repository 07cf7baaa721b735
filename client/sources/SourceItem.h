#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/sources/MailState.h"
#include "pipeline/ST_EML_INFO.h"

namespace client {

// By which a file is known to be as it was.
struct FileStamp {
  std::uint64_t size = 0;     // bytes
  std::int64_t modified = 0;  // nanoseconds since 1970 UTC
  bool operator==(const FileStamp&) const = default;
};

// One item of a source, not yet read.
struct SourceItem {
  std::string location;  // where it lies, unique in the run: a path, or a path and a place in it
  std::string folder;    // target folder, UTF-8, each level ended by a backslash
  bool read = true;
  std::uint64_t offset = 0;  // bytes, for items that lie in a file with others
  std::uint64_t length = 0;  // bytes on disk
  bool prepared = false;     // a folder with a descriptor and its files, not the bytes of a mail
  std::int32_t type = TYPE_EMAIL;  // one of ItemType
  // Neither a mail nor prepared: an event, a task, a contact or a group, as text.
  bool IsOther() const { return !prepared && type != TYPE_EMAIL; }
  // Where it lies in its file when that is in several places: in place of offset and length.
  struct Extent {
    std::uint64_t offset = 0;  // bytes
    std::uint64_t length = 0;
  };
  std::vector<Extent> extents = {};
  std::string file = {};  // that file; empty where location says it
  FileStamp listed = {};  // of that file, before it was listed
  // What stands behind its bytes: all of it where the file must be converted, and what other places
  // of the source say of it.
  std::string appendix = {};
  MailState state = {};
  // Not where it lies but its own bytes tell its folder: others of its file may go elsewhere.
  bool namesItsFolder = false;
  // No mail but what a program keeps among it: nobody's loss.
  bool isStoreData = false;
};

}  // namespace client
