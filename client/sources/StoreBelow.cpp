#include "client/sources/StoreBelow.h"

#include <array>
#include <string_view>

#include "client/sources/FolderNames.h"
#include "client/sources/ItemNames.h"
#include "client/sources/Maildir.h"
#include "client/sources/MboxSource.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

bool HoldsAppleVersions(const std::string& path) {
  return HasName(path, [&](std::string_view name) { return IsAppleVersion(path, name); });
}

// Of one before it kept Maildirs its list of a folder lies beside the mbox.
bool IsEvolutions(const std::string& path) {
  return IsThere(path + "/..maildir++") ||
         HasName(path, [](std::string_view name) { return name.ends_with(".cmeta"); });
}

struct Place {
  std::string_view path;
  bool (*isStore)(const std::string& path);
};
constexpr auto kPlaces = std::to_array<Place>({
    {"Maildir", IsMaildir},
    {".maildir", IsMaildir},
    {"Mail", HoldsAppleVersions},
    {"Library/Mail", HoldsAppleVersions},
    {"local", IsEvolutions},
    {"mail/local", IsEvolutions},
    {"evolution/mail/local", IsEvolutions},
    {".evolution/mail/local", IsEvolutions},
    {"share/evolution/mail/local", IsEvolutions},
    {".local/share/evolution/mail/local", IsEvolutions},
});

}  // namespace

bool IsMailByLook(const std::string& path) {
  constexpr std::uint64_t kLook = 64;  // bytes
  const ItemFile file = ItemFileOf(path);
  return file == ItemFile::kMail || file == ItemFile::kAppleMail || EndsWithNoCase(path, ".msf") ||
         MboxSource::IsMbox(HeadOfFile(path, kLook)) || IsMaildir(path);
}

std::string StoreBelow(const std::string& source) {
  std::string store;
  for (const Place& place : kPlaces) {
    const std::string path = source + "/" + std::string(place.path);
    if (!place.isStore(path)) continue;
    if (!store.empty()) return {};
    store = path;
  }
  if (store.empty() || IsMaildir(source)) return {};
  bool isAlone = true;
  std::vector<SourceProblem> toldLater;
  EachName(source, toldLater, [&](std::string_view name) {
    const std::string path = source + "/" + std::string(name);
    isAlone = path == store || !IsMailByLook(path);
    return isAlone;
  });
  return isAlone ? store : std::string();
}

void DropLevelsAbove(const std::string& store, const std::string& levels,
                     std::vector<SourceFolder>& below) {
  for (SourceFolder& folder : below) {
    if ((store + "/").starts_with(folder.path + "/")) folder.levels = levels;
  }
}

}  // namespace client
