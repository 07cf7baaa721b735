#include "archive/LocalFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "archive/UrlText.h"
#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "platform/NarrowText.h"

namespace mail {
namespace {

namespace fs = std::filesystem;

bool isRegular(const std::string& strPath) {
  std::error_code objError;
  return fs::is_regular_file(strPath, objError);
}

}  // namespace

void LocalFiles::confineTo(const std::string& strFolder) {
  std::string strBound = strFolder.empty() ? "" : canonicalPath(strFolder);
  if (!strBound.empty() && !strBound.ends_with('/')) strBound += '/';
  m_strBound = std::move(strBound);
}

std::optional<std::string> LocalFiles::find(const std::vector<std::string>& arrPaths) {
  for (const std::string& strPath : arrPaths) {
    if (!strPath.empty() && isRegular(strPath)) return strPath;
  }
  for (const std::string& strPath : arrPaths) {
    if (strPath.empty() || !byte_search::isUtf8(strPath)) continue;
    std::string strMatched = m_objNames.matched(strPath);
    if (isRegular(strMatched)) return strMatched;
  }
  return std::nullopt;
}

bool LocalFiles::load(const std::string& strPath, DataBuffer& arrBytes) {
  arrBytes.clear();
  const std::string strCanonical = canonicalPath(strPath);
  std::error_code objError;
  const std::uintmax_t nBytes = fs::file_size(strCanonical, objError);
  m_strFailure = "the file cannot be read";
  if (strCanonical.empty() || objError || !isRegular(strCanonical)) return false;
  m_strFailure = "the file lies outside of the page's folder";
  if (isOutside(strCanonical)) return false;
  m_strFailure = "the file is too large";
  if (nBytes > kMaxFileBytes) return false;
  m_strFailure = "the file cannot be read";
  std::ifstream objFile(strCanonical, std::ios::binary);
  auto* const pRoom = reinterpret_cast<char*>(arrBytes.prepare(nBytes));
  if (!objFile || pRoom == nullptr) return nBytes == 0 && objFile.is_open();
  objFile.read(pRoom, static_cast<std::streamsize>(nBytes));
  arrBytes.commit(static_cast<std::size_t>(objFile.gcount()));
  return arrBytes.getSize() == nBytes;
}

bool LocalFiles::isOutside(const std::string& strCanonical) const {
  return m_strBound && (m_strBound->empty() || !strCanonical.starts_with(*m_strBound));
}

std::string LocalFiles::canonicalPath(const std::string& strPath) {
  std::error_code objError;
  const fs::path objPath = fs::canonical(strPath, objError);
  return objError ? std::string() : objPath.string();
}

std::string LocalFiles::folderOf(std::string_view strPath) {
  return std::string(strPath.substr(0, strPath.rfind('/') + 1));
}

std::vector<std::string> spellingsOf(const std::string& strName, int nCodePage) {
  std::vector<std::string> arrNames = {strName};
  const auto add = [&](std::string strSpelling) {
    if (std::ranges::find(arrNames, strSpelling) == arrNames.end()) {
      arrNames.push_back(std::move(strSpelling));
    }
  };
  const auto addAsText = [&](const std::string& strSpelling) {
    add(toUtf8(strSpelling, nCodePage));
    add(toUtf8(strSpelling, 0));  // a folder that was put in front, whatever the page is in
  };
  addAsText(strName);
  if (strName.find('%') == std::string::npos) return arrNames;
  add(replacedAll(strName, "%20", " "));
  const std::string strDecoded = percentDecoded(strName);
  add(strDecoded);
  addAsText(strDecoded);
  return arrNames;
}

std::string ansiToUtf8(std::string_view strText) { return toUtf8(strText, 0); }

std::string toUtf8(std::string_view strText, int nCodePage) {
  if (byte_search::isUtf8(strText)) return std::string(strText);
  const unsigned nPage =
      nCodePage != 0 ? static_cast<unsigned>(nCodePage) : platform::AnsiCodePage();
  DataBuffer arrUtf8;
  LogNull log;
  (void)EncodingConvert().EncConvert(nPage, code_page::kUtf8, strText.data(), strText.size(),
                                     arrUtf8, log);
  return std::string(arrUtf8.view());
}

std::string pathOfUrl(std::string_view strUrl) {
  constexpr std::string_view kScheme = "file:";
  std::string strPath = replacedAll(strUrl, "&amp;", "&");
  if (!beginsWithNoCase(strPath, kScheme)) return strPath;
  strPath.erase(0, kScheme.size());
  const std::size_t nSlashes = std::min(strPath.find_first_not_of('/'), strPath.size());
  return nSlashes > 1 ? strPath.substr(nSlashes - 1) : strPath;
}

bool isAbsolutePath(std::string_view strPath) { return strPath.starts_with('/'); }

std::string joinPath(std::string_view strFolder, std::string_view strPath) {
  if (isAbsolutePath(strPath) || strFolder.empty()) return std::string(strPath);
  return std::string(strFolder) + (strFolder.ends_with('/') ? "" : "/") + std::string(strPath);
}

}  // namespace mail
