#include "mailboxd/Ids.h"

#include <algorithm>
#include <array>

#include "platform/Base64.h"

namespace mailbox {
namespace {

// "AAMk", then 12 bytes in 16 characters: kind, row number (7 bytes), check sum (4 bytes).
constexpr std::string_view kPrefix = "AAMk";
constexpr size_t kBytes = 12;
constexpr size_t kText = 16;

std::uint32_t CheckSum(const unsigned char* bytes, size_t size) {
  std::uint32_t sum = 2166136261u;  // FNV-1a
  for (size_t i = 0; i < size; ++i) sum = (sum ^ bytes[i]) * 16777619u;
  return sum;
}

void UrlSafe(std::string& text) {
  std::replace(text.begin(), text.end(), '+', '-');
  std::replace(text.begin(), text.end(), '/', '_');
}

}  // namespace

std::string MakeId(IdKind kind, std::int64_t row) {
  std::array<unsigned char, kBytes> bytes{};
  bytes[0] = static_cast<unsigned char>(kind);
  for (size_t i = 0; i < 7; ++i) bytes[1 + i] = static_cast<unsigned char>(row >> (48 - 8 * i));
  const std::uint32_t sum = CheckSum(bytes.data(), 8);
  for (size_t i = 0; i < 4; ++i) bytes[8 + i] = static_cast<unsigned char>(sum >> (24 - 8 * i));
  std::string text = platform::Base64Encode(
      std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  UrlSafe(text);
  return std::string(kPrefix) + text;
}

std::optional<std::int64_t> ReadId(std::string_view text, IdKind* kind) {
  if (text.size() != kPrefix.size() + kText || !text.starts_with(kPrefix)) return std::nullopt;
  std::string base64(text.substr(kPrefix.size()));
  if (base64.find_first_of("+/= \t\r\n") != std::string::npos) return std::nullopt;
  std::replace(base64.begin(), base64.end(), '-', '+');
  std::replace(base64.begin(), base64.end(), '_', '/');
  std::string decoded;
  if (!platform::Base64Decode(base64, decoded) || decoded.size() != kBytes) return std::nullopt;
  const auto* bytes = reinterpret_cast<const unsigned char*>(decoded.data());
  std::uint32_t sum = 0;
  for (size_t i = 0; i < 4; ++i) sum = sum << 8 | bytes[8 + i];
  if (sum != CheckSum(bytes, 8) || bytes[0] < 1 || bytes[0] > 3) return std::nullopt;
  std::int64_t row = 0;
  for (size_t i = 0; i < 7; ++i) row = row << 8 | bytes[1 + i];
  *kind = static_cast<IdKind>(bytes[0]);
  return row;
}

std::string MakeChangeKey(IdKind kind, std::int64_t version) {
  std::string bytes(9, '\0');
  bytes[0] = static_cast<char>(kind == IdKind::kFolder ? 1 : 9);
  for (size_t i = 0; i < 8; ++i) bytes[1 + i] = static_cast<char>(version >> (56 - 8 * i));
  std::string text = platform::Base64Encode(bytes);
  UrlSafe(text);
  return text;
}

}  // namespace mailbox
