#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "ews/CWebAccessHandler.h"
#include "ews/EmailMessage.h"
#include "pipeline/ST_EML_INFO.h"
#include "pipeline/SqlLIteHandler.h"
#include "platform/CList.h"
#include "platform/CLogManager.h"
#include "platform/CString.h"
#include "platform/CStringArray.h"
#include "target/RdoWrappers.h"

class CkMime;
class TextLines;
struct SaveTexts;    // pipeline/ImportOtherTypes.cpp
struct SecondPlace;  // there

namespace ews {
class Appointment;
class Contact;
class ContactGroup;
class Task;
struct RefusedOccurrence;
}  // namespace ews

// Everything that lasts between two items: the connection to the target, the duplicate ledger, the
// log writer, and the settings that came with the logon and the folder. The item pipeline and the
// body preparation are methods of this class; their bodies live in the folder of their concern.
class CTarnyOutlookHandler {
 public:
  static constexpr int kSuccess = 1;
  static constexpr int kFailure = 0;

  // Opens the ledger in the program folder and ensures its table. A ledger that cannot be opened
  // stops nothing: its queries fail quietly, and so each item that is checked counts as known.
  CTarnyOutlookHandler();
  virtual ~CTarnyOutlookHandler() = default;
  CTarnyOutlookHandler(const CTarnyOutlookHandler&) = delete;
  CTarnyOutlookHandler& operator=(const CTarnyOutlookHandler&) = delete;

  std::unique_ptr<SqlLIteHandler> m_pSqlHandler;  // never null
  CWebAccessHandler m_objWebAccess;
  CString m_strLoginId;           // whose ledger rows count
  std::int32_t m_nFlag = 0;       // not 0: addresses are cleaned up before they are set
  bool m_bNewFolderMode = false;  // mail goes to m_objWebAccess.m_fldNewFolder, for good
  CStringArray m_arrImagePaths;
  CLogManager m_objLogManager;  // the dialog sets its file name
  CString m_strErrorMsg;
  CString m_strFolderName;         // path of the current folder, under which the ledger keeps rows
  bool m_bAllowDuplicates = true;  // reads the wrong way round: true turns the check ON
  std::int32_t m_bIncludeSplChar = 0;

  // The local store, where one is the target (target/RdoWrappers.h).
  bool m_bChangeView = false;  // a new calendar folder is one of mail; never set
  IRDOSession m_objRdoSession;
  IRDOProfiles m_objRdoProfiles;
  iRDOStores m_objRdoStores;
  IRDOPstStore m_objRdoPstStore;
  IRDOFolder m_objCurrFolder;
  IRDOFolder m_objParentFolder;   // only ever cleared
  std::int32_t m_bStop = 0;       // not 0: whatever concerns stores gives up; never set
  CString m_strFolderType;        // never set
  std::int32_t m_hParentWnd = 0;  // of the session's logon

  // ---- Lifecycle and accessors (target/CTarnyOutlookHandler.cpp) ----

  void CloseSqlliteInstance();  // sic; for good, harmless the second time
  void ClearPrevisInstance();   // sic; releases the stores, harmless the second time
  void SetFlag(int n) { m_nFlag = n; }
  void SetAllowDuplicates(bool bAllowDuplicates) { m_bAllowDuplicates = bAllowDuplicates; }
  bool GetAllowDuplicates() const { return m_bAllowDuplicates; }
  void SetIncludeSplChar(int bIncludeSplChar) { m_bIncludeSplChar = bIncludeSplChar; }
  void SetLoginId(CString str) { m_strLoginId = std::move(str); }
  CString GetLoginId() const { return m_strLoginId; }
  void SetErrorMsg(CString strErrorMsg) { m_strErrorMsg = std::move(strErrorMsg); }
  CString GetErrorMsg() const { return m_strErrorMsg; }
  void SetFolderName(CString strFolderName) { m_strFolderName = std::move(strFolderName); }
  int InitOutlookObject() { return kSuccess; }

