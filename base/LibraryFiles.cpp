#include "base/LibraryFiles.h"

namespace mail {
namespace {

std::optional<platform::File> openFile(XString& strPath, platform::OpenMode nMode) {
  std::optional<platform::File> objFile = platform::File::Open(CString(strPath.utf16()), nMode);
  if (objFile) return objFile;
  return platform::File::Open(CString::FromUtf8(strPath.ansi().view()), nMode);
}

}  // namespace

bool readWholeFile(XString& strPath, DataBuffer& arrBytes) {
  arrBytes.clear();
  std::optional<platform::File> objFile = openFile(strPath, platform::OpenMode::kRead);
  if (!objFile) return false;
  const std::uint64_t nLength = objFile->Length();
  if (nLength == 0) return true;
  unsigned char* const pRoom = arrBytes.prepare(nLength);
  if (pRoom == nullptr) return false;
  arrBytes.commit(objFile->Read({pRoom, nLength}));
  if (arrBytes.getSize() == nLength) return true;
  arrBytes.clear();
  return false;
}

std::optional<platform::File> createFile(XString& strPath) {
  return openFile(strPath, platform::OpenMode::kCreate);
}

bool writeWholeFile(XString& strPath, std::string_view strBytes) {
  std::optional<platform::File> objFile = createFile(strPath);
  const auto* const pBytes = reinterpret_cast<const unsigned char*>(strBytes.data());
  return objFile && (strBytes.empty() || objFile->Write({pBytes, strBytes.size()}));
}

}  // namespace mail
