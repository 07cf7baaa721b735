#include <string>

#include "ews/Settings.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/NarrowText.h"
#include "platform/Paths.h"
#include "target/CTarnyOutlookHandler.h"

bool CTarnyOutlookHandler::ConvertImageToHTML(CString) {
  auto objList = platform::WideLineReader::Open(GetCurrPath() + u"ImageAttchment.txt");
  if (!objList) return false;
  CString strImage;
  (void)objList->ReadLine(strImage);  // an empty list makes a page without a name
  const bool bSafe = ews::Settings().bSafe;
  if (bSafe) strImage.Trim();  // of its CR
  auto objPage =
      platform::File::Open(GetCurrPath() + u"Imagech111.html", platform::OpenMode::kCreate);
  if (!objPage) return true;
  // kept: the fixed size, and the blank behind "border="
  const CString strPage = CString(u"<html><head></head><body><img src=\"") + strImage +
                          u"\" height=\"946\" width=\"1353\" border= \"0\"></body></html>";
  const std::string strBytes =
      platform::ToTextMode(bSafe ? strPage.ToUtf8() : platform::WideToNarrow(strPage));
  // A page that is cut short is the same to the caller as one that could not be made.
  (void)objPage->Write({reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()});
  return true;
}