  // As the web handler's (ews/CWebAccessHandler.h), but true exactly if strErrorMsg stayed empty:
  // in the token route a failure gives no text and so counts as success.
  bool LogonUserAndServer(CString strLoginId, CString strLoginPassword,
                          CString strImpersonatedUserMail, CString strTargetType,
                          CString& strErrorMsg, CString& strTenantId, CString& strClientId,
                          CString& strClientSecret, int iConnectionType, CString& strLogFilePath);
  bool RefreshModernConnectionMethod(CString strTenantId, CString strClientId,
                                     CString strClientSecret, CString strImpersonatedUserMail,
                                     CString strLogFilePath, CString strTargetType);
  int CheckArchiveMailboxLogin(const ews::FolderId& olF2);
  int CreateFolderInStore(CString strFolder, int nType, const ews::FolderId& olF2,
                          bool bChangeViewOfCalender);
  // From then on mail is saved to the new folder.
  int CreateNewFolderInStore(CString strFolder, int nType, const ews::FolderId& olF2,
                             bool bChangeViewOfCalender);
  void SetFolderStore(CString strFolder, CString strGroup);

  // ---- Store files (target/PstFiles.cpp). None of these four throws. ----

  // Makes a new store and attaches it as m_objRdoPstStore; another name is taken where the file
  // exists. The path must have ".PST" in it, in any case, or the search for a name never ends.
  int CreatePstFile(CString strPstPath);
  bool CreatePstFileWithRedemption(CString strFileName);
  int CreatePstFileUsingOutlookAutomation(CString strPath);
  // Attaches the store of exactly that path, in whichever profile it is. True also where none has
  // it: m_objRdoPstStore is another one then, so compare its path. False without profiles.
  bool OpenPstFile(CString strFileName);

  // ---- Folders of the store (target/StoreFolders.cpp) ----

  // A list stands for the children of a folder; an empty one for a failure.
  bool CheckIfFolderExist(CString strName, IRDOFolders olF2Temp);
  // Both make the folder m_objCurrFolder; where there is none of that name, that is cleared.
  IRDOFolders GetFolderHandle(CString strName, IRDOFolders olF2Temp);
  IRDOFolders MakeFolder(CString strName, IRDOFolders olF2Temp, CString ver);
  CString GetFolderType(CString sItem);
  // Finds or makes each level of a path (ews/FolderPath.h) below the list. A level that fails ends
  // the walk.
  IRDOFolders CreateFolder(CString foldername, IRDOFolders olF2, int nType);

  // ---- Profiles and their stores (target/Profiles.cpp) ----

  // 1 if there can be a session at all; p_strArr stays as it is.
  int GetAllExchangeProfiles(CStringArray* p_strArr);
  // Adds names and paths of a profile's stores, index by index.
  int GetAllProfilesPath(CString strProfileName, CStringArray& strArrStore,
                         CStringArray& strArrFilePath);
  // Makes the first store of that name m_objRdoPstStore; the path is not used.
  int SetEnvironmentForExchange(CString strProfileName, CString strStoreName, CString strFilePath);

  // ---- The store as the target (target/StoreItems.cpp) ----

  bool HasStore() const { return !m_objRdoPstStore.IsEmpty(); }
  // Attaches the store of that path, made where there is none. Does not throw.
  bool LogonToStore(CString strPath);
  // Makes the folder of that path the current one; what goes wrong is told by the next item.
  void GoToStoreFolder(CString strFolder, int nType);

  // ---- Import driver (pipeline/ImportDriver.cpp) ----

  // Reads the descriptor of the work folder and saves the item. strFilePath is the folder of its
  // files with a trailing backslash, strLogFilepath the run's status log below the program folder.
  // 1: saved, or skipped as known, or of unknown type. 0: not saved, with the text to report in
  // strErr, which is left alone otherwise. Does not throw.
  int ImportItem(CString strFilePath, CString& strErr, CString strLogFilepath);
  // Place of the special-character filter: the result is dropped, and nothing calls it.
  void ReplaceSplChar(CString strFindSplChar);

  // ---- Duplicate ledger (pipeline/Ledger.cpp) ----

  // True for a mail that the ledger knows, and for one that it cannot be asked about.
  bool CheckIfDublicateItemPresent(const CString& strMessageId);  // sic
  // The same for an appointment or a task, where it has an id and the check is on.
  bool IsKnownItem(const ST_EML_INFO& objInfo);
  // One row for the item in the current folder; nothing for an empty id. Failures are swallowed.
  void EnterLedgerRow(const CString& strMessageId);

