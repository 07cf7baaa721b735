#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace mail {

// Finds files by names in any case. Each folder is listed once, however many names are looked for
// in it: a page may name thousands that are not there.
class FolderNames {
 public:
  // The path as it is spelt on disk, each of its names as it stands or else the first in byte order
  // that differs in case alone; empty when there is none. Backslashes separate, too. strPath is
  // UTF-8.
  std::string matched(std::string_view strPath);
  void forget() { m_mapFolders.clear(); }

 private:
  using Names = std::unordered_map<std::u16string, std::string>;  // in upper case -> as on disk

  std::string entryOf(const std::string& strFolder, std::u16string_view strName);
  static Names listed(const std::string& strFolder);

  std::unordered_map<std::string, Names> m_mapFolders;
};

}  // namespace mail
