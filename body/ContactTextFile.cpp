#include "body/ContactTextFile.h"

#include <string>

#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/NarrowText.h"

namespace {

CString WideText(const CString& strPath) {
  auto objReader = platform::WideLineReader::Open(strPath);
  if (!objReader) return {};
  CString strText;
  CString strLine;
  while (objReader->ReadLine(strLine)) strText += strLine;
  return strText;
}

CString NarrowText(platform::File& objFile) {
  std::u16string strText;
  std::string strBlock(kWideContactBytes, '\0');
  for (;;) {
    const size_t nRead =
        objFile.Read({reinterpret_cast<unsigned char*>(strBlock.data()), strBlock.size()});
    const std::string_view strBytes = std::string_view(strBlock).substr(0, nRead);
    strText += platform::NarrowToWide(strBytes.substr(0, strBytes.find('\0')));
    if (nRead < strBlock.size()) return strText;
  }
}

}  // namespace

CString ReadRtfSrting(CString strFilePath) {
  auto objFile = platform::File::Open(strFilePath, platform::OpenMode::kRead);
  if (!objFile) return {};
  return objFile->Length() <= kWideContactBytes ? WideText(strFilePath) : NarrowText(*objFile);
}
