#include "body/Hrn.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "body/rtf/RtfToHtml.h"
#include "platform/Files.h"
#include "platform/NarrowText.h"
#include "platform/Paths.h"

namespace {

constexpr std::u16string_view kPictureStem = u"HTMLFile_";
constexpr std::string_view kPageStart = "\xEF\xBB\xBF\n\n\n";

[[noreturn]] void Fail(const CString& strPath) {
  throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), strPath.ToUtf8());
}

std::string ReadWhole(const CString& strPath) {
  errno = 0;
  auto objFile = platform::File::Open(strPath, platform::OpenMode::kRead);
  if (!objFile) Fail(strPath);
  std::string strBytes(static_cast<std::size_t>(objFile->Length()), '\0');
  const std::span<unsigned char> objBuffer(reinterpret_cast<unsigned char*>(strBytes.data()),
                                           strBytes.size());
  if (objFile->Read(objBuffer) != strBytes.size()) Fail(strPath);
  return strBytes;
}

// A part of a file is none.
[[noreturn]] void DeleteAndFail(const CString& strPath) {
  const int nError = errno;
  (void)platform::DeleteFileAt(strPath);
  errno = nError;
  Fail(strPath);
}

void WriteWhole(const CString& strPath, std::string_view strFirst, std::string_view strSecond) {
  errno = 0;
  auto objFile = platform::File::Open(strPath, platform::OpenMode::kCreate);
  if (!objFile) Fail(strPath);
  for (const std::string_view strPart : {strFirst, strSecond}) {
    const std::span<const unsigned char> objBytes(
        reinterpret_cast<const unsigned char*>(strPart.data()), strPart.size());
    if (!objFile->Write(objBytes)) DeleteAndFail(strPath);
  }
}

// With its last separator.
CString FolderOf(const CString& strPath) {
  const int nEnd = std::max(strPath.ReverseFind(u'\\'), strPath.ReverseFind(u'/'));
  return strPath.Left(nEnd + 1);
}

// What the converter could have written: its stem, a number from 1 and the extension of a picture.
// Other files may bear the stem, too: an attachment is called as its sender pleased.
bool IsPictureName(CString strName) {
  constexpr auto kExtensions =
      std::to_array<std::u16string_view>({u".png", u".jpg", u".gif", u".wmf", u".emf", u".pct"});
  strName.MakeLower();
  std::u16string_view str = strName.View().substr(kPictureStem.size());
  const std::size_t nDigits = std::min(str.find_first_not_of(u"0123456789"), str.size());
  if (nDigits == 0 || str.front() == u'0') return false;
  return std::ranges::find(kExtensions, str.substr(nDigits)) != kExtensions.end();
}

void DeleteOld(const CString& strFolder, const CString& strHtmlPath) {
  for (const platform::FoundFile& objFound : platform::FindFiles(strFolder + kPictureStem + u"*")) {
    const CString strPath = strFolder + objFound.strName;
    if (objFound.bFolder || !IsPictureName(objFound.strName)) continue;
    if (!platform::DeleteFileAt(strPath)) Fail(strPath);
  }
  if (platform::PathExists(strHtmlPath) && !platform::DeleteFileAt(strHtmlPath)) Fail(strHtmlPath);
}

// Writes pictures beside the page. No file has one of their names in any case any more, so they are
// created as they are spelt: to look for other spellings takes the longer the more there are.
class FolderSaver : public rtf::PictureSaver {
 public:
  explicit FolderSaver(const CString& strFolder)
      : m_strOnDisk(platform::ResolvePath(strFolder)),
        m_strLink("file://" + platform::WideToNarrow(strFolder)) {}

  std::string Save(std::string_view strExtension, std::string_view strBytes) override {
    std::string strName = CString(kPictureStem).ToUtf8();
    strName.append(std::to_string(++m_nCount)).append(strExtension);
    errno = 0;
    std::ofstream objFile(m_strOnDisk + strName, std::ios::binary);
    objFile.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
    objFile.close();
    if (!objFile) Fail(CString::FromUtf8(m_strOnDisk + strName));
    return m_strLink + strName;
  }

 private:
  std::string m_strOnDisk;  // the folder's path on this system
  std::string m_strLink;
  int m_nCount = 0;
};

}  // namespace

void Hrn::HrsConvertFile(const CString& strRtfPath, const CString& strHtmlPath, int) {
  m_objNotes = {};
  const CString strFolder = FolderOf(strHtmlPath);
  DeleteOld(strFolder, strHtmlPath);
  const std::string strRtf = ReadWhole(strRtfPath);
  FolderSaver objSaver(strFolder);
  const rtf::HtmlResult objResult = rtf::RtfToHtml(strRtf, platform::AnsiCodePage(), objSaver);
  WriteWhole(strHtmlPath, kPageStart, objResult.strHtml);
  m_objNotes = objResult.objNotes;
}
