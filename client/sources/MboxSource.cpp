#include "client/sources/MboxSource.h"

#include <algorithm>

#include "client/sources/Mbox.h"
#include "client/sources/Names.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/StateFields.h"

namespace client {
namespace {

constexpr std::uint64_t kMostHeader = 1 << 20;  // bytes in which state is looked for

std::string FolderOf(const std::string& path) {
  std::string name = path.substr(path.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return LevelName(name) + "\\";
}

StateFields FieldsOf(const std::string& path, const MboxSplitter::Mail& mail) {
  const std::string bytes = ReadFileRange(path, mail.offset, std::min(mail.header, kMostHeader));
  StateFields fields = ReadStateFields(WithoutFromLine(bytes));
  fields.state.received = TimeOf(ParseFromLine(bytes.substr(0, bytes.find('\n'))));
  return fields;
}

}  // namespace

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

Listing MboxSource::List() const {
  Listing listing;
  std::vector<SourceItem>& items = listing.items;
  try {
    MboxSplitter splitter(m_kind);
    ReadPieces(OpenSourceFile(m_path, Links::kFollow),
               [&](std::string_view bytes) { splitter.Feed(bytes); });
    const std::string folder = FolderOf(m_path);
    listing.folders.push_back(folder);
    std::vector<std::size_t> untold;
    for (const MboxSplitter::Mail& mail : splitter.Finish()) {
      StateFields fields = FieldsOf(m_path, mail);
      if (!fields.read) untold.push_back(items.size());
      // The name holds the place, so that two mails of one file are two items of the journal.
      SourceItem item{m_path + ":" + std::to_string(mail.offset), folder,
                      fields.read.value_or(true), mail.offset, mail.length};
      item.state = std::move(fields.state);
      item.isStoreData = fields.isStoreData;
      items.push_back(std::move(item));
    }
    if (untold.size() == items.size()) return listing;
    for (const std::size_t at : untold) items[at].read = false;
  } catch (const SourceError& error) {
    listing.problems.push_back({m_path, error.what(), /*isUnread=*/true});
  }
  return listing;
}

std::string MboxSource::Read(const SourceItem& item) const {
  std::string bytes = UnquoteMbox(ReadFileRange(m_path, item.offset, item.length), m_kind);
  RequireMail(bytes);
  return bytes;
}

}  // namespace client