  // ---- Mail items (pipeline/MailItems.cpp) ----

  // Fills a new message from the record and the files of strHtmPath. 1: to be saved; 0: a duplicate
  // or a failure. Cleans the four address fields of the record.
  int SaveEmailItem(ews::EmailMessage& pobjCkEmail, CString strHtmPath, ST_EML_INFO* p_ST_EML_INFO);
  void SetToFromBodyCreationDateProrityReadSubject(ews::Item& pobjCkEmail,  // sic
                                                   COleDateTime date, CString strSubject,
                                                   bool bRead);
  CString GetEmailAddress(CString str);
  void SaveImageAttachment(ews::EmailMessage& pobjCkEmail, CString strImageFile);
  void SaveAttachment(ews::EmailMessage& pobjCkEmail);

  // ---- Address lists (pipeline/AddressLists.cpp; how they are divided: pipeline/AddressLists.h)
  // ----

  void SaveRecipients(CString str, ews::EmailAddressCollection& emailRecipients);
  void SaveAttendees(CString str, ews::AttendeeCollection& emailAttendees);
  void GetMembersList(CString strMembers, CList<CString, CString>* pstrListMembers);

  // ---- Calendar items (pipeline/CalendarItems.cpp) ----

  // Each saver fills a new item from the record and the files of strHtmPath, a folder that ends in
  // a backslash. 1: to be saved; 0: to be skipped, as known or for a failure. With the safe switch
  // a failure is thrown instead.
  int SaveCalenderItem(ews::Appointment& objCkEmail, CString strHtmPath,  // sic
                       ST_EML_INFO* p_ST_EML_INFO);

  // ---- Task items (pipeline/TaskItems.cpp) ----

  int SaveTaskItem(ews::Task& objCkEmail, CString strHtmPath, ST_EML_INFO* p_ST_EML_INFO);

  // ---- Contact items (pipeline/ContactItems.cpp; the labels: pipeline/ContactLabels.cpp) ----

  // An entry for a group of contacts is to be saved, too, without any field.
  int SaveContactItem(ews::Contact& objCkEmail, CString strHtmPath, ST_EML_INFO* pobjST_EML_INFO);
  // Sets what the label stands for; nothing for one that is not known.
  void SaveContactItemInner(CString strItemType, CString strItemValue, ews::Contact& objCkEmail);
  int GetTagCount(CString folderPathName);        // of "</ITEM>"
  CString RemoveTag(CString folderPathName);      // up to the first "</ITEM>", without tags
  CString CutContactItem(CString folderPathName,  // the item of that number, from 0, without tags,
                         int i);                  // or ""
  // True if the first item's label says that the contact is a group's entry.
  bool GetIfGroup(CString strBody, CString& strChildGroupName);

  // ---- Lists of people (pipeline/DistListItems.cpp) ----

  int SaveDistListItem(ews::ContactGroup& objContactGroup, ST_EML_INFO* pobjST_EML_INFO);  // 1

  // ---- Lists of people in a local store (pipeline/DistListStore.cpp) ----

  // Makes two lists, unless they are there, and the child a member of the parent. What fails is
  // passed over.
  void SaveDLGroup(IRDOItems* iRdoItems, CString strAddressGroupName, CString strChildGroupName);

  // ---- Contacts that are there already (pipeline/ItemComparison.cpp) ----

  // Whether all fields of two contacts are the same, to the character.
  bool IsEqual(IRDOContactItem rdonote, IRDOContactItem childItem);
  // Whether a folder holds such a contact; ifGetPrt: which is put into gIRDOContactItem then.
  bool CheckIfDublicateItemPresent(IRDOItems* iRdoItems, IRDOContactItem rdonote,  // sic
                                   bool ifGetPrt);
  // Whether the group holds such a contact among those seen, and releases it then; if not, it is
  // added to them. Throws std::invalid_argument where a row seen has no group.
  bool CheckIfDublicateItemPresent(CString strGroupName, IRDOContactItem* rdonote);  // sic
  void AddToGroupList(CString strGroupName, IRDOContactItem rdonote);

  // ---- Work file readers (body/WorkFileReaders.cpp; free functions in body/WorkFileReaders.h)
  // ----

