#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "body/BodyText.h"
#include "ews/Settings.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/NarrowText.h"
#include "platform/Paths.h"
#include "target/CTarnyOutlookHandler.h"

namespace {

// The first line of a list of images, empty for an empty one; nothing if it cannot be opened. With
// the safe switch in whatever form its bytes show, without it in 16-bit units.
std::optional<CString> FirstImage(const CString& strList) {
  constexpr std::uint64_t kMostBytes = 65536;
  if (!ews::Settings().bSafe) {
    auto objReader = platform::WideLineReader::Open(strList);
    if (!objReader) return {};
    CString strImage;
    (void)objReader->ReadLine(strImage);
    return strImage;
  }
  auto objFile = platform::File::Open(strList, platform::OpenMode::kRead);
  if (!objFile) return {};
  std::string strBytes(static_cast<std::size_t>(std::min(objFile->Length(), kMostBytes)), '\0');
  strBytes.resize(
      objFile->Read({reinterpret_cast<unsigned char*>(strBytes.data()), strBytes.size()}));
  const CString strText = BodyText(strBytes);
  return CString(strText.View().substr(0, strText.View().find(u'\n'))).Trim();
}

}  // namespace

bool CTarnyOutlookHandler::ConvertImageToHTML(CString) {
  const std::optional<CString> strImage = FirstImage(GetCurrPath() + u"ImageAttchment.txt");
  if (!strImage) return false;
  auto objPage =
      platform::File::Open(GetCurrPath() + u"Imagech111.html", platform::OpenMode::kCreate);
  if (!objPage) return true;
  // kept: the fixed size, and the blank behind "border="
  const CString strPage = CString(u"<html><head></head><body><img src=\"") + *strImage +
                          u"\" height=\"946\" width=\"1353\" border= \"0\"></body></html>";
  const std::string strBytes = platform::ToTextMode(
      ews::Settings().bSafe ? strPage.ToUtf8() : platform::WideToNarrow(strPage));
  // A page that is cut short is the same to the caller as one that could not be made.
  (void)objPage->Write({reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()});
  return true;
}
