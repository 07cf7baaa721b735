#include "ews/SoapReader.h"

#include <algorithm>
#include <charconv>

#include "ews/XmlNames.h"
#include "platform/Unicode.h"

namespace ews {
namespace {

std::string FullText(pugi::xml_node objNode) {
  std::string strText;
  for (const pugi::xml_node objChild : objNode.children()) {
    if (objChild.type() == pugi::node_pcdata || objChild.type() == pugi::node_cdata) {
      strText += objChild.value();
    }
  }
  return strText;
}

std::optional<long long> ReadNumber(std::string_view strText) {
  long long nValue = 0;
  const auto [pEnd, eError] =
      std::from_chars(strText.data(), strText.data() + strText.size(), nValue);
  if (eError != std::errc() || pEnd != strText.data() + strText.size()) return std::nullopt;
  return nValue;
}

// <t:MessageXml><t:Value Name="BackOffMilliseconds">297749</t:Value></t:MessageXml>
std::optional<std::chrono::milliseconds> ReadBackOff(pugi::xml_node objMessageXml) {
  for (const pugi::xml_node objValue : objMessageXml.children()) {
    if (LocalName(objValue) != "Value") continue;
    if (std::string_view(objValue.attribute("Name").value()) != "BackOffMilliseconds") continue;
    const auto nValue = ReadNumber(FullText(objValue));
    if (!nValue || *nValue < 0) return std::nullopt;
    return std::chrono::milliseconds(std::min<long long>(*nValue, kMaxBackOff.count()));
  }
  return std::nullopt;
}

SoapFault ReadFault(pugi::xml_node objFault) {
  SoapFault objResult;
  objResult.strText = FullText(Child(objFault, "faultstring"));
  const pugi::xml_node objDetail = Child(objFault, "detail");
  objResult.strCode = FullText(Child(objDetail, "ResponseCode"));
  if (objResult.strCode.empty()) {
    const std::string strCode = FullText(Child(objFault, "faultcode"));
    objResult.strCode = strCode.substr(strCode.find(':') + 1);
  }
  if (objResult.strText.empty()) objResult.strText = FullText(Child(objDetail, "Message"));
  if (objResult.strText.empty()) objResult.strText = objResult.strCode;
  objResult.nBackOff = ReadBackOff(Child(objDetail, "MessageXml"));
  return objResult;
}

FolderRecord ReadFolder(pugi::xml_node objFolder) {
  FolderRecord objRecord;
  objRecord.strElement = LocalName(objFolder);
  objRecord.strId = Child(objFolder, "FolderId").attribute("Id").value();
  objRecord.strDisplayName = FullText(Child(objFolder, "DisplayName"));
  objRecord.strClass = FullText(Child(objFolder, "FolderClass"));
  return objRecord;
}

void ReadAttachmentIds(pugi::xml_node objAttachments, std::vector<std::string>& arrIds) {
  for (const pugi::xml_node objAttachment : objAttachments.children()) {
    const pugi::xml_node objId = Child(objAttachment, "AttachmentId");
    if (objId) arrIds.emplace_back(objId.attribute("Id").value());
  }
}

// Servers write a tag in hexadecimal, "0x1035", or in decimal.
int ReadTag(std::string_view strText) {
  const bool bHex = strText.starts_with("0x") || strText.starts_with("0X");
  if (bHex) strText.remove_prefix(2);
  int nTag = 0;
  const char* pEnd = strText.data() + strText.size();
  const auto objEnd = std::from_chars(strText.data(), pEnd, nTag, bHex ? 16 : 10);
  return objEnd.ec == std::errc() && objEnd.ptr == pEnd ? nTag : 0;
}

void ReadProperties(pugi::xml_node objItem, std::vector<PropertyRecord>& arrProperties) {
  for (const pugi::xml_node objProperty : objItem.children()) {
    if (LocalName(objProperty) != "ExtendedProperty") continue;
    const pugi::xml_node objUri = Child(objProperty, "ExtendedFieldURI");
    arrProperties.push_back({ReadTag(objUri.attribute("PropertyTag").value()),
                             objUri.attribute("PropertyName").value(),
                             FullText(Child(objProperty, "Value"))});
  }
}

MailboxRecord ReadMailbox(pugi::xml_node objMailbox) {
  return {FullText(Child(objMailbox, "Name")), FullText(Child(objMailbox, "EmailAddress"))};
}

std::vector<MailboxRecord> ReadMailboxes(pugi::xml_node objList) {
  std::vector<MailboxRecord> arrMailboxes;
  for (const pugi::xml_node objMailbox : objList.children()) {
    if (LocalName(objMailbox) == "Mailbox") arrMailboxes.push_back(ReadMailbox(objMailbox));
  }
  return arrMailboxes;
}

ItemRecord ReadItem(pugi::xml_node objItem) {
  ItemRecord objRecord;
  objRecord.strElement = LocalName(objItem);
  const pugi::xml_node objId = Child(objItem, "ItemId");
  objRecord.strId = objId.attribute("Id").value();
  objRecord.strChangeKey = objId.attribute("ChangeKey").value();
  objRecord.strClass = FullText(Child(objItem, "ItemClass"));
  objRecord.strSubject = FullText(Child(objItem, "Subject"));
  objRecord.nSize = ReadNumber(FullText(Child(objItem, "Size")));
  ReadProperties(objItem, objRecord.arrProperties);
  const pugi::xml_node objAttachments = Child(objItem, "Attachments");
  objRecord.bAttachments = !objAttachments.empty();
  ReadAttachmentIds(objAttachments, objRecord.arrAttachmentIds);
  objRecord.strImportance = FullText(Child(objItem, "Importance"));
  const pugi::xml_node objBody = Child(objItem, "Body");
  objRecord.strBodyType = objBody.attribute("BodyType").value();
  objRecord.strBody = FullText(objBody);
  for (const pugi::xml_node objCategory : Child(objItem, "Categories").children()) {
    if (LocalName(objCategory) == "String") {
      objRecord.arrCategories.push_back(FullText(objCategory));
    }
  }
  objRecord.objFrom = ReadMailbox(Child(Child(objItem, "From"), "Mailbox"));
  objRecord.arrTo = ReadMailboxes(Child(objItem, "ToRecipients"));
  objRecord.arrCc = ReadMailboxes(Child(objItem, "CcRecipients"));
  objRecord.arrBcc = ReadMailboxes(Child(objItem, "BccRecipients"));
  if (const pugi::xml_node objRead = Child(objItem, "IsRead")) {
    const std::string strRead = FullText(objRead);
    objRecord.bRead = strRead == "true" || strRead == "1";
  }
  return objRecord;
}

// A record of each element below; nRecords counts those of the whole answer, up to one more than
// may be.
template <typename Record, typename Read>
void ReadEach(pugi::xml_node objParent, std::vector<Record>& arrRecords, size_t& nRecords,
              Read fnRead) {
  for (const pugi::xml_node objNode : objParent.children()) {
    if (objNode.type() != pugi::node_element) continue;
    if (nRecords > kMostRecords || ++nRecords > kMostRecords) return;
    arrRecords.push_back(fnRead(objNode));
  }
}

void ReadFolders(pugi::xml_node objParent, ResponseMessage& objMessage, size_t& nRecords) {
  ReadEach(Child(objParent, "Folders"), objMessage.arrFolders, nRecords, &ReadFolder);
}

void ReadItems(pugi::xml_node objParent, ResponseMessage& objMessage, size_t& nRecords) {
  ReadEach(Child(objParent, "Items"), objMessage.arrItems, nRecords, &ReadItem);
}

ResponseMessage ReadMessage(pugi::xml_node objNode, size_t& nRecords) {
  ResponseMessage objMessage;
  objMessage.strElement = LocalName(objNode);
  objMessage.bError = std::string_view(objNode.attribute("ResponseClass").value()) == "Error";
  objMessage.strText = FullText(Child(objNode, "MessageText"));
  objMessage.strCode = FullText(Child(objNode, "ResponseCode"));
  objMessage.nBackOff = ReadBackOff(Child(objNode, "MessageXml"));
  if (const pugi::xml_node objRoot = Child(objNode, "RootFolder")) {
    const auto nTotal = ReadNumber(objRoot.attribute("TotalItemsInView").value());
    objMessage.nTotalItemsInView =
        static_cast<int>(std::clamp(nTotal.value_or(0), 0LL, 2147483647LL));
    const std::string_view strLast = objRoot.attribute("IncludesLastItemInRange").value();
    objMessage.bLastInRange = strLast == "true" || strLast == "1";
    ReadFolders(objRoot, objMessage, nRecords);
    ReadItems(objRoot, objMessage, nRecords);
  }
  ReadFolders(objNode, objMessage, nRecords);
  ReadItems(objNode, objMessage, nRecords);
  ReadAttachmentIds(Child(objNode, "Attachments"), objMessage.arrAttachmentIds);
  return objMessage;
}

// True for an 8-bit text that names a charset which the parser does not know, and needs it.
bool IsOfUnknownCharset(const pugi::xml_document& objDocument, std::string_view strXml) {
  const pugi::xml_node objFirst = objDocument.first_child();
  if (objFirst.type() != pugi::node_declaration) return false;
  std::string strName = objFirst.attribute("encoding").value();
  std::transform(strName.begin(), strName.end(), strName.begin(),
                 [](char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + 32) : ch; });
  const bool bKnown = strName.empty() || strName.starts_with("utf-") || strName == "iso-8859-1" ||
                      strName == "latin1";
  return !bKnown && !platform::IsValidUtf8(strXml);
}

constexpr std::string_view kTooManyParts = "has more parts than are read";

// Why a text is no answer to be read; "" for one that is.
std::string_view WhyNoAnswer(const pugi::xml_document& objDocument, XmlText eText,
                             std::string_view strXml) {
  if (eText == XmlText::kTooMuchMarkup) return kTooManyParts;
  if (eText == XmlText::kMalformed || !Child(Child(objDocument, "Envelope"), "Body")) {
    return kNoMailboxAnswer;
  }
  if (eText == XmlText::kDocumentType) return "defines a document type, which none may";
  if (IsOfUnknownCharset(objDocument, strXml)) return "is in a charset that is not known here";
  return "";
}

}  // namespace

std::optional<SoapResponse> ReadSoapResponse(std::string_view strXml, std::string_view* pWhy) {
  pugi::xml_document objDocument;
  const XmlText eText = ParseXml(objDocument, strXml);
  const std::string_view strWhy = WhyNoAnswer(objDocument, eText, strXml);
  if (pWhy) *pWhy = strWhy;
  if (!strWhy.empty()) return std::nullopt;
  const pugi::xml_node objBody = Child(Child(objDocument, "Envelope"), "Body");
  SoapResponse objResponse;
  if (const pugi::xml_node objFault = Child(objBody, "Fault")) {
    objResponse.objFault = ReadFault(objFault);
    return objResponse;
  }
  size_t nRecords = 0;
  for (const pugi::xml_node objAnswer : objBody.children()) {
    ReadEach(Child(objAnswer, "ResponseMessages"), objResponse.arrMessages, nRecords,
             [&](pugi::xml_node objNode) { return ReadMessage(objNode, nRecords); });
  }
  if (nRecords <= kMostRecords) return objResponse;
  if (pWhy) *pWhy = kTooManyParts;
  return std::nullopt;
}

}  // namespace ews
