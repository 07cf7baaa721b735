// Compressed rich text: at most eight bytes come out for each, and a longer input gives the same
// text and more.

#include <cstdlib>
#include <string>
#include <string_view>

#include "body/rtf/CompressedRtf.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  for (const std::string_view kind : {"LZFu", "MELA"}) {
    std::string packed = std::string("\0\0\0\0", 4) + "len." + std::string(kind) + "crc." + bytes;
    Require(rtf::IsCompressedRtf(packed));
    const std::string text = rtf::DecompressRtf(packed).strRtf;
    Require(text.size() <= 8 * bytes.size() + 8);
    packed.resize(packed.size() - bytes.size() / 2);
    Require(text.starts_with(rtf::DecompressRtf(packed).strRtf));
  }
  if (rtf::IsCompressedRtf(bytes)) (void)rtf::DecompressRtf(bytes);
  return 0;
}
