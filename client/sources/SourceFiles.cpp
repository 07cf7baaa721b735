#include "client/sources/SourceFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "base/LogNull.h"
#include "client/sources/Mbox.h"
#include "client/sources/PackedFiles.h"
#include "client/sources/SortedNames.h"
#include "mime/tree/MimeInput.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr size_t kPiece = 1 << 20;                             // bytes read at a time
constexpr std::uint64_t kMostAtOnce = std::uint64_t{2} << 30;  // bytes, more than any item may have

EntryKind Look(const std::string& path, FolderEntry& found) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return EntryKind::kOther;
  const bool isLink = S_ISLNK(status.st_mode);
  if (isLink && stat(path.c_str(), &status) != 0) return EntryKind::kOther;
  found.size = static_cast<std::uint64_t>(status.st_size);
  found.modified = status.st_mtime;
  if (S_ISREG(status.st_mode)) return EntryKind::kFile;
  if (S_ISDIR(status.st_mode)) return isLink ? EntryKind::kFolderLink : EntryKind::kFolder;
  return EntryKind::kOther;
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

}  // namespace

void EachName(const std::string& path, std::vector<SourceProblem>& problems,
              const std::function<bool(std::string_view name)>& take) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (!folder) {
    problems.push_back({path, std::string("the folder cannot be read: ") + std::strerror(errno),
                        /*isUnread=*/true});
    return;
  }
  errno = 0;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && !take(name)) return;
    errno = 0;
  }
  if (errno != 0) {
    problems.push_back({path, std::string("not all of it can be listed: ") + std::strerror(errno),
                        /*isUnread=*/true});
  }
}

void EachEntry(const std::string& path, std::vector<SourceProblem>& problems,
               const std::function<void(const FolderEntry& entry)>& take) {
  SortedNames names;
  EachName(path, problems, [&](std::string_view name) {
    names.Add(name);
    return true;
  });
  names.TakeAll([&](const char* name) {
    FolderEntry entry{name};
    entry.kind = Look(path + "/" + entry.name, entry);
    take(entry);
  });
}

std::vector<FolderEntry> ListFolder(const std::string& path, std::vector<SourceProblem>& problems) {
  std::vector<FolderEntry> entries;
  EachEntry(path, problems, [&](const FolderEntry& entry) { entries.push_back(entry); });
  return entries;
}