  // A work file as text, whether 16-bit or narrow: the longer of its two readings. "" when it
  // cannot be opened, *nBodyLen then stays; else it is the length in bytes. bDisp is ignored.
  CString GetStringFromFile(CString strFilePath, int* nBodyLen, bool bDisp);
  // 16-bit lines as they are, each with "\n" at its end.
  CString GetStringFromFileTemp(CString strFilePath, int* nBodyLen, bool bDisp);
  // Without certain control characters while the address clean-up is on, else unchanged.
  CString ReplaceUnicodeCharacters(CString str);
  // 1 for a Content-Type line of an image type, else 0; FindDotExtensionn for a file name.
  int FindExtension(CString strExtension);
  int FindDotExtensionn(CString strExtension);  // sic
  // The first element that holds strFind, or "".
  CString ExtractTYPEFromeFile(CStringArray& strARRFiletype, CString strFind);  // sic

  // ---- Image pages (body/ImagePages.cpp) ----

  // Writes the page "Imagech111.html" around the image that "ImageAttchment.txt" names; false when
  // that list cannot be opened. The argument is not used.
  bool ConvertImageToHTML(CString strImagePath);

  // ---- Image parts of a message (body/ImageParts.cpp) ----

  // Makes files of the pictures that follow the HTML in a raw message, in the work folder, each
  // named by its Content-ID; adds the names to the list file strFileName there and to
  // m_arrImagePaths. Always 1.
  int ExtractImageFromFile(CkMime* mime, CString strImageFile, CString strFileName);
  // Writes what stands behind the first blank line of strImage, or all where there is none within
  // the first 6,556 bytes, to strOleFileName. 0 when that cannot be created, else 1.
  int FinalIamge(CString strImage, CString strOleFileName);  // sic

  // ---- EML building (body/EmlBuilding.cpp) ----

  // Makes a web archive of an HTML file and its pictures, beside it with ".eml" behind its name.
  // Its path; "" when the page cannot be read; the archive's text when its file cannot be made.
  CString ConvertHtmlToMime(CString strHtmlFileLoc);
  // Puts the decoded bytes of a MIME entity in place of its file. The folder ends in a backslash.
  // Always 1: an entity that cannot be read leaves there what mime still holds.
  int EncodeWithString(CkMime* mime, CString strImagePath, CString strFileName);
  // Makes "EmlFile.Eml" of "ch111.html" in a folder that ends in a backslash, or none. The date is
  // not used. Always "".
  CString DecodeStringEML(CString strTempath, CString strFrom, CString strSubject, CString strDate);

  // ---- Body extraction (body/BodyExtraction.cpp) ----

  // Writes the HTML text of "EmlFile.Eml" to "TextFile1.txt" as plain text, in a folder without a
  // backslash at its end; a mail without HTML leaves none, nor replaces one that is there. With the
  // safe switch no character is lost, and plain text counts too. 1 when there is no such mail,
  // else 0.
  int GetHTMLbODY(CString strHTMLfile);  // sic

  // ---- Pages in raw messages (body/RawBodies.cpp) ----

  // The transfer encoding and the charset at the top of a raw message, each what it was where none
  // is named. False where the text needs no decoding.
  bool GetCharater(CString strFilepath, CString& strEncoding, CString& strcharset);  // sic
  // Makes "ch111.html", decoded, of the HTML in "ssaa.txt", in a folder that ends in a backslash.
  // 1 when the end of the page was found. None is there afterwards for a text that names no
  // charset, or whose page runs into base64. The name is not used.
  int ExtractHtmlFile(CkMime* mime, CString strFilePath, CString strFileName);
  // Puts the decoded first part of a message in place of its file. 0 when that cannot be read: it
  // is "HtmlTemFile.txt" in the same folder then.
  int DecodeBodyString(CkMime* mime, CString strHTMLPath, CString strFileName);
  CString DecodeString(CString EnodeString);  // sic; always ""

  // ---- Raw messages (body/RawMessages.cpp) ----

  // Makes "EmlFile.Eml" of the HTML in "ssaa.txt", in a folder that ends in a backslash. None is
  // there afterwards where that text names no transfer encoding before it, or runs into base64.
  void CreateEML(CString strHTMLfilePath);

