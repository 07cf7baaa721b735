#include "client/sources/ArchiveFiles.h"

#include <algorithm>
#include <array>
#include <optional>

#include <fmt/format.h>

#include "client/sources/EncodedFile.h"
#include "client/sources/ItemNames.h"
#include "client/sources/LittleEndian.h"
#include "client/sources/MboxBegin.h"
#include "client/sources/MboxSource.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/PackedFiles.h"
#include "client/sources/PathParts.h"
#include "client/sources/SelfExtracting.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/TarHeader.h"

namespace client {
namespace {

constexpr std::uint64_t kHead = kFileHead;           // bytes by which a file and a member are known
constexpr std::uint64_t kMostBehindEnds = 64 << 20;  // bytes, where tar files were joined
constexpr std::string_view kZipMember = "PK\x03\x04";
constexpr std::string_view kEmptyZip = "PK\x05\x06";  // as the end of each

struct Form {
  std::size_t offset;  // bytes
  std::string_view mark;
  std::string_view name;
};
// Besides those of PackingOf.
constexpr auto kForms = std::to_array<Form>({
    {0, "7z\xBC\xAF\x27\x1C", "7z"},
    {0, "Rar!\x1A\x07", "RAR"},
    {0, "PK\x07\x08", "ZIP in several files"},
    {0, "LZIP\x01", "lzip"},
    {0, {"\x5D\0\0", 3}, "LZMA"},
    {0, "\x1F\x9D", "compress"},
    {0, {"MSCF\0\0\0\0", 8}, "cabinet"},
    {2, "-lh0-", "LHA"},
    {2, "-lh5-", "LHA"},
    {2, "-lh6-", "LHA"},
    {2, "-lh7-", "LHA"},
    {0, "xar!", "xar"},
    {0, "StuffIt (c)", "StuffIt"},
    {0, {"MSWIM\0", 6}, "WIM"},
});
constexpr auto kNames = std::to_array<std::string_view>(
    {".zip", ".7z",  ".rar",  ".tar",  ".gz",   ".tgz", ".bz2", ".tbz", ".tbz2", ".xz",
     ".txz", ".zst", ".tzst", ".lz",   ".tlz",  ".lz4", ".z",   ".taz", ".cab",  ".arj",
     ".ace", ".lha", ".lzh",  ".lzma", ".cpio", ".sit", ".iso", ".dmg", ".wim",  ".bkf"});

std::string_view FormOf(std::string_view head) {
  const auto row = std::ranges::find_if(kForms, [&](const Form& form) {
    return head.size() > form.offset && head.substr(form.offset).starts_with(form.mark);
  });
  return row == kForms.end() ? PackingOf(head) : row->name;
}

bool IsZip(std::string_view head) {
  return head.starts_with(kZipMember) || head.starts_with(kEmptyZip);
}

bool IsLookedInto(std::string_view head) {
  return IsZip(head) || IsTar(head) || PackingOf(head) == kGzip;
}

// Texts of office programs, books and the like, which are ZIP files: their first member says so.
bool IsDocument(std::string_view head) {
  constexpr std::size_t kName = 30;
  constexpr auto kFirst = std::to_array<std::string_view>(
      {"[Content_Types].xml", "mimetype", "_rels/", "docProps/", "META-INF/"});
  if (!head.starts_with(kZipMember) || head.size() < kName) return false;
  return std::ranges::any_of(
      kFirst, [&](std::string_view name) { return head.substr(kName).starts_with(name); });
}

// The name of a member that mail lies in.
bool IsMailName(std::string_view name) {
  static constexpr auto kBegins =
      std::to_array<std::string_view>({"cur/", "new/", "com.microsoft.__Messages/"});
  static constexpr auto kWithin = std::to_array<std::string_view>({".sbd/", ".mbox/"});
  const auto begins = [&](std::string_view each) {
    return name.starts_with(each) || name.find("/" + std::string(each)) != std::string_view::npos;
  };
  const auto has = [&](std::string_view each) { return name.find(each) != std::string_view::npos; };
  return IsCalledAsMail(name) || ItemFileOf(name) != ItemFile::kNone ||
         EndsWithNoCase(name, ".msf") || std::ranges::any_of(kBegins, begins) ||
         std::ranges::any_of(kWithin, has);
}

// What begins with lines as headers have them, and is of programs.
bool IsManifest(std::string_view name) {
  static constexpr auto kEnds = std::to_array<std::string_view>({".mf", ".sf"});
  return EndsWithOneOf(name, kEnds);
}

bool LooksLikeMail(std::string_view head) {
  return MboxSource::IsMbox(head) || FindFirstMail(head) || BeginsWithFields(head) ||
         !MailFormOf(head).empty();
}

// By its first bytes. An archive in an archive may hold mail: nobody looks that far.
ArchiveLook LookAtMember(std::string_view name, std::string_view head) {
  if (IsMailName(name)) return ArchiveLook::kMail;
  if (LooksLikeMail(head) && !IsManifest(name)) return ArchiveLook::kMail;
  const bool isArchive = IsCalledAsArchive(name) || (IsArchive(head) && !IsDocument(head));
  return isArchive ? ArchiveLook::kUnknown : ArchiveLook::kNoMail;
}

// Of all members together: the worst, which mail is not, since it is known.
void Join(ArchiveLook& all, ArchiveLook member) {
  if (all == ArchiveLook::kNoMail || member == ArchiveLook::kMail) all = member;
}

// The next block of a member from that place on, or the end: what was joined to a tar file stands
// behind the NULs, and whatever else, that fill its last record. It may be one block on: each piece
// is twice the last, so that no more is read than a multiple of what is passed over.
std::uint64_t NextTarBlock(const PartlyRead& file, std::uint64_t at, std::uint64_t end) {
  constexpr std::uint64_t kMostPiece = kTarBlock << 11;
  for (std::uint64_t size = kTarBlock; at < end; size = std::min(size * 2, kMostPiece)) {
    const std::string piece = file.read(at, std::min(size, end - at));
    for (std::uint64_t block = 0; block < piece.size(); block += kTarBlock) {
      if (IsTar(std::string_view(piece).substr(block, kTarBlock))) return at + block;
    }
    at += std::min(size, end - at);
  }
  return end;
}

// Each member has a block of its own in front, with its name and its size; one of NULs stands
// behind the last.
ArchiveLook LookIntoTar(const PartlyRead& file) {
  ArchiveLook all = ArchiveLook::kNoMail;
  std::uint64_t leftBehindEnds = kMostBehindEnds;
  for (std::uint64_t at = 0; at < file.size && all != ArchiveLook::kMail;) {
    const std::string bytes = file.read(at, kTarBlock + kHead);
    if (bytes.starts_with('\0') && !IsTar(bytes)) {
      const std::uint64_t end = at + std::min(leftBehindEnds, file.size - at);
      const std::uint64_t next = NextTarBlock(file, at, end);
      if (next == end && end < file.size) return ArchiveLook::kUnknown;
      leftBehindEnds -= next - at;
      at = next;
      continue;
    }
    const std::uint64_t left = file.size - at;
    const auto size = IsTar(bytes) && left >= kTarBlock && bytes.size() >= kTarBlock
                          ? TarMemberSize(bytes)
                          : std::nullopt;
    if (!size || *size > left - kTarBlock) return ArchiveLook::kUnknown;
    Join(all, LookAtMember(TarMemberName(bytes), std::string_view(bytes).substr(kTarBlock, *size)));
    at += kTarBlock + (*size + kTarBlock - 1) / kTarBlock * kTarBlock;
  }
  return all;
}

constexpr std::string_view kZipRow = "PK\x01\x02";

// A member of a ZIP file, as the list at its end has it.
struct ZipMember {
  std::string_view name;
  std::uint64_t flags = 0;
  std::uint64_t method = 0;
  std::uint64_t packed = 0;  // bytes
  std::uint64_t offset = 0;
};

// Takes one from the list; nothing where none stands there whole.
std::optional<ZipMember> TakeZipMember(std::string_view& list) {
  constexpr std::size_t kRow = 46;
  if (list.size() < kRow || !list.starts_with(kZipRow)) return std::nullopt;
  const std::uint64_t nameSize = NumberAt(list, 28, 2);
  const std::uint64_t size = kRow + nameSize + NumberAt(list, 30, 2) + NumberAt(list, 32, 2);
  if (size > list.size()) return std::nullopt;
  const ZipMember member{list.substr(kRow, nameSize), NumberAt(list, 8, 2), NumberAt(list, 10, 2),
                         NumberAt(list, 20, 4), NumberAt(list, 42, 4)};
  list.remove_prefix(size);
  return member;
}

bool IsEncrypted(const ZipMember& member) { return (member.flags & 1) != 0; }

// What it begins with; nothing where that cannot be had.
std::optional<std::string> HeadOfMember(const PartlyRead& file, const ZipMember& member) {
  constexpr std::uint64_t kHeader = 30;  // bytes, and then the name and more
  constexpr std::uint64_t kStored = 0;
  constexpr std::uint64_t kDeflated = 8;
  const std::string header = file.read(member.offset, kHeader);
  const bool isKnown = member.method == kStored || member.method == kDeflated;
  if (!isKnown || IsEncrypted(member) || header.size() < kHeader ||
      !header.starts_with(kZipMember)) {
    return std::nullopt;
  }
  const std::uint64_t begin =
      member.offset + kHeader + NumberAt(header, 26, 2) + NumberAt(header, 28, 2);
  std::string bytes = file.read(begin, std::min(member.packed, kHead));
  if (member.method == kStored) return bytes;
  // What gzip writes in front of the same.
  constexpr std::string_view kGzipHeader("\x1F\x8B\x08\0\0\0\0\0\0\xFF", 10);
  return UnpackedHead(std::string(kGzipHeader) + bytes);
}

struct ZipList {
  std::string bytes;
  std::uint64_t front = 0;  // bytes in front of the place from which its offsets count
};

// The list of a ZIP file, which may stand behind a program that unpacks it; nothing where none can
// be had.
std::optional<ZipList> ZipListOf(const PartlyRead& file) {
  constexpr std::uint64_t kEnd = 22;  // bytes, and then a comment
  constexpr std::uint64_t kMostEnd = kEnd + 0xFFFF;
  constexpr std::uint64_t kMostList = 64 << 20;  // bytes; where it is beyond, so are its numbers
  const std::uint64_t tailAt = file.size - std::min(file.size, kMostEnd);
  const std::string tail = file.read(tailAt, kMostEnd);
  const std::size_t end = tail.rfind(kEmptyZip);
  if (end == std::string::npos || tail.size() - end < kEnd) return std::nullopt;
  const std::uint64_t size = NumberAt(tail, end + 12, 4);
  const std::uint64_t offset = NumberAt(tail, end + 16, 4);
  if (size > kMostList || size + offset > tailAt + end) return std::nullopt;
  for (const std::uint64_t front : {std::uint64_t{0}, tailAt + end - size - offset}) {
    std::string bytes = file.read(front + offset, size);
    if (bytes.size() == size && (size == 0 || bytes.starts_with(kZipRow))) {
      return ZipList{std::move(bytes), front};
    }
  }
  return std::nullopt;
}

// What a set-up unpacks is packed once more, or in a way of its own: of programs such members count
// as none, but those that are encrypted.
enum class ZipOf { kFiles, kProgram };

ArchiveLook LookAtZipMembers(const PartlyRead& file, const ZipList& zip, ZipOf kind) {
  ArchiveLook all = ArchiveLook::kNoMail;
  std::uint64_t looked = 0;  // bytes, which no honest list makes more than the file has
  for (std::string_view list = zip.bytes; !list.empty() && all != ArchiveLook::kMail;) {
    auto member = TakeZipMember(list);
    if (!member) return ArchiveLook::kUnknown;
    if (member->name.ends_with('/')) continue;
    if (IsMailName(member->name)) return ArchiveLook::kMail;
    looked += std::min(member->packed, kHead);
    if (looked > file.size) return ArchiveLook::kUnknown;
    member->offset += zip.front;
    const auto head = HeadOfMember(file, *member);
    const ArchiveLook look = head ? LookAtMember(member->name, *head) : ArchiveLook::kUnknown;
    const bool isOfSetUp =
        kind == ZipOf::kProgram && look == ArchiveLook::kUnknown && !IsEncrypted(*member);
    if (!isOfSetUp) Join(all, look);
  }
  return all;
}

ArchiveLook LookIntoZip(const PartlyRead& file) {
  const auto list = ZipListOf(file);
  return list ? LookAtZipMembers(file, *list, ZipOf::kFiles) : ArchiveLook::kUnknown;
}

// Those that pack and unpack have marks of archives among their constants.
ArchiveLook LookIntoProgram(const PartlyRead& file) {
  const auto list = ZipListOf(file);
  if (list && !list->bytes.empty()) return LookAtZipMembers(file, *list, ZipOf::kProgram);
  const bool holdsOther = HoldsArchive(file.read(0, kMostStub), file.size);
  return holdsOther ? ArchiveLook::kUnknown : ArchiveLook::kNoMail;
}

// The bytes must outlive it.
PartlyRead InMemory(const std::string& bytes) {
  return {bytes.size(), [&bytes](std::uint64_t offset, std::uint64_t length) {
            return bytes.substr(std::min<std::uint64_t>(offset, bytes.size()), length);
          }};
}

constexpr std::uint64_t kMostInMemory = 64 << 20;  // bytes, packed and unpacked

// A tar file is unpacked to look at its members; of anything else its beginning says enough.
ArchiveLook LookIntoGzip(const PartlyRead& file, std::string_view packedHead) {
  const std::string head = UnpackedHead(packedHead);
  if (!IsTar(head)) {
    return head.empty() ? ArchiveLook::kUnknown : LookAtMember("", head);
  }
  if (file.size > kMostInMemory) return ArchiveLook::kUnknown;
  try {
    return LookIntoTar(InMemory(Unpacked(file.read(0, file.size), kMostInMemory)));
  } catch (const SourceError&) {  // it is damaged, or too large
    return ArchiveLook::kUnknown;
  }
}

// By the first bytes of one that is not encoded.
ArchiveLook LookInto(const PartlyRead& file, std::string_view head) {
  if (IsZip(head)) return LookIntoZip(file);
  if (IsTar(head)) return LookIntoTar(file);
  if (PackingOf(head) == kGzip) return LookIntoGzip(file, head);
  if (IsProgram(head)) return LookIntoProgram(file);
  return FormOf(head).empty() ? ArchiveLook::kNoMail : ArchiveLook::kUnknown;
}

ArchiveLook LookIntoEncoded(const PartlyRead& file, std::string_view encodedHead,
                            const EncodedFile& encoded) {
  const std::string head = Decoded(encoded, encodedHead);
  if (!IsLookedInto(head) && !IsProgram(head)) return LookAtMember(encoded.name, head);
  if (file.size > kMostInMemory) return ArchiveLook::kUnknown;
  const std::string all = Decoded(encoded, file.read(0, file.size));
  return LookInto(InMemory(all), std::string_view(all).substr(0, kHead));
}

// What is packed in a file of that name: "2021.mbox" of "2021.mbox.gz".
std::string_view PackedName(std::string_view name) {
  const auto end = std::ranges::find_if(
      kNames, [&](std::string_view each) { return EndsWithNoCase(name, each); });
  return end == kNames.end() ? std::string_view() : name.substr(0, name.size() - end->size());
}

}  // namespace

bool IsArchive(std::string_view head) {
  return IsZip(head) || IsTar(head) || !FormOf(head).empty();
}

bool IsCalledAsArchive(std::string_view name) { return EndsWithOneOf(name, kNames); }

ArchiveLook LookIntoArchive(const PartlyRead& file, std::string_view head) {
  const auto encoded = EncodedFileIn(head);
  return encoded ? LookIntoEncoded(file, head, *encoded) : LookInto(file, head);
}

std::string ArchiveReason(const std::string& path, std::uint64_t size, std::string_view head) {
  const std::string_view name = LastName(path);
  const PartlyRead file{size, [&](std::uint64_t offset, std::uint64_t length) {
                          return ReadFileRange(path, offset, length);
                        }};
  const ArchiveLook look = LookIntoArchive(file, head);
  const std::string_view packed = PackedName(name);
  if (look == ArchiveLook::kMail || IsMailName(packed)) return "it is packed: unpack it first";
  const std::string_view form = FormOf(head);
  const bool isLookedInto = IsLookedInto(head);
  // One that is called an archive and is none of the forms that are known.
  const bool isOdd = isLookedInto
                         ? form == kGzip && IsCalledAsArchive(packed) && !IsTar(UnpackedHead(head))
                         : IsCalledAsArchive(name);
  if (look == ArchiveLook::kNoMail && !isOdd) return {};
  if (isLookedInto) {
    return "not all that is packed in it can be looked at, and mail may be there: unpack it first";
  }
  return fmt::format("it is packed{}, and mail may be in it: unpack it first",
                     form.empty() ? "" : fmt::format(" ({})", form));
}

}  // namespace client
