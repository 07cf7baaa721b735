#include "client/sources/MailBeside.h"

#include <algorithm>
#include <array>

#include "client/sources/MboxSource.h"
#include "client/sources/OtherFiles.h"

namespace client {
namespace {

constexpr std::uint64_t kHead = 1024;  // bytes by which a file is known

bool IsOfItems(std::string_view name) {
  static constexpr std::array<std::string_view, 5> kEnds = {".eml", ".emlx", ".ics", ".vcf",
                                                            ".vcs"};
  return std::ranges::any_of(kEnds,
                             [&](std::string_view end) { return EndsWithNoCase(name, end); });
}

}  // namespace

void NameMailBeside(const std::string& path, const FolderEntry& entry,
                    std::vector<SourceProblem>& problems) {
  if (entry.size == 0 || entry.name.starts_with('.') || IsCopyOfMail(entry.name)) return;
  std::string reason = "it lies beside a Maildir: name it as a source by itself";
  try {
    const std::string head = ReadFileRange(path, 0, kHead);
    const bool isForm = !IsBesideMail(entry.name) && !UnreadMailForm(path, head).empty();
    if (!isForm && !IsOfItems(entry.name) && !MboxSource::IsMbox(head)) return;
  } catch (const SourceError& error) {
    if (IsBesideMail(entry.name)) return;
    reason = error.what();
  }
  problems.push_back({path, std::move(reason), /*isUnread=*/true});
}

}  // namespace client
