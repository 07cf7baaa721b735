#pragma once

#include <string>
#include <string_view>

namespace rtf {

struct DecompressedRtf {
  std::string strRtf;     // all that could be read
  bool bComplete = true;  // not cut, and as long as the header says
  bool bChecksumOk = true;
};

// Rich text as mail stores hold it: a header of 16 bytes (length of what follows its first field,
// length of the text, the kind, a checksum), then the text, packed ("LZFu") or as it is ("MELA").
bool IsCompressedRtf(std::string_view strBytes);
// Wants bytes that IsCompressedRtf. At most 8 bytes come out for each.
DecompressedRtf DecompressRtf(std::string_view strBytes);

}  // namespace rtf
