#include "client/run/ReducedMail.h"

#include <algorithm>
#include <set>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "base/AsciiText.h"
#include "base/LogNull.h"
#include "body/BodyText.h"
#include "client/run/ItemWriter.h"
#include "client/sources/PreparedItem.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailLayout.h"
#include "platform/CString.h"

namespace client {
namespace {

constexpr std::string_view kAttachmentList = "11comtextjjAttach.t";

// A file of a prepared item, found as the engine finds it; empty when it is not there.
std::string ReadFileOf(const Plan::Entry& entry, const LoadedItem& item, std::string_view wanted) {
  std::string bytes;
  for (const std::string& name : item.files.files) {
    if (!mail::equalsNoCase(name, wanted)) continue;
    ReadPreparedFile(entry.item.location, name, [&](std::string_view piece) { bytes += piece; });
    break;
  }
  return bytes;
}

// As the engine compares names.
CString NameKey(const std::string& name) { return CString::FromUtf8(name).Trim().MakeUpper(); }

// Names of files that go with the item by themselves, each as often as it is listed.
std::multiset<CString> ListedFiles(const Plan::Entry& entry, const LoadedItem& item) {
  std::set<CString> there;
  for (const std::string& name : item.files.files) there.insert(NameKey(name));
  std::multiset<CString> listed;
  const std::string text = BodyText(ReadFileOf(entry, item, kAttachmentList)).ToUtf8();
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t end = std::min(text.find_first_of("\r\n", from), text.size());
    const CString name = NameKey(text.substr(from, end - from));
    if (there.contains(name)) listed.insert(name);
    from = end + 1;
  }
  return listed;
}

// A picture of the page is a file that its text goes without; another form of it is none.
bool IsLost(const mail::ShownNode& node, bool safe, mail::LogNull& log) {
  if (node.nRole == mail::Role::kFile) return !safe || !mail::isFurtherHtml(node, log);
  const mail::Email2& part = *node.objPlaced.pNode;
  return node.nRole == mail::Role::kWithin && !part.isText() && !part.body().isEmpty() &&
         !part.type().contains("signature");
}

std::vector<std::string> LeftOut(const Plan::Entry& entry, const LoadedItem& item, bool safe) {
  const bool prepared = entry.item.prepared;
  auto listed = prepared ? ListedFiles(entry, item) : std::multiset<CString>();
  mail::LogNull log;
  const auto mail = mail::buildEmail(prepared ? ReadFileOf(entry, item, kMimeName) : item.bytes,
                                     /*bUtf8=*/false, log, mail::BuildFor::kReader);
  std::vector<std::string> names;
  if (mail == nullptr) return names;
  for (const mail::ShownNode& node : mail::layOut(*mail, log)) {
    if (!IsLost(node, safe, log)) continue;
    std::string name(mail::fileNameOf(*node.objPlaced.pNode));
    if (name.empty()) name = fmt::format("a nameless one ({})", mail::listedType(node));
    const auto there = listed.find(NameKey(name));
    if (there == listed.end()) {
      names.push_back(std::move(name));
    } else {
      listed.erase(there);  // a second part of that name is not the same file
    }
  }
  return names;
}

}  // namespace

std::string ReducedText(const Plan::Entry& entry, const LoadedItem& item, Reduction reduction,
                        bool safe) {
  const std::string_view form = reduction == Reduction::kToNothing ? ", without any text" : "";
  std::string text = fmt::format("{}{}: the target takes no mail of its size", kReduced, form);
  try {
    const std::vector<std::string> names = LeftOut(entry, item, safe);
    return names.empty() ? text : fmt::format("{}; left out: {}", text, fmt::join(names, ", "));
  } catch (const SourceError& error) {
    return fmt::format("{}; what was left out cannot be told: {}", text, error.what());
  }
}

}  // namespace client
