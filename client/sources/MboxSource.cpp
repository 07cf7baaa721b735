#include "client/sources/MboxSource.h"

#include <algorithm>

#include "client/sources/Mbox.h"
#include "client/sources/Names.h"
#include "client/sources/SourceFiles.h"
#include "mime/MailHeader.h"

namespace client {
namespace {

constexpr std::uint64_t kHeaderLook = 65536;  // bytes in which a Status is looked for

std::string FolderOf(const std::string& path) {
  std::string name = path.substr(path.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return LevelName(name) + "\\";
}

// What its Status field says; a mail without one counts as read.
bool IsRead(const std::string& path, const MboxSplitter::Extent& extent) {
  const std::string bytes =
      ReadFileRange(path, extent.offset, std::min(extent.length, kHeaderLook));
  const auto status = ::mail::MailHeader(WithoutFromLine(bytes)).find("Status");
  return !status || status->find('R') != std::string::npos;
}

}  // namespace

bool MboxSource::IsMbox(const std::string& path) {
  try {
    return ReadFileRange(path, 0, 5) == "From ";
  } catch (const SourceError&) {
    return false;
  }
}

std::vector<SourceItem> MboxSource::List(std::vector<SourceProblem>& problems) const {
  std::vector<SourceItem> items;
  try {
    MboxSplitter splitter;
    ReadPieces(OpenSourceFile(m_path, Links::kFollow),
               [&](std::string_view bytes) { splitter.Feed(bytes); });
    const std::string folder = FolderOf(m_path);
    for (const MboxSplitter::Extent& mail : splitter.Finish()) {
      // The name holds the place, so that two mails of one file are two items of the journal.
      items.push_back({m_path + ":" + std::to_string(mail.offset), folder, IsRead(m_path, mail),
                       mail.offset, mail.length});
    }
  } catch (const SourceError& error) {
    problems.push_back({m_path, error.what(), /*isUnread=*/true});
  }
  return items;
}

std::string MboxSource::Read(const SourceItem& item) const {
  std::string bytes = UnquoteMbox(ReadFileRange(m_path, item.offset, item.length));
  RequireMail(bytes);
  return bytes;
}

}  // namespace client
