#include <string>
#include <string_view>

#include "archive/CkMht.h"
#include "base/CkByteData.h"
#include "base/CkString.h"
#include "body/LibraryText.h"
#include "ews/Settings.h"
#include "mime/CkEmail.h"
#include "mime/CkFileAccess.h"
#include "mime/CkMime.h"
#include "platform/Files.h"
#include "platform/NarrowText.h"
#include "target/CTarnyOutlookHandler.h"

// Messages made of work files.
namespace {

// Each page has an archive maker of its own: one that made another archive before would label this
// page with the charset that the other named. Pictures are linked by Content-ID; with the safe
// switch nothing comes from outside of the page's folder.
void Prepare(CkMht& objMht) {
  objMht.put_UseCids(true);
  objMht.put_ConfineToFolder(ews::Settings().bSafe);
  objMht.put_NoNetwork(ews::Settings().bSafe);
  objMht.put_JudgeByBytes(ews::Settings().bSafe);
}

bool Write(platform::File& objFile, std::string_view strBytes) {
  return objFile.Write({reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()});
}

}  // namespace

CString CTarnyOutlookHandler::ConvertHtmlToMime(CString strHtmlFileLoc) {
  CkMht objMht;
  Prepare(objMht);
  CkString strMime;
  if (!objMht.GetMHT(LibraryText(strHtmlFileLoc).getString(), strMime)) return {};
  std::string_view strBytes = strMime.getString();
  const CString strEml = strHtmlFileLoc + u".eml";
  auto objFile = platform::File::Open(strEml, platform::OpenMode::kCreateRead);
  if (!objFile) return platform::NarrowToWide(strBytes);  // kept: no path, and nothing can be read
  // kept: as many bytes as there are characters, which cuts the end off in a double-byte page
  if (!ews::Settings().bSafe) {
    strBytes = strBytes.substr(0, platform::NarrowToWide(strBytes).size());
  }
  return Write(*objFile, strBytes) ? strEml : CString();
}

int CTarnyOutlookHandler::EncodeWithString(CkMime* mime, CString strImagePath,
                                           CString strFileName) {
  const CString strSource = strImagePath + strFileName;
  const CString strTemp = strImagePath + u"Temp.min";
  const CString strDecoded = strImagePath + u"Mime.min";
  // One that an earlier item left would keep this one from its name, and be taken for it.
  if (ews::Settings().bSafe) (void)platform::DeleteFileAt(strTemp);
  (void)platform::RenameFile(strSource, strTemp);
  (void)mime->LoadMimeFile(LibraryText(strTemp).getString());  // else what the object holds goes on
  mime->SetHeaderField("Content-Transfer-Encoding", "binary");
  CkByteData objBytes;
  (void)mime->GetMimeBytes(objBytes);
  CkFileAccess objFiles;
  (void)objFiles.WriteEntireFile(LibraryText(strDecoded).getString(), objBytes);
  (void)FinalIamge(strDecoded, strSource);
  (void)platform::DeleteFileAt(strTemp);
  (void)platform::DeleteFileAt(strDecoded);
  return kSuccess;
}

CString CTarnyOutlookHandler::DecodeStringEML(CString strTempath, CString strFrom,
                                              CString strSubject, CString) {
  CkMht objMht;
  Prepare(objMht);
  const char* const pszMime = objMht.getEML(LibraryText(strTempath + u"ch111.html").getString());
  CkEmail objEmail;
  if (!objMht.get_LastMethodSuccess() || !objEmail.SetFromMimeText(pszMime)) return {};
  objEmail.put_Utf8(ews::Settings().bSafe);  // kept: else the two are UTF-8 read as ANSI text
  objEmail.put_Subject(LibraryText(strSubject).getUtf8());
  objEmail.put_From(LibraryText(strFrom).getUtf8());
  objEmail.put_Utf8(false);
  (void)objEmail.SaveEml(LibraryText(strTempath + u"EmlFile.Eml").getString());
  return {};
}
