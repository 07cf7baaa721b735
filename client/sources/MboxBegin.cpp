#include "client/sources/MboxBegin.h"

#include <algorithm>
#include <array>

#include "charset/ByteOrderMarks.h"
#include "client/sources/ArchiveFiles.h"
#include "client/sources/CrLines.h"
#include "client/sources/FromLine.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/PathParts.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::uint64_t kMostOfUnknown = 16 << 10;  // bytes
constexpr std::uint64_t kMostOfLikely = 1 << 20;
constexpr std::uint64_t kMostOfMail = 64 << 20;  // behind the beginning of one in a text
constexpr std::string_view kUtf16Marks[] = {"\xFF\xFE", "\xFE\xFF"};

// Besides archives, what holds whatever it holds in a form of its own.
constexpr auto kOtherForms = std::to_array<std::string_view>({"\x89PNG",
                                                              "\xFF\xD8\xFF",
                                                              "GIF8",
                                                              "BM",
                                                              {"II*\0", 4},
                                                              {"MM\0*", 4},
                                                              "RIFF",
                                                              "OggS",
                                                              "ID3",
                                                              "fLaC",
                                                              "%PDF",
                                                              "%!PS",
                                                              "{\\rtf",
                                                              "\xD0\xCF\x11\xE0",
                                                              "\x7F"
                                                              "ELF",
                                                              "MZ",
                                                              "\xCA\xFE\xBA\xBE",
                                                              "\xCF\xFA\xED\xFE",
                                                              "SQLite format 3",
                                                              "bplist",
                                                              "!<arch>"});

bool IsOfOtherForm(std::string_view head) {
  const auto begins = [&](std::string_view each) { return head.starts_with(each); };
  return std::ranges::any_of(kOtherForms, begins) || IsArchive(head) || !MailFormOf(head).empty();
}

// What people write, and may quote a mail in.
bool IsCalledAsText(std::string_view name) {
  static constexpr auto kEnds = std::to_array<std::string_view>(
      {".txt",  ".text", ".md", ".rst", ".tex", ".htm", ".html", ".xml", ".csv",  ".json",
       ".yml",  ".c",    ".cc", ".cpp", ".h",   ".py",  ".pl",   ".js",  ".css",  ".sh",
       ".java", ".php",  ".rb", ".go",  ".rs",  ".sql", ".log",  ".tsv", ".diff", ".patch"});
  return EndsWithOneOf(name, kEnds);
}

bool IsNulls(std::string_view bytes) {
  return bytes.find_first_not_of('\0') == std::string_view::npos;
}

bool IsText(std::string_view bytes) {
  bytes.remove_prefix(std::min(bytes.find_first_not_of('\0'), bytes.size()));
  return bytes.find('\0') == std::string_view::npos;
}

std::string_view TakeLine(std::string_view& rest) {
  const std::size_t end = std::min(rest.find('\n'), rest.size());
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return line;
}

// Lines of one field may stand between two.
bool HasTwoFields(std::string_view text) {
  text = WithoutRelayTrace(text);
  if (!LooksLikeField(TakeLine(text))) return false;
  while (!text.empty()) {
    const std::string_view line = TakeLine(text);
    if (LooksLikeField(line)) return true;
    if (line.empty() || (line.front() != ' ' && line.front() != '\t')) return false;
  }
  return false;
}

bool BeginsMail(std::string_view bytes) {
  if (bytes.substr(0, kLongestFromLine + 1).find('\n') == std::string_view::npos) return false;
  const std::string_view line = TakeLine(bytes);
  return ParseFromLine(line).shape == FromLine::Shape::kDated && HasTwoFields(bytes);
}

bool IsBehindMark(std::string_view before) {
  return before == mail::byte_order::kUtf8Mark || std::ranges::count(kUtf16Marks, before) > 0;
}

enum class Patches { kTaken, kPassed };

std::optional<std::uint64_t> FindMail(std::string_view bytes, Patches patches) {
  std::string lines;
  const std::size_t text = std::min(bytes.find_first_not_of('\0'), bytes.size());
  if (EndsLinesByCr(bytes.substr(text))) {
    lines = bytes;
    MakeLfOfCr(lines);
    bytes = lines;
  }
  for (std::size_t at = bytes.find(kFrom); at != std::string_view::npos;
       at = bytes.find(kFrom, at + 1)) {
    const bool startsLine = at == 0 || bytes[at - 1] == '\n' || bytes[at - 1] == '\0' ||
                            IsBehindMark(bytes.substr(0, at));
    const bool isPassed = patches == Patches::kPassed && IsPatch(bytes.substr(at));
    if (startsLine && !isPassed && BeginsMail(bytes.substr(at))) return at;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::uint64_t> FindFirstMail(std::string_view bytes) {
  return FindMail(bytes, Patches::kTaken);
}

std::optional<std::uint64_t> BeginOfMails(const std::string& path, std::string_view head,
                                          bool isPlaceOfMbox) {
  if (IsOfOtherForm(head)) return std::nullopt;
  const std::string_view name = LastName(path);
  if (!isPlaceOfMbox && IsCalledAsArchive(name)) return std::nullopt;
  if (!isPlaceOfMbox && !IsNulls(head.substr(0, 1)) && IsCalledAsText(name)) return std::nullopt;
  if (const auto found = FindFirstMail(head)) return found;
  const bool isLikely = isPlaceOfMbox || IsNulls(head) || name.find('.') == std::string_view::npos;
  if (!isLikely && (!IsText(head) || IsBesideMail(name))) return std::nullopt;
  const std::uint64_t most = isLikely ? kMostOfLikely : kMostOfUnknown;
  const std::string bytes = ReadFileRange(path, 0, most);
  return bytes.size() > head.size() ? FindFirstMail(bytes) : std::nullopt;
}

bool IsTextOfMails(const std::string& path, std::string_view head) {
  if (IsOfOtherForm(head) || !IsCalledAsText(path)) return false;
  const auto first = FindMail(ReadFileRange(path, 0, kMostOfUnknown), Patches::kPassed);
  if (!first) return false;
  const std::string behind = ReadFileRange(path, *first + kFrom.size(), kMostOfMail);
  return FindMail(behind, Patches::kPassed).has_value();
}

bool IsMboxInUtf16(std::string_view head) {
  static constexpr std::array<std::string_view, 2> kWide = {
      {{"F\0r\0o\0m\0 \0", 10}, {"\0F\0r\0o\0m\0 ", 10}}};
  for (const std::string_view mark : kUtf16Marks) {
    if (head.starts_with(mark)) head.remove_prefix(mark.size());
  }
  return std::ranges::any_of(kWide, [&](std::string_view from) { return head.starts_with(from); });
}

}  // namespace client
