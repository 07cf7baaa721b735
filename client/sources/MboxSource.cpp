#include "client/sources/MboxSource.h"

#include <algorithm>

#include <fmt/format.h>

#include "charset/ByteOrderMarks.h"
#include "client/sources/CrLines.h"
#include "client/sources/EudoraToc.h"
#include "client/sources/GmailLabels.h"
#include "client/sources/Mbox.h"
#include "client/sources/Mmdf.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/PathParts.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/StateFields.h"
#include "mime/MailHeader.h"

namespace client {
namespace {

using ::mail::byte_order::kUtf8Mark;

constexpr std::uint64_t kMostHeader = 1 << 20;  // bytes in which state is looked for

// Empty where it cannot be read, which is told when the mail's turn comes.
std::string HeaderOf(const OpenedFile& mbox, const MboxSplitter::Mail& mail) {
  try {
    std::string bytes = ReadRange(mbox, mail.offset, std::min(mail.header, kMostHeader));
    if (EndsLinesByCr(bytes)) MakeLfOfCr(bytes);
    return bytes;
  } catch (const ReadError&) {
    return {};
  }
}

// The state and the folder of a mail of an export: no field of a mail but the labels tells them.
StateFields ExportedFields(std::string_view header, std::string& folder) {
  StateFields fields;
  folder = TakeGmailLabels(::mail::MailHeader(header).text("X-Gmail-Labels"), fields);
  return fields;
}

// Counts the bytes of holes in what comes in pieces.
class HoleCount {
 public:
  void Feed(std::string_view bytes) {
    while (!bytes.empty()) {
      const bool isNull = bytes.front() == '\0';
      if (!isNull) EndRun();
      const std::size_t end =
          std::min(isNull ? bytes.find_first_not_of('\0') : bytes.find('\0'), bytes.size());
      if (isNull) m_run += end;
      bytes.remove_prefix(end);
    }
  }
  std::uint64_t Finish() {
    EndRun();
    return m_holes;
  }

 private:
  void EndRun() {
    if (m_run >= kLeastHole) m_holes += m_run;
    m_run = 0;
  }

