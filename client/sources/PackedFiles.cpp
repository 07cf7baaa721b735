#include "client/sources/PackedFiles.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <new>

#include <fmt/format.h>

#include "archive/GzipBody.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

using mail::GzipBody;

constexpr std::string_view kGzip = "gzip";

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

// As far as it goes.
std::string UnpackedHead(std::string_view head) {
  constexpr std::uint64_t kMost = 4 << 20;  // nothing of some hundred bytes is larger
  mail::DataBuffer out;
  GzipBody body;
  (void)Unpack(head, kMost, body, out);
  return std::string(out.view());
}

bool IsMailName(std::string_view name) {
  static constexpr std::array<std::string_view, 11> kEnds = {
      ".eml", ".emlx", ".msg", ".mbox", ".mbx", ".dbx", ".pst", ".ics", ".vcf", "/cur/", "/new/"};
  static constexpr std::array<std::string_view, 2> kWithin = {"cur/", "new/"};
  const auto ends = [&](std::string_view each) { return EndsWithNoCase(name, each); };
  const auto has = [&](std::string_view each) {
    const std::size_t at = name.find(each);
    return at != std::string_view::npos && (at == 0 || name[at - 1] == '/');
  };
  return std::ranges::any_of(kEnds, ends) || std::ranges::any_of(kWithin, has);
}

bool LooksLikeMail(std::string_view head) {
  return head.starts_with("From ") || BeginsWithFields(head);
}

std::uint64_t NumberAt(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = size; i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  }
  return number;
}

// Each member has a block of its own in front: its name, its size in octal digits, a mark.
bool IsTarOfMail(std::string_view head) {
  constexpr std::size_t kBlock = 512;
  constexpr std::size_t kName = 100;
  while (head.size() >= kBlock && head.substr(257, 5) == "ustar") {
    const std::string_view name = head.substr(0, std::min(head.find('\0'), kName));
    if (IsMailName(name)) return true;
    std::uint64_t size = 0;
    std::from_chars(head.data() + 124, head.data() + 136, size, 8);
    head.remove_prefix(kBlock);
    if (LooksLikeMail(head)) return true;
    const std::uint64_t blocks = size / kBlock + (size % kBlock != 0);
    if (blocks > head.size() / kBlock) return false;
    head.remove_prefix(blocks * kBlock);
  }
  return false;
}

bool IsZipOfMail(std::string_view head) {
  constexpr std::size_t kHeader = 30;  // bytes, and then the name
  while (head.size() >= kHeader && head.starts_with("PK\x03\x04")) {
    const std::uint64_t nameSize = NumberAt(head, 26, 2);
    if (IsMailName(head.substr(kHeader, nameSize))) return true;
    const std::uint64_t size = kHeader + nameSize + NumberAt(head, 28, 2) + NumberAt(head, 18, 4);
    if (size > head.size()) return false;
    head.remove_prefix(size);
  }
  return false;
}

}  // namespace

std::string_view PackingOf(std::string_view bytes) {
  for (const Packing& packing : kPackings) {
    if (bytes.starts_with(packing.beginning)) return packing.name;
  }
  return {};
}

std::string Unpacked(std::string_view bytes) {
  const std::string_view packing = PackingOf(bytes);
  if (packing != kGzip) {
    throw SourceError(fmt::format("it is packed ({}): unpack it first", packing));
  }
  mail::DataBuffer out;
  GzipBody body;
  switch (Unpack(bytes, kMostUnpacked, body, out)) {
    case GzipBody::Result::kNoMemory:
      throw std::bad_alloc();
    case GzipBody::Result::kTooLarge:
      throw SourceError(
          fmt::format("it is packed (gzip), and unpacks to more than {} MiB", kMostUnpacked >> 20));
    case GzipBody::Result::kGood:
      if (body.isWhole()) return std::string(out.view());
      throw SourceError("it is packed (gzip), and its end is missing");
    default:
      throw SourceError("it is packed (gzip), and damaged");
  }
}

bool HoldsPackedMail(std::string_view head) {
  if (PackingOf(head) != kGzip) return IsTarOfMail(head) || IsZipOfMail(head);
  const std::string inner = UnpackedHead(head);
  return LooksLikeMail(inner) || IsTarOfMail(inner) || IsZipOfMail(inner);
}

}  // namespace client