  // Runs one step of a saver: whatever it throws costs that step and not the item, and is told by
  // the log text, if any.
  template <typename STEP>
  void Guarded(const char16_t* pszLogText, STEP&& fnStep) {
    try {
      fnStep();
    } catch (...) {
      if (pszLogText) m_objLogManager.WriteLog(pszLogText);
    }
  }
  // Runs one step whose failure decides how it goes on.
  template <typename STEP>
  [[nodiscard]] static bool Succeeds(STEP&& fnStep) {
    try {
      fnStep();
      return true;
    } catch (...) {
      return false;
    }
  }

 private:
  // Saves an item that its saver has filled into the target's current folder. Throws
  // ServiceException, and StoreError for what the store says.
  void SaveItem(ews::Item& objItem);
  std::vector<ews::RefusedOccurrence> SaveToStore(ews::Item& objItem);
  void SetServiceTimeout(int nMilliseconds);  // a store needs none

  bool CreateSession();
  bool AttachStores();
  bool TakeStoreOfPath(const CString& strFileName);
  std::optional<int> LogonToProfile(const CString& strProfileName);

  struct ItemRun;  // one ImportItem call (pipeline/ItemRun.h)

  int ImportByType(const CString& strFilePath, CString& strErr, const CString& strLogFilepath);
  int ImportMail(ItemRun& objRun);
  int SaveMail(ItemRun& objRun, ews::EmailMessage& objMail);
  bool SaveReduced(ItemRun& objRun);
  int ImportMailToNewFolder(ItemRun& objRun);
  int Fail(ItemRun& objRun, const char16_t* pszLogText, const std::exception& objError);

  // pipeline/ImportOtherTypes.cpp
  int ImportOtherType(ItemRun& objRun);
  int ImportAppointment(ItemRun& objRun);
  int SaveAppointment(ItemRun& objRun, ews::Appointment& objItem);
  int SaveAppointmentAgain(ItemRun& objRun, ews::Appointment& objItem);
  CString StoreAppointment(ews::Appointment& objItem);
  int TellRefused(ItemRun& objRun, const CString& strRefused);
  int ImportTask(ItemRun& objRun);
  int SaveTask(ItemRun& objRun, ews::Task& objTask);
  int ImportContact(ItemRun& objRun);
  int ImportList(ItemRun& objRun);
  template <typename Save>
  std::optional<int> SaveOnce(ItemRun& objRun, const ews::Item& objItem, const SaveTexts& objTexts,
                              Save fnSave);
  int SaveElsewhere(ItemRun& objRun, ews::Item& objItem, const SecondPlace& objPlace,
                    const CString& strFolder);
  bool GoToFolder(const CString& strFolder, int nType, const ews::FolderId& objRoot);
  bool MakeReady(ews::Item& objItem, ItemRun& objRun);
  bool HasLedgerRow(const CString& strFolderInText, const CString& strMessageId);

  void FillAppointment(ews::Appointment& objItem, const ST_EML_INFO& objInfo);
  void FillTask(ews::Task& objTask, const ST_EML_INFO& objInfo);
  void SetContactFields(ews::Contact& objContact, const CString& strBody);
  void SetContactBody(ews::Contact& objContact, const CString& strHtmPath,
                      const CString& strRecordBody);
  IRDODistListItem FindList(const IRDOItems& objItems, int nCount, const CString& strName);

  void SetHeader(ews::EmailMessage& objMail, ST_EML_INFO& objInfo);
  void SetAddresses(ews::EmailMessage& objMail, ST_EML_INFO& objInfo);
  bool SetBody(ews::EmailMessage& objMail, const CString& strHtmPath);
  void SetImagePage(ews::EmailMessage& objMail, const CString& strPage);
  enum class BodyForm { kText, kPage };
  CString ReadBodyFile(const CString& strPath, BodyForm eForm);
  void SetMimeFromFile(ews::EmailMessage& objMail, const CString& strPath);
  bool SetRtfBody(ews::EmailMessage& objMail, const CString& strHtmPath);
  bool SetTextBody(ews::EmailMessage& objMail, const CString& strPath);
  void SetItemProps(ews::Item& objItem, const CString& strHtmPath);
  void SetLastBody(ews::EmailMessage& objMail, const CString& strHtmPath);
  bool ExtractImagePart(CkMime* mime, TextLines& objLines, std::string_view strFirst,
                        const CString& strList);
};