bool IsThere(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

bool HasEntry(const std::string& path, std::string_view name) {
  return IsThere(path + "/" + std::string(name));
}

bool HasName(const std::string& folder, const std::function<bool(std::string_view name)>& is) {
  int left = 100;
  bool any = false;
  std::vector<SourceProblem> ignored;
  EachName(folder, ignored, [&](std::string_view name) {
    any = is(name);
    return !any && --left > 0;
  });
  return any;
}

SourceProblem OddEntry(const std::string& path, EntryKind kind) {
  if (kind == EntryKind::kFolder) return {path, "a folder where mail belongs", /*isUnread=*/true};
  if (kind == EntryKind::kFolderLink) return {path, "a link to a folder", /*isUnread=*/true};
  struct stat status;
  if (stat(path.c_str(), &status) == 0) return {path, "neither a file nor a folder"};
  const int error = errno;
  const bool isLink = lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
  // Nobody knows what stands there; a link of a program's own has a dot in front.
  if (isLink) return {path, "a dead link", /*isUnread=*/path[path.rfind('/') + 1] != '.'};
  return {path, std::string("cannot be looked at: ") + std::strerror(error), /*isUnread=*/true};
}

OpenedFile OpenSourceFile(const std::string& path, Links links) {
  // Without O_NONBLOCK a pipe that took the file's place would stop us here.
  const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | (links == Links::kRefuse ? O_NOFOLLOW : 0);
  platform::UniqueFd file(open(path.c_str(), flags));
  struct stat status;
  if (!file || fstat(file.Get(), &status) != 0) {
    throw ReadError(std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) throw ReadError("it is no regular file");
  return {std::move(file), static_cast<std::uint64_t>(status.st_size)};
}

FileStamp StampOf(const OpenedFile& opened) {
  struct stat status;
  if (fstat(opened.file.Get(), &status) != 0) return {};
  constexpr std::int64_t kSecond = 1'000'000'000;
  return {static_cast<std::uint64_t>(status.st_size),
          status.st_mtim.tv_sec * kSecond + status.st_mtim.tv_nsec};
}

FileStamp StampOf(const std::string& path) { return StampOf(OpenSourceFile(path, Links::kFollow)); }

void RequireAsListed(const OpenedFile& opened, const SourceItem& item) {
  if (StampOf(opened) != item.listed) ThrowChanged();
}

void ThrowChanged() {
  throw SourceError("its file changed since it was listed; the next run takes what is there then");
}

void ReadPieces(const OpenedFile& opened, const std::function<void(std::string_view)>& take) {
  std::string piece(kPiece, '\0');
  for (;;) {
    const ssize_t got = read(opened.file.Get(), piece.data(), piece.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw ReadError(std::strerror(errno));
    if (got == 0) return;
    take(std::string_view(piece).substr(0, static_cast<size_t>(got)));
  }
}

std::string ReadRange(const OpenedFile& opened, std::uint64_t offset, std::uint64_t length) {
  length = offset < opened.size ? std::min(length, opened.size - offset) : 0;
  if (length > kMostAtOnce) throw ReadError("too large");
  std::string bytes(length, '\0');
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = pread(opened.file.Get(), bytes.data() + done, bytes.size() - done,
                              static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw ReadError(std::strerror(errno));
    if (got == 0) throw ReadError("it became shorter while it was read");
    done += static_cast<size_t>(got);
  }
  return bytes;
}

std::string ReadFileRange(const std::string& path, std::uint64_t offset, std::uint64_t length) {
  return ReadRange(OpenSourceFile(path, Links::kFollow), offset, length);
}

std::string HeadOfFile(const std::string& path, std::uint64_t most,
                       std::vector<SourceProblem>& problems) {
  try {
    return ReadFileRange(path, 0, most);
  } catch (const ReadError& error) {
    if (IsThere(path)) problems.push_back({path, error.what()});
    return {};
  }
}

std::string HeadOfFile(const std::string& path, std::uint64_t most) {
  std::vector<SourceProblem> toldElsewhere;
  return HeadOfFile(path, most, toldElsewhere);
}

std::string TextOfFile(const std::string& path) { return HeadOfFile(path, kMostText); }

TextFile ReadTextFile(const std::string& path) {
  std::string bytes = ReadWholeFile(path);
  const bool isLittle = bytes.starts_with("\xFF\xFE");
  if (!isLittle && !bytes.starts_with("\xFE\xFF")) return {std::move(bytes)};
  std::u16string units;
  units.reserve(bytes.size() / 2);
  for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
    const auto low = static_cast<unsigned char>(bytes[isLittle ? i : i + 1]);
    const auto high = static_cast<unsigned char>(bytes[isLittle ? i + 1 : i]);
    units += static_cast<char16_t>(high << 8 | low);
  }
  return {platform::Utf16ToUtf8(units), /*isConverted=*/true};
}

std::string ReadWholeFile(const std::string& path) {
  return ReadFileRange(path, 0, std::numeric_limits<std::uint64_t>::max());
}

bool EndsWithNoCase(std::string_view name, std::string_view suffix) {
  if (name.size() < suffix.size()) return false;
  const std::string_view end = name.substr(name.size() - suffix.size());
  return std::equal(end.begin(), end.end(), suffix.begin(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

bool EndsWithOneOf(std::string_view name, std::span<const std::string_view> suffixes) {
  return std::ranges::any_of(suffixes,
                             [&](std::string_view each) { return EndsWithNoCase(name, each); });
}

bool LooksLikeField(std::string_view line) {
  size_t end = 0;
  while (end < line.size() && line[end] > ' ' && line[end] < 0x7F && line[end] != ':') ++end;
  if (end == 0) return false;
  while (end < line.size() && (line[end] == ' ' || line[end] == '\t')) ++end;
  return end < line.size() && line[end] == ':';
}

std::string_view WithoutRelayTrace(std::string_view mail) {
  if (!mail.starts_with(kQuotedFrom)) return mail;
  return mail.substr(std::min(mail.find('\n'), mail.size() - 1) + 1);
}

void RequireMail(std::string_view bytes) {
  mail::LogNull log;
  mail::DataBuffer utf8;
  if (mail::utf8OfUtf16Mail(bytes, utf8, log)) bytes = utf8.view();
  bytes = WithoutFromLine(bytes);
  if (bytes.empty()) throw SourceError("the file is empty");
  bool any = false;
  while (!bytes.empty()) {
    const size_t end = bytes.find_first_of("\r\n");
    const std::string_view line = bytes.substr(0, end);
    if (LooksLikeField(line)) return;
    if (line.empty() && any) break;
    if (!line.empty()) any = true;
    if (end == std::string_view::npos) break;
    const bool crLf = bytes.substr(end, 2) == "\r\n";
    bytes.remove_prefix(end + (crLf ? 2 : 1));
  }
  throw SourceError("is no mail: no header field stands at its beginning");
}

std::string ReadMail(const std::string& path) {
  std::string bytes = ReadWholeFile(path);
  if (!PackingOf(bytes).empty()) bytes = Unpacked(bytes);
  RequireMail(bytes);
  return bytes;
}

}  // namespace client
