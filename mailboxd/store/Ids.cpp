#include "mailboxd/store/Ids.h"

#include <algorithm>
#include <utility>

#include "platform/Base64.h"

namespace mailbox {
namespace {

// "AAMk", then in base64: kind (1 byte), row number (7 bytes), for a part each index of its path (6
// bytes), check sum (4 bytes). All lengths are multiples of 3, so that base64 needs no padding.
constexpr std::string_view kPrefix = "AAMk";
constexpr size_t kRowBytes = 7;
constexpr size_t kIndexBytes = 6;
constexpr size_t kSumBytes = 4;
constexpr size_t kPlain = 1 + kRowBytes;  // what the check sum is of, without a path
constexpr size_t kMost = kPlain + PartId::kDeepest * kIndexBytes;          // the same with one
constexpr size_t kLongest = kPrefix.size() + (kMost + kSumBytes) / 3 * 4;  // characters
constexpr char kPartKind = 4;                                              // behind those of IdKind
constexpr char kOccurrenceKind = 5;

std::uint32_t CheckSum(std::string_view bytes) {
  std::uint32_t sum = 2166136261u;  // FNV-1a
  for (const char byte : bytes) sum = (sum ^ static_cast<unsigned char>(byte)) * 16777619u;
  return sum;
}

void Append(std::uint64_t number, size_t count, std::string& bytes) {
  while (count-- > 0) bytes += static_cast<char>(number >> (8 * count));
}

std::int64_t NumberOf(std::string_view bytes) {
  std::int64_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

void UrlSafe(std::string& text) {
  std::replace(text.begin(), text.end(), '+', '-');
  std::replace(text.begin(), text.end(), '/', '_');
}

std::string Encode(std::string bytes) {
  Append(CheckSum(bytes), kSumBytes, bytes);
  std::string text = platform::Base64Encode(bytes);
  UrlSafe(text);
  return std::string(kPrefix) + text;
}

constexpr size_t kVersionBytes = 8;
constexpr size_t kChangeKey = (1 + kVersionBytes) / 3 * 4;  // characters
char ChangeKeyKind(IdKind kind) { return kind == IdKind::kFolder ? 1 : 9; }

bool DecodeUrlSafe(std::string_view text, std::string& bytes) {
  std::string base64(text);
  if (base64.find_first_of("+/= \t\r\n") != std::string::npos) return false;
  std::replace(base64.begin(), base64.end(), '-', '+');
  std::replace(base64.begin(), base64.end(), '_', '/');
  return platform::Base64Decode(base64, bytes);
}

// The bytes in front of the check sum, which fits; "" for a text that is no id.
std::string Decode(std::string_view text) {
  if (text.size() > kLongest || !text.starts_with(kPrefix)) return "";
  std::string bytes;
  if (!DecodeUrlSafe(text.substr(kPrefix.size()), bytes) || bytes.size() <= kSumBytes) return "";
  const std::string_view sum = std::string_view(bytes).substr(bytes.size() - kSumBytes);
  const std::int64_t claimed = NumberOf(sum);
  bytes.resize(bytes.size() - kSumBytes);
  return claimed == std::int64_t{CheckSum(bytes)} ? bytes : "";
}

}  // namespace

std::string MakeId(IdKind kind, std::int64_t row) {
  std::string bytes(1, static_cast<char>(kind));
  Append(static_cast<std::uint64_t>(row), kRowBytes, bytes);
  return Encode(std::move(bytes));
}

std::optional<std::int64_t> ReadId(std::string_view text, IdKind* kind) {
  const std::string bytes = Decode(text);
  if (bytes.size() != kPlain || bytes[0] < 1 || bytes[0] >= kPartKind) return std::nullopt;
  *kind = static_cast<IdKind>(bytes[0]);
  return NumberOf(std::string_view(bytes).substr(1));
}

std::string MakePartId(const PartId& part) {
  std::string bytes(1, kPartKind);
  Append(static_cast<std::uint64_t>(part.item), kRowBytes, bytes);
  for (const size_t index : part.path) Append(index, kIndexBytes, bytes);
  return Encode(std::move(bytes));
}

std::optional<PartId> ReadPartId(std::string_view text) {
  const std::string bytes = Decode(text);
  if (bytes.size() <= kPlain || bytes[0] != kPartKind) return std::nullopt;
  std::string_view rest = std::string_view(bytes).substr(1);
  PartId part{NumberOf(rest.substr(0, kRowBytes))};
  for (rest.remove_prefix(kRowBytes); !rest.empty(); rest.remove_prefix(kIndexBytes)) {
    if (rest.size() < kIndexBytes) return std::nullopt;
    part.path.push_back(static_cast<size_t>(NumberOf(rest.substr(0, kIndexBytes))));
  }
  return part;
}

std::string MakeOccurrenceId(const OccurrenceId& occurrence) {
  std::string bytes(1, kOccurrenceKind);
  Append(static_cast<std::uint64_t>(occurrence.item), kRowBytes, bytes);
  Append(static_cast<std::uint64_t>(occurrence.number), kIndexBytes, bytes);
  return Encode(std::move(bytes));
}

std::optional<OccurrenceId> ReadOccurrenceId(std::string_view text) {
  const std::string bytes = Decode(text);
  if (bytes.size() != kPlain + kIndexBytes || bytes[0] != kOccurrenceKind) return std::nullopt;
  const std::string_view rest = std::string_view(bytes).substr(1);
  return OccurrenceId{NumberOf(rest.substr(0, kRowBytes)), NumberOf(rest.substr(kRowBytes))};
}

std::string MakeChangeKey(IdKind kind, std::int64_t version) {
  std::string bytes(1, ChangeKeyKind(kind));
  Append(static_cast<std::uint64_t>(version), kVersionBytes, bytes);
  std::string text = platform::Base64Encode(bytes);
  UrlSafe(text);
  return text;
}

std::optional<std::int64_t> ReadChangeKey(std::string_view text, IdKind kind) {
  std::string bytes;
  if (text.size() != kChangeKey || !DecodeUrlSafe(text, bytes)) return std::nullopt;
  if (bytes[0] != ChangeKeyKind(kind)) return std::nullopt;
  return NumberOf(std::string_view(bytes).substr(1));
}

}  // namespace mailbox
