#include "client/sources/MboxSource.h"

#include <algorithm>

#include "client/sources/GmailLabels.h"
#include "client/sources/Mbox.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/StateFields.h"
#include "mime/MailHeader.h"

namespace client {
namespace {

constexpr std::uint64_t kMostHeader = 1 << 20;  // bytes in which state is looked for

// folder gets the one that the mail's labels name, where it has some.
StateFields FieldsOf(const std::string& path, const MboxSplitter::Mail& mail, std::string& folder) {
  const std::string bytes = ReadFileRange(path, mail.offset, std::min(mail.header, kMostHeader));
  const std::string_view header = WithoutFromLine(bytes);
  StateFields fields = ReadStateFields(header);
  fields.state.received = TimeOf(ParseFromLine(bytes.substr(0, bytes.find('\n'))));
  if (header.find("\nX-Gmail-Labels:") == std::string_view::npos &&
      !header.starts_with("X-Gmail-Labels:")) {
    return fields;
  }
  folder = TakeGmailLabels(::mail::MailHeader(header).text("X-Gmail-Labels"), fields);
  return fields;
}

}  // namespace

std::string MboxFolder(const std::string& path) {
  std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
  for (const std::string_view end : {".mbox", ".mbx", ".mbs"}) {
    if (name.size() > end.size() && EndsWithNoCase(name, end)) {
      name.remove_suffix(end.size());
      break;
    }
  }
  return LevelName(FromModifiedUtf7(name)) + "\\";
}

bool MboxSource::IsMbox(const std::string& path) {
  constexpr std::uint64_t kLook = 64;  // bytes
  try {
    const std::string bytes = ReadFileRange(path, 0, kLook);
    const size_t begin = std::min(bytes.find_first_not_of("\r\n"), bytes.size());
    return std::string_view(bytes).substr(begin).starts_with(kFrom);
  } catch (const SourceError&) {
    return false;
  }
}

void ListMbox(const std::string& path, const std::string& folder, MboxKind kind, Listing& listing) {
  const std::size_t first = listing.items.size();
  std::vector<std::size_t> untold;
  MboxSplitter splitter(kind);
  ReadPieces(OpenSourceFile(path, Links::kFollow),
             [&](std::string_view bytes) { splitter.Feed(bytes); });
  bool hasLabels = false;
  for (const MboxSplitter::Mail& mail : splitter.Finish()) {
    std::string place = folder;
    StateFields fields = FieldsOf(path, mail, place);
    hasLabels = hasLabels || place != folder;
    if (!fields.read) untold.push_back(listing.items.size());
    // The name holds the place, so that two mails of one file are two items of the journal.
    SourceItem item{path + ":" + std::to_string(mail.offset), std::move(place),
                    fields.read.value_or(true), mail.offset, mail.length};
    item.file = path;
    item.state = std::move(fields.state);
    item.isStoreData = fields.isStoreData;
    listing.items.push_back(std::move(item));
  }
  if (!hasLabels) listing.folders.push_back(folder);
  // Where a program notes what was read, what it did not note is new.
  if (untold.size() == listing.items.size() - first) return;
  for (const std::size_t at : untold) listing.items[at].read = false;
}

std::string ReadMboxItem(const SourceItem& item, MboxKind kind) {
  const std::string bytes = ReadFileRange(item.file, item.offset, item.length);
  if (!bytes.starts_with(kFrom) || bytes.size() != item.length) {
    throw SourceError("its file changed since it was listed");
  }
  std::string mail = UnquoteMbox(bytes, kind);
  RequireMail(mail);
  return mail;
}

Listing MboxSource::List() const {
  Listing listing;
  try {
    ListMbox(m_path, MboxFolder(m_path), m_kind, listing);
  } catch (const SourceError& error) {
    listing.problems.push_back({m_path, error.what(), /*isUnread=*/true});
  }
  return listing;
}

std::string MboxSource::Read(const SourceItem& item) const { return ReadMboxItem(item, m_kind); }

}  // namespace client
