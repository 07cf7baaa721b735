#include "client/sources/TarHeader.h"

#include <algorithm>
#include <charconv>

namespace client {
namespace {

struct Field {
  std::size_t at;
  std::size_t size;

  std::string_view In(std::string_view block) const { return block.substr(at, size); }
};
constexpr Field kName = {0, 100};
constexpr Field kSize = {124, 12};
constexpr Field kSum = {148, 8};
constexpr Field kMark = {257, 5};

// In octal digits; the sizes of some programs are beyond them.
std::optional<std::uint64_t> NumberIn(std::string_view field) {
  std::uint64_t number = 0;
  if (static_cast<unsigned char>(field.front()) == 0x80) {
    for (const char c : field.substr(4)) number = number << 8 | static_cast<unsigned char>(c);
    return number;
  }
  field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number, 8);
  return error == std::errc() && end != field.data() ? std::optional(number) : std::nullopt;
}

// In the sum, that stands in the block, blanks are in its place. Some programs added bytes that
// have a sign.
bool HasItsSum(std::string_view block) {
  const auto sum = NumberIn(kSum.In(block));
  if (!sum) return false;
  std::int64_t bytes = std::int64_t{' '} * kSum.size;
  std::int64_t signedBytes = bytes;
  for (std::size_t at = 0; at < block.size(); ++at) {
    if (at >= kSum.at && at < kSum.at + kSum.size) continue;
    bytes += static_cast<unsigned char>(block[at]);
    signedBytes += static_cast<signed char>(block[at]);
  }
  const auto wanted = static_cast<std::int64_t>(*sum);
  return wanted == bytes || wanted == signedBytes;
}

}  // namespace

bool IsTar(std::string_view bytes) {
  if (bytes.size() > kMark.at && bytes.substr(kMark.at).starts_with("ustar")) return true;
  return bytes.size() >= kTarBlock && HasItsSum(bytes.substr(0, kTarBlock));
}

std::string_view TarMemberName(std::string_view block) {
  const std::string_view name = kName.In(block);
  return name.substr(0, name.find('\0'));
}

std::optional<std::uint64_t> TarMemberSize(std::string_view block) {
  return NumberIn(kSize.In(block));
}

}  // namespace client
