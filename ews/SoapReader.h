#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Reads the server's answers into plain records. Elements are known by their local names. Paths of
// fixed depth are walked, so the nesting of an answer costs nothing, and what is not asked for is
// passed over.
namespace ews {

inline constexpr std::chrono::milliseconds kMaxBackOff{24 * 3600 * 1000};  // longer waits are cut

struct FolderRecord {
  std::string strElement;  // "Folder", "CalendarFolder", …
  std::string strId;
  std::string strDisplayName;
  std::string strClass;
};

// An extended property with one value.
struct PropertyRecord {
  int nTag = 0;         // 0 for one that has none
  std::string strName;  // of a named one
  std::string strValue;
};

struct MailboxRecord {
  std::string strName;
  std::string strAddress;
};

struct ItemRecord {
  std::string strElement;  // "Message", …
  std::string strId;
  std::string strChangeKey;
  std::string strClass;  // "IPM.Note", …
  std::string strSubject;
  std::optional<long long> nSize;  // bytes, as the server counts them
  std::vector<PropertyRecord> arrProperties;
  bool bAttachments = false;  // the answer lists attachments, be it none
  std::vector<std::string> arrAttachmentIds;
  std::string strImportance;
  std::string strBodyType;  // "HTML" or "Text"; empty where the answer has no body
  std::string strBody;
  std::vector<std::string> arrCategories;
  MailboxRecord objFrom;
  std::vector<MailboxRecord> arrTo, arrCc, arrBcc;
  std::optional<bool> bRead;
};

struct ResponseMessage {
  std::string strElement;  // "CreateItemResponseMessage", …
  bool bError = false;     // ResponseClass="Error"
  std::string strText;     // MessageText, unchanged
  std::string strCode;     // ResponseCode
  std::optional<std::chrono::milliseconds> nBackOff;
  std::vector<FolderRecord> arrFolders;
  int nTotalItemsInView = 0;
  bool bLastInRange = false;  // no page follows
  std::vector<ItemRecord> arrItems;
  std::vector<std::string> arrAttachmentIds;
};

struct SoapFault {
  std::string strText;  // faultstring, unchanged
  std::string strCode;  // ResponseCode of the detail, or the fault code without its prefix
  std::optional<std::chrono::milliseconds> nBackOff;
};

struct SoapResponse {
  std::optional<SoapFault> objFault;
  std::vector<ResponseMessage> arrMessages;
};

// What ReadSoapResponse says of a text that is no SOAP: a page for people, or what broke off.
inline constexpr std::string_view kNoMailboxAnswer = "is no answer of a mailbox service";

// All text is UTF-8; a broken character of an answer in UTF-8 becomes U+FFFD where it is read on.
// Nothing for what is no SOAP envelope with a body, or one that is not to be trusted; *pWhy then
// says so, as what follows "The answer of the server". Does not throw.
std::optional<SoapResponse> ReadSoapResponse(std::string_view strXml,
                                             std::string_view* pWhy = nullptr);

}  // namespace ews
