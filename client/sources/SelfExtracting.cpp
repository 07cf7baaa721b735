#include "client/sources/SelfExtracting.h"

#include <array>
#include <cstddef>

#include "client/sources/LittleEndian.h"

namespace client {
namespace {

// Whether a file of that form begins there; `left` is what stands there in the file, of which the
// bytes may be a part.
using BeginsAt = bool (*)(std::string_view bytes, std::uint64_t left);

// The block behind the mark is the header of the archive, which each has.
bool BeginsRar(std::string_view bytes, std::uint64_t) {
  constexpr std::size_t kType = 9;  // behind a checksum
  constexpr char kHeader = 0x73;
  return bytes.size() > kType && bytes[kType] == kHeader;
}

// The same behind a size of one to three bytes, or the header of what is encrypted.
bool BeginsRar5(std::string_view bytes, std::uint64_t) {
  constexpr std::size_t kSize = 12;  // behind a checksum
  constexpr std::size_t kMostOfSize = 3;
  constexpr char kHeader = 1;
  constexpr char kEncryption = 4;
  if (bytes.size() < kSize + kMostOfSize + 1) return false;
  std::size_t at = kSize;
  while (at + 1 < kSize + kMostOfSize && (bytes[at] & 0x80) != 0) ++at;
  return bytes[at + 1] == kHeader || bytes[at + 1] == kEncryption;
}

// A version, and where the list of what is in it stands.
bool Begins7z(std::string_view bytes, std::uint64_t left) {
  constexpr std::size_t kHeader = 32;  // bytes
  if (bytes.size() < kHeader || left < kHeader || bytes[6] != 0) return false;
  const std::uint64_t offset = NumberAt(bytes, 12, 8);
  const std::uint64_t size = NumberAt(bytes, 20, 8);
  left -= kHeader;
  return size > 0 && size <= left && offset <= left - size;
}

struct Form {
  std::string_view mark;
  BeginsAt begins;
};
constexpr std::array<Form, 3> kForms{{{{"Rar!\x1A\x07\0", 7}, BeginsRar},
                                      {{"Rar!\x1A\x07\x01\0", 8}, BeginsRar5},
                                      {"7z\xBC\xAF\x27\x1C", Begins7z}}};

}  // namespace

bool HoldsArchive(std::string_view bytes, std::uint64_t size) {
  constexpr std::string_view kOfSetUp = ";!@Install@!";
  for (const auto& [mark, begins] : kForms) {
    for (std::size_t at = bytes.find(mark); at != std::string_view::npos;
         at = bytes.find(mark, at + 1)) {
      if (!begins(bytes.substr(at), size - at)) continue;
      return bytes.substr(0, at).find(kOfSetUp) == std::string_view::npos;
    }
  }
  return false;
}

}  // namespace client
