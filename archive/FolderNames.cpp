#include "archive/FolderNames.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/Paths.h"
#include "platform/Unicode.h"

namespace mail {

namespace fs = std::filesystem;

std::string FolderNames::matched(std::string_view strPath) {
  const platform::ExactPath objPath = platform::ExactPathOf(platform::Utf8ToUtf16(strPath));
  const std::u16string_view strRest = objPath.strRest;
  std::string strFound = objPath.strBase;
  for (std::size_t n = 0; n < strRest.size();) {
    if (strRest[n] == u'/') {
      strFound += '/';
      ++n;
      continue;
    }
    const std::size_t nEnd = std::min(strRest.find(u'/', n), strRest.size());
    const std::string strEntry = entryOf(strFound, strRest.substr(n, nEnd - n));
    if (strEntry.empty()) return {};
    strFound += strEntry;
    n = nEnd;
  }
  return strFound;
}

std::string FolderNames::entryOf(const std::string& strFolder, std::u16string_view strName) {
  std::string strSpelled = platform::Utf16ToUtf8(strName);
  std::error_code objError;
  if (fs::exists(fs::symlink_status(strFolder + strSpelled, objError))) return strSpelled;
  const auto [it, bNew] = m_mapFolders.try_emplace(strFolder);
  if (bNew) it->second = listed(strFolder);
  const auto itName = it->second.find(platform::UpperUnits(strName));
  return itName == it->second.end() ? std::string() : itName->second;
}

FolderNames::Names FolderNames::listed(const std::string& strFolder) {
  Names mapNames;
  std::error_code objError;
  for (fs::directory_iterator it(strFolder.empty() ? "." : strFolder, objError), itEnd;
       !objError && it != itEnd; it.increment(objError)) {
    std::string strEntry = it->path().filename().string();
    std::string& strKnown = mapNames[platform::UpperUnits(platform::Utf8ToUtf16(strEntry))];
    if (strKnown.empty() || strEntry < strKnown) strKnown = std::move(strEntry);
  }
  return mapNames;
}

}  // namespace mail
