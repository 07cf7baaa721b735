#include <algorithm>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "target/CTarnyOutlookHandler.h"

int CTarnyOutlookHandler::FinalIamge(CString strImage, CString strOleFileName) {
  constexpr std::size_t kMostHeader = 6552;  // bytes before the blank line; longer ones stay
  constexpr std::string_view kBlankLine = "\r\n\r\n";
  auto objImage = platform::File::Open(strImage, platform::OpenMode::kRead);
  if (!objImage) return kSuccess;
  std::string strBytes(static_cast<std::size_t>(objImage->Length()), '\0');
  strBytes.resize(
      objImage->Read({reinterpret_cast<unsigned char*>(strBytes.data()), strBytes.size()}));
  std::string_view strData = strBytes;
  const std::size_t nBlank = strData.substr(0, kMostHeader + kBlankLine.size()).find(kBlankLine);
  if (nBlank != std::string_view::npos) strData.remove_prefix(nBlank + kBlankLine.size());
  auto objData = platform::File::Open(strOleFileName, platform::OpenMode::kCreate);
  if (!objData) return kFailure;
  (void)objData->Write({reinterpret_cast<const unsigned char*>(strData.data()), strData.size()});
  return kSuccess;
}
