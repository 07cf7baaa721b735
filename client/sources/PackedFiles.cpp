#include "client/sources/PackedFiles.h"

#include <algorithm>
#include <array>
#include <new>

#include <fmt/format.h>

#include "archive/GzipBody.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

using mail::GzipBody;

struct Packing {
  std::string_view beginning;
  std::string_view name;
};
constexpr std::array<Packing, 6> kPackings{{
    {"\x1F\x8B", kGzip},
    {"BZh", "bzip2"},
    {std::string_view("\xFD"
                      "7zXZ\0",
                      6),
     "xz"},
    {"\x28\xB5\x2F\xFD", "zstd"},
    {"\x04\x22\x4D\x18", "lz4"},
    {"Dovecot-LZ4", "lz4"},
}};

// In pieces, since each is counted in 32 bits.
GzipBody::Result Unpack(std::string_view bytes, std::uint64_t most, GzipBody& body,
                        mail::DataBuffer& out) {
  constexpr std::size_t kPiece = 1 << 20;
  auto result = GzipBody::Result::kGood;
  for (; !bytes.empty() && result == GzipBody::Result::kGood;
       bytes.remove_prefix(std::min(kPiece, bytes.size()))) {
    result = body.add(bytes.substr(0, kPiece), out, most);
  }
  return result;
}

}  // namespace

std::string_view PackingOf(std::string_view bytes) {
  for (const Packing& packing : kPackings) {
    if (bytes.starts_with(packing.beginning)) return packing.name;
  }
  return {};
}

std::string Unpacked(std::string_view bytes, std::uint64_t most) {
  const std::string_view packing = PackingOf(bytes);
  if (packing != kGzip) {
    throw SourceError(fmt::format("it is packed ({}): unpack it first", packing));
  }
  mail::DataBuffer out;
  GzipBody body;
  switch (Unpack(bytes, most, body, out)) {
    case GzipBody::Result::kNoMemory:
      throw std::bad_alloc();
    case GzipBody::Result::kTooLarge:
      throw SourceError(
          fmt::format("it is packed (gzip), and unpacks to more than {} MiB", most >> 20));
    case GzipBody::Result::kGood:
      if (body.isWhole()) return std::string(out.view());
      throw SourceError("it is packed (gzip), and its end is missing");
    default:
      throw SourceError("it is packed (gzip), and damaged");
  }
}

std::string UnpackedHead(std::string_view head) {
  constexpr std::uint64_t kMost = 128 << 10;
  mail::DataBuffer out;
  GzipBody body;
  (void)Unpack(head, kMost, body, out);
  return std::string(out.view());
}

}  // namespace client
