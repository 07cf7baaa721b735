#include "client/run/StoreLook.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <fmt/format.h>

#include "client/run/Journal.h"
#include "client/run/RunFolder.h"
#include "ews/FolderPath.h"
#include "platform/Paths.h"
#include "target/RdoProviders.h"
#include "target/StoreError.h"
#include "target/StoreFiles.h"
#include "target/StoreFolders.h"

namespace client {
namespace {

constexpr std::string_view kIdentity = "store";  // property of the journal

CString PathOf(const Target& target) { return platform::ToWindowsPath(target.StoreFile()); }

// Throws where nobody provides stores.
std::shared_ptr<rdo::StoreFiles> Files() {
  auto files = std::dynamic_pointer_cast<rdo::StoreFiles>(rdo::CreateObject(rdo::kStoreFiles));
  if (!files) throw std::runtime_error("what provides stores does not look into them");
  return files;
}

// What the store says in an item's text. Only what begins it counts: the rest may quote the item.
std::string_view WordsIn(std::string_view text) {
  if (!text.starts_with(kNoStoreFolder)) return text;
  return text.substr(std::min(text.size(), kNoStoreFolder.size() + 1));
}

bool IsMissing(const Target& target) { return Files()->IsThere(PathOf(target)) == false; }

ews::FoundItem Shown(const rdo::FoundItem& item) {
  ews::FoundItem found;
  found.strId = CString::FromUtf8(item.strId);
  // As servers give them, so that both are compared alike.
  found.strKey = CString::FromUtf8(item.strKey).Left(ews::kLongestFoundText);
  found.strMessageId = CString::FromUtf8(item.strMessageId).Left(ews::kLongestFoundText);
  found.nSize = item.nSize;
  return found;
}

std::vector<std::string> Texts(const std::vector<CString>& from) {
  std::vector<std::string> texts;
  for (const CString& text : from) texts.push_back(text.ToUtf8());
  return texts;
}

}  // namespace

StoreLook::StoreLook(const Target& target) : m_path(PathOf(target)) {}

IRDOFolder StoreLook::Root() {
  if (m_store.IsEmpty()) {
    const std::shared_ptr<rdo::StoreFiles> files = Files();
    if (files->IsThere(m_path) == false) return {};
    m_store = IRDOPstStore(files->Look(m_path));
  }
  return m_store.GetRootFolder();
}

IRDOFolder StoreLook::FolderAt(const Place& place, std::string* names) {
  if (place.root) return {};
  const CString levels = CString::FromUtf8(place.path);
  IRDOFolder folder = Root();
  for (int level = 0; level < getTotCountSlash(levels) && !folder.IsEmpty(); ++level) {
    folder = FindFolder(GetNameBySlash(levels, level), folder.GetFolders());
    if (names) *names += folder.GetName().ToUtf8() + "\\";
  }
  return folder;
}

std::string StoreLook::Identity(const Place& place) {
  std::string names;
  return FolderAt(place, &names).IsEmpty() ? place.path : names;
}

void StoreLook::Find(const Place& place, const Names& names, const Take& take) {
  const IRDOItems items = FolderAt(place).GetItems();
  if (items.IsEmpty()) return;
  items.Object()->Find(Texts(names.keys), Texts(names.messageIds),
                       [&](const rdo::FoundItem& item) { take(Shown(item)); });
}

bool StoreLook::HoldsAny(const Is& is) {
  bool isThere = false;
  std::vector<IRDOFolder> pending = {Root()};
  while (!pending.empty() && !isThere) {
    const IRDOFolder folder = std::move(pending.back());
    pending.pop_back();
    if (const IRDOItems items = folder.GetItems(); !items.IsEmpty()) {
      items.Object()->ForEach(
          [&](const rdo::FoundItem& item) { isThere = isThere || is(Shown(item)); });
    }
    const IRDOFolders below = folder.GetFolders();
    for (IRDOFolder one = below.GetFirst(); !one.IsEmpty(); one = below.GetNext()) {
      pending.push_back(one);
    }
  }
  return isThere;
}

void StoreLook::List(const Place& place, const Take& take) {
  try {
    const IRDOItems items = FolderAt(place).GetItems();
    if (items.IsEmpty()) return;
    items.Object()->ForEach([&](const rdo::FoundItem& item) { take(Shown(item)); });
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(
        fmt::format("the target's folder {} cannot be read: {}", place.path, error.what()));
  }
}

bool IsOfStore(const std::string& text) {
  const std::string_view words = WordsIn(text);
  return words.starts_with(kStoreFailed) || words.starts_with(kStoreGone);
}

bool IsStoreGone(const Target& target, const std::string& text) {
  return target.Store() && (WordsIn(text).starts_with(kStoreGone) || IsMissing(target));
}

std::string StoreGoneText(const Target& target) {
  return fmt::format(
      "the store {} is not there any more; put it back, or use another run folder "
      "for a new one",
      target.StoreFile());
}

void RequireStoreKept(const Target& target, Journal& journal) {
  if (!target.Store()) return;
  const bool isGone = IsMissing(target);
  const auto kept = journal.Property(kIdentity);
  const auto found = kept && !isGone ? Files()->Identity(PathOf(target)) : kept;
  const bool isAnother = found && found != kept;
  if (!isGone && !isAnother) return;
  if (!journal.HasArrivals()) return;
  throw RunError(isGone ? StoreGoneText(target)
                        : fmt::format("the store {} is not the one that this run filled; put that "
                                      "back, or use another run folder for this one",
                                      target.StoreFile()));
}

void KeepStore(const Target& target, Journal& journal) {
  if (!target.Store()) return;
  const auto identity = Files()->Identity(PathOf(target));
  if (!identity || identity->empty() || journal.Property(kIdentity) == identity) return;
  journal.SetProperty(kIdentity, *identity);
}

std::string StoreProblem(const Target& target) { return Files()->Problem(PathOf(target)); }

std::string TryStore(const Target& target) try {
  if (std::string reason = StoreProblem(target); !reason.empty()) return reason;
  IRDOSession::Create().Logon({});
  (void)StoreLook(target).Identity("Inbox\\");
  return {};
} catch (const std::exception& error) {
  return error.what();
}

}  // namespace client