  std::uint64_t m_run = 0;  // NULs so far
  std::uint64_t m_holes = 0;
};

void TellDamage(const std::string& path, std::uint64_t holes, bool isCut,
                std::vector<SourceProblem>& problems) {
  if (holes > 0) {
    problems.push_back({path,
                        fmt::format("{} of its bytes are NULs, as a crash or a full disk leaves "
                                    "them: mails that stood there are gone, or cut",
                                    holes),
                        /*isUnread=*/true});
  }
  if (isCut) {
    problems.push_back({path,
                        "its last mail ends within a line: it is cut, or a program still writes it",
                        /*isUnread=*/true});
  }
}

// Of what lies behind the first bytes, of which places count from there.
template <typename Splitter>
MboxSplitter::Mails Split(const std::string& path, std::uint64_t begin, Splitter& splitter,
                          std::vector<SourceProblem>& problems) {
  HoleCount holes;
  const auto take = [&](std::string_view bytes) { splitter.Feed(bytes); };
  const bool isOfCr = EndsLinesByCr(ReadFileRange(path, begin, kLongestFromLine));
  CrPieces lines;
  std::uint64_t skip = begin;
  ReadPieces(OpenSourceFile(path, Links::kFollow), [&](std::string_view bytes) {
    const std::uint64_t skipped = std::min<std::uint64_t>(skip, bytes.size());
    skip -= skipped;
    bytes.remove_prefix(skipped);
    holes.Feed(bytes);
    isOfCr ? lines.Feed(bytes, take) : take(bytes);
  });
  lines.Finish(take);
  MboxSplitter::Mails mails = splitter.Finish();
  TellDamage(path, holes.Finish(), splitter.IsCut(), problems);
  return mails;
}

MboxSplitter::Mails MailsOf(const std::string& path, std::uint64_t begin, MboxKind kind,
                            std::vector<SourceProblem>& problems) {
  if (MmdfSplitter mmdf; IsMmdf(ReadFileRange(path, begin, kMostMmdfMark))) {
    return Split(path, begin, mmdf, problems);
  }
  if (begin > 0) {
    problems.push_back({path,
                        fmt::format("its beginning is damaged: the {} bytes in front of its first "
                                    "whole mail are not read",
                                    begin),
                        /*isUnread=*/true});
  }
  MboxSplitter splitter(kind);
  MboxSplitter::Mails mails = Split(path, begin, splitter, problems);
  if (splitter.Suspects() > 0) {
    problems.push_back(
        {path,
         fmt::format(
             "{} of its lines begin with \"From \", and either have no date or stand before "
             "no header fields: if mails begin there, --mbox mboxrd divides them",
             splitter.Suspects()),
         /*isUnread=*/true});
  }
  return mails;
}

// By what stands in front of it.
bool IsInMmdf(std::string_view before, std::string_view mail) {
  if (EndsWithMmdfMark(before)) return true;
  const bool isBehindHole = before.ends_with('\0') && before.find_first_not_of('\0') == before.npos;
  return isBehindHole && !mail.starts_with(kFrom);
}

}  // namespace

std::string MboxFolder(const std::string& path) {
  std::string_view name = LastName(path);
  for (const std::string_view end : {".mbox", ".mbx", ".mbs", ".mmdf"}) {
    if (name.size() > end.size() && EndsWithNoCase(name, end)) {
      name.remove_suffix(end.size());
      break;
    }
  }
  return LevelName(FromModifiedUtf7(name)) + "\\";
}

bool MboxSource::IsMbox(std::string_view head) {
  if (IsMmdf(head)) return true;
  if (head.starts_with(kUtf8Mark)) head.remove_prefix(kUtf8Mark.size());
  const size_t begin = std::min(head.find_first_not_of("\r\n"), head.size());
  return head.substr(begin).starts_with(kFrom);
}

bool HoldsSeveralMails(const std::string& path, MboxKind kind) {
  constexpr std::uint64_t kLook = 64;  // bytes
  const std::string head = ReadFileRange(path, 0, kLook);
  if (!MboxSource::IsMbox(head)) return false;
  std::vector<SourceProblem> toldLater;
  const MboxSplitter::Mails mails = MailsOf(path, 0, kind, toldLater);
  if (IsMmdf(head)) return mails.size() > 0;
  for (std::size_t i = 1; i < mails.size(); ++i) {
    const MboxSplitter::Mail mail = mails[i];
    std::string begin = ReadFileRange(path, mail.offset, std::min(mail.length, kFileHead));
    if (EndsLinesByCr(begin)) MakeLfOfCr(begin);
    const bool isQuoted = IsPatch(begin) && !IsPatch(head);
    if (!isQuoted && BeginsWithFields(WithoutFromLine(begin))) return true;
  }
  return false;
}

void ListMbox(const std::string& path, const std::string& folder, MboxKind kind, Listing& listing,
              std::uint64_t begin) {
  const std::size_t first = listing.items.size();
  std::vector<bool> told;  // whether it was read
  bool hasNotes = false;   // in the mails themselves
  bool isExport = false;
  bool hasOwn = false;  // mails that no label puts elsewhere
  const EudoraToc toc = TocBeside(path);
  const FileStamp listed = StampOf(path);
  const auto mails = MailsOf(path, begin, kind, listing.problems);
  const OpenedFile mbox = OpenSourceFile(path, Links::kFollow);
  for (MboxSplitter::Mail mail : mails) {
    mail.offset += begin;
    std::string place = folder;
    const std::string header = HeaderOf(mbox, mail);
    // Others may have been put into one that its owner keeps.
    const bool isExported = (told.empty() || isExport) && IsGmailExport(header);
    isExport = isExport || isExported;
    hasOwn = hasOwn || !isExported;
    StateFields fields = isExported ? ExportedFields(WithoutFromLine(header), place)
                                    : ReadStateFields(WithoutFromLine(header));
    if (header.starts_with(kFrom)) {  // none stands in most MMDF files
      fields.state.received = TimeOf(ParseFromLine(header.substr(0, header.find('\n'))));
    }
    // A list that no longer fits its file makes no mail new.
    hasNotes = hasNotes || fields.read.has_value();
    toc.AddState(mail.offset, fields);
    told.push_back(fields.read.has_value());
    // The name holds the place, so that two mails of one file are two items of the journal.
    SourceItem item{path + ":" + std::to_string(mail.offset), std::move(place),
                    fields.read.value_or(true), mail.offset, mail.length};
    item.file = path;
    item.listed = listed;
    item.namesItsFolder = isExported;
    item.state = std::move(fields.state);
    item.isStoreData = fields.isStoreData && told.size() == 1;
    listing.items.Add(item);
  }
  if (hasOwn || !isExport) listing.folders.push_back(folder);
  // Where a program notes what was read, what it did not note is new.
  if (!hasNotes) return;
  for (std::size_t i = 0; i < told.size(); ++i) {
    if (!told[i]) listing.items.SetUnread(first + i);
  }
}

namespace {

// Whether a mail may end before these bytes, behind which there are more unless they are the last.
bool EndsBefore(std::string_view bytes, bool areLast) {
  bytes.remove_prefix(std::min(bytes.find_first_not_of("\r\n"), bytes.size()));
  if (bytes.empty()) return areLast;
  const bool isHole = bytes.find_first_not_of('\0') == std::string_view::npos;
  return isHole || bytes.starts_with(kFrom) || IsMmdf(bytes);
}

// Mail that was appended, and marks that a program sets in the header of a mail, move no other;
// from a file that became shorter some were taken. Is asked for once the mail was read.
void RequireInItsPlace(const OpenedFile& mbox, const SourceItem& item) {
  const FileStamp now = StampOf(mbox);
  if (now == item.listed) return;
  const std::uint64_t end = item.offset + item.length;
  const std::string behind = ReadRange(mbox, end, kLeastHole);
  const bool areLast = end + behind.size() == now.size;
  if (now.size < item.listed.size || !EndsBefore(behind, areLast)) ThrowChanged();
}

}  // namespace

std::string ReadMboxItem(const SourceItem& item, MboxKind kind) {
  const std::uint64_t before = std::min<std::uint64_t>(item.offset, kMostMmdfMark);
  const OpenedFile mbox = OpenSourceFile(item.file, Links::kFollow);
  std::string bytes = ReadRange(mbox, item.offset - before, before + item.length);
  const std::string_view whole(bytes);
  const std::string_view found = whole.substr(std::min<std::uint64_t>(before, whole.size()));
  if (EndsLinesByCr(found)) MakeLfOfCr(bytes);
  const bool isMmdf = IsInMmdf(whole.substr(0, whole.size() - found.size()), found);
  if (found.size() != item.length || !(isMmdf || found.starts_with(kFrom))) ThrowChanged();
  RequireInItsPlace(mbox, item);
  std::string mail = isMmdf ? std::string(WithoutFromLine(found)) : UnquoteMbox(found, kind);
  RequireMail(mail);
  return mail;
}

Listing MboxSource::List() const {
  Listing listing;
  try {
    ListMbox(m_path, MboxFolder(m_path), m_kind, listing, m_begin);
  } catch (const SourceError& error) {
    listing.problems.push_back({m_path, error.what(), /*isUnread=*/true});
  }
  return listing;
}

std::string MboxSource::Read(const SourceItem& item) const { return ReadMboxItem(item, m_kind); }

void MboxSource::AddFiles(const SourceItem& item, std::string& bytes, FilesBeside& files) const {
  m_eudora.AddTo(item.file, bytes, files);
}

}  // namespace client
