#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "pipeline/ItemDescriptor.h"
#include "pipeline/ItemRun.h"
#include "pipeline/MailAddressing.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/Paths.h"
#include "target/CTarnyOutlookHandler.h"

// One item from its work files into the target folder. What comes out of a failing save decides how
// it goes on: the text "index is out of range" means that the item was saved all the same.
namespace {

constexpr int kFirstTimeout = 700000;  // ms, large mails on slow lines
constexpr int kRetryTimeout = 300000;  // ms
constexpr std::chrono::milliseconds kPauseAfterRetry{1000};

// A server may refuse the request before it reads what mail is in it; only the safe switch knows.
bool IsTooLarge(const CString& strMessage) {
  return strMessage.Contains(u"The message exceeds the maximum supported size") ||
         (ews::Settings().bSafe && strMessage.Contains(u" answered HTTP 413 "));
}

bool HasText(const ews::EmailMessage& objMail) {
  return objMail.GetMimeContent().IsSet() || (objMail.Body() && !objMail.Body()->Text().IsEmpty());
}

}  // namespace

int CTarnyOutlookHandler::ImportItem(CString strFilePath, CString& strErr, CString strLogFilepath) {
  try {
    return ImportByType(strFilePath, strErr, strLogFilepath);
  } catch (const std::exception& objError) {
    strErr = MessageOf(objError);
    m_objLogManager.WriteLogFile4(strLogFilepath, strErr);
    return kFailure;
  }
}

int CTarnyOutlookHandler::ImportByType(const CString& strFilePath, CString& strErr,
                                       const CString& strLogFilepath) {
  m_objLogManager.WriteLog(u"ImportItem_0");
  m_objLogManager.WriteLog(u"ImportItem_1");
  ItemRun objRun{strFilePath, strErr, strLogFilepath, {}, {}};
  GetEmlInfo(&objRun.objInfo);
  objRun.strMessageKey = objRun.objInfo.strMessageId;
  m_objLogManager.WriteLog(u"ImportItem_2");
  if (objRun.objInfo.nItemType == TYPE_UNKNOWN) return kSuccess;
  if (objRun.objInfo.nItemType != TYPE_EMAIL) return ImportOtherType(objRun);
  return m_bNewFolderMode ? ImportMailToNewFolder(objRun) : ImportMail(objRun);
}

int CTarnyOutlookHandler::Fail(ItemRun& objRun, const char16_t* pszLogText,
                               const std::exception& objError) {
  m_objLogManager.WriteLog(pszLogText);
  objRun.strErr = MessageOf(objError);
  m_objLogManager.WriteLogFile4(objRun.strLogFilepath, objRun.strErr);
  return kFailure;
}

int CTarnyOutlookHandler::ImportMail(ItemRun& objRun) {
  SetServiceTimeout(kFirstTimeout);
  m_objLogManager.WriteLog(u"ImportItem_3");
  ews::EmailMessage objMail(m_objWebAccess.m_pService);
  int nFilled = kFailure;
  try {
    m_objLogManager.WriteLog(u" SaveEmailItem  in ");
    nFilled = SaveEmailItem(objMail, objRun.strFilePath, &objRun.objInfo);
    m_objLogManager.WriteLog(u" SaveEmailItem out ");
  } catch (const std::exception& objError) {
    return Fail(objRun, u"ImportItem_Catch1 ", objError);
  }
  if (nFilled != kSuccess) return kSuccess;
  try {
    m_objWebAccess.EnsureCurrentFolder();
  } catch (const std::exception& objError) {
    return Fail(objRun, u"The folder could not be made", objError);
  }
  return SaveMail(objRun, objMail);
}

int CTarnyOutlookHandler::SaveMail(ItemRun& objRun, ews::EmailMessage& objMail) {
  CString strMessage;
  try {
    m_objLogManager.WriteLog(u"Email Save in ");
    SaveItem(objMail);
    m_objLogManager.WriteLog(u" Email Save out ");
    EnterLedgerRow(objRun.strMessageKey);
    return kSuccess;
  } catch (const std::exception& objError) {
    strMessage = MessageOf(objError);
  }
  if (strMessage.Contains(u"index is out of range")) EnterLedgerRow(objRun.strMessageKey);
  m_objLogManager.WriteLog(u" Catch2 ");
  m_objLogManager.WriteLog(strMessage);
  m_objLogManager.WriteLogFile4(objRun.strLogFilepath, strMessage);
  if (IsTooLarge(strMessage)) {
    m_objLogManager.WriteLog(u" Find Can not ");
    if (!SaveReduced(objRun)) return kFailure;
  }
  // kept: a mail that was saved in a smaller form is told as too large all the same
  objRun.strErr = strMessage;
  return kFailure;
}

// The mail without its MIME content: its text, what the descriptor says, and the attachments that
// are files of their own. False when that fails in turn and has told why.
bool CTarnyOutlookHandler::SaveReduced(ItemRun& objRun) {
  const CString strEml = objRun.strFilePath + u"\\EmlFile.Eml";
  if (!platform::PathExists(strEml)) return true;
  if (ews::Settings().bSafe) {
    Guarded(u"The header of EmlFile.Eml is left out",
            [&] { FillFromMime(strEml, objRun.objInfo); });
  }
  (void)GetHTMLbODY(objRun.strFilePath);  // a mail without a text is saved without one
  (void)platform::DeleteFileAt(strEml);
  if (ews::Settings().bSafe) {  // else its page and the same files are what is sent again
    (void)platform::DeleteFileAt(objRun.strFilePath + u"Imagech111.html");
  }
  ews::EmailMessage objMail(m_objWebAccess.m_pService);
  try {
    m_objLogManager.WriteLog(u"catch SaveEmailItem in ");
    const int nFilled = SaveEmailItem(objMail, objRun.strFilePath, &objRun.objInfo);
    if (ews::Settings().bSafe && !HasText(objMail)) {
      m_objLogManager.WriteLog(u"The reduced mail has no text");
    }
    m_objLogManager.WriteLog(u"Catch SaveEmailItem out ");
    if (nFilled != kSuccess) return true;
  } catch (const std::exception& objError) {
    (void)Fail(objRun, u" Catch1 ", objError);
    return false;
  }
  try {
    m_objLogManager.WriteLog(u"Catch Email Save in ");
    SetServiceTimeout(kRetryTimeout);
    SaveItem(objMail);
    std::this_thread::sleep_for(kPauseAfterRetry);
    m_objLogManager.WriteLog(u"Catch Email Save out ");
    EnterLedgerRow(objRun.strMessageKey);
    return true;
  } catch (const std::exception& objError) {
    m_objLogManager.WriteLog(u" 2_Catch2 ");
    if (ews::Settings().bSafe && IsTooLarge(MessageOf(objError))) {
      const std::string strText = ews::WithoutStop(objError.what());
      return Fail(objRun, u" 2_Catch2 ",
                  std::runtime_error(strText + "; it was tried as text alone, and that is too "
                                               "large, too")) == kSuccess;
    }
    (void)Fail(objRun, MessageOf(objError).GetString(), objError);
    return false;
  }
}

int CTarnyOutlookHandler::ImportMailToNewFolder(ItemRun& objRun) {
  ews::EmailMessage objMail(m_objWebAccess.m_pService);
  const auto FailWith = [&](const char16_t* pszLogText, const std::exception& objError) {
    m_objLogManager.WriteLog(pszLogText);
    return Fail(objRun, MessageOf(objError).GetString(), objError);
  };
  int nFilled = kFailure;
  try {
    m_objLogManager.WriteLog(u"else SaveEmailItem in ");
    nFilled = SaveEmailItem(objMail, objRun.strFilePath, &objRun.objInfo);
    m_objLogManager.WriteLog(u"else SaveEmailItem out ");
  } catch (const std::exception& objError) {
    return FailWith(u" Catch3 ", objError);
  }
  if (nFilled != kSuccess) return kSuccess;
  try {
    m_objWebAccess.EnsureNewFolder();
    (void)ews::EmailMessage::Bind(m_objWebAccess.m_pService, objMail.Id(),
                                  ews::PropertySet::FirstClassProperties);
    m_objLogManager.WriteLog(u"else Email Save In ");
    SetServiceTimeout(kRetryTimeout);
    objMail.Save(m_objWebAccess.m_fldNewFolder);
    m_objLogManager.WriteLog(u" else Email Save out ");
    EnterLedgerRow(objRun.strMessageKey);
    return kSuccess;
  } catch (const std::exception& objError) {
    return FailWith(u" Catch4 ", objError);
  }
}

void CTarnyOutlookHandler::ReplaceSplChar(CString strFindSplChar) {
  auto objReader = platform::WideLineReader::Open(GetCurrLogPath() + u"IChar.txt");
  if (!objReader) return;
  CString strLine;
  while (objReader->ReadLine(strLine)) strFindSplChar.Replace(strLine, u"");
}
