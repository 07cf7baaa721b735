#include "ews/FindItems.h"

#include <array>

#include "ews/ExchangeService.h"
#include "ews/SoapWriter.h"

namespace ews {
namespace {

constexpr int kMessageId = 0x1035;  // the property's tag
constexpr std::array<std::string_view, 3> kFields{"item:ItemClass", "item:Subject", "item:Size"};

void WriteShape(SoapWriter& objWriter) {
  objWriter.Start(SoapWriter::kMessages, "ItemShape");
  objWriter.Element(SoapWriter::kTypes, "BaseShape", std::string_view("IdOnly"));
  objWriter.Start(SoapWriter::kTypes, "AdditionalProperties");
  for (const std::string_view strField : kFields) {
    objWriter.Start(SoapWriter::kTypes, "FieldURI");
    objWriter.Attribute("FieldURI", strField);
    objWriter.End();
  }
  MessageIdProperty().WriteTo(objWriter);
  ItemKeyProperty().WriteTo(objWriter);
  objWriter.End();
  objWriter.End();
}

FoundItem ItemOf(const ItemRecord& objRecord) {
  FoundItem objItem;
  objItem.strId = CString::FromUtf8(objRecord.strId);
  objItem.strClass = CString::FromUtf8(objRecord.strClass);
  objItem.strSubject = CString::FromUtf8(objRecord.strSubject);
  objItem.nSize = objRecord.nSize;
  for (const PropertyRecord& objProperty : objRecord.arrProperties) {
    const CString strValue = CString::FromUtf8(objProperty.strValue);
    if (objProperty.nTag == kMessageId) objItem.strMessageId = strValue;
    if (CString::FromUtf8(objProperty.strName) == kItemKeyName) objItem.strKey = strValue;
  }
  return objItem;
}

}  // namespace

ExtendedPropertyDefinition ItemKeyProperty() {
  return ExtendedPropertyDefinition::PublicString(CString(kItemKeyName));
}

ExtendedPropertyDefinition MessageIdProperty() { return {kMessageId, MapiPropertyType::String}; }

FindItemsResults ExchangeService::FindItems(const FolderId& objParent, const SearchFilter* pFilter,
                                            const ItemView& objView) {
  using enum SoapWriter::Vocabulary;
  const ResponseMessage objAnswer = CallForOne(Effect::kReads, [&](SoapWriter& objWriter) {
    objWriter.Start(kMessages, "FindItem");
    objWriter.Attribute("Traversal", std::string_view("Shallow"));
    WriteShape(objWriter);
    objWriter.Page("IndexedPageItemView", objView.PageSize(), objView.Offset());
    WriteSearch(objWriter, pFilter, objParent);
    objWriter.End();
  });
  FindItemsResults objResults;
  // A server that gives nothing has no more, whatever it says.
  objResults.bLastPage = objAnswer.bLastInRange || objAnswer.arrItems.empty();
  for (const ItemRecord& objRecord : objAnswer.arrItems) {
    objResults.arrItems.push_back(ItemOf(objRecord));
  }
  return objResults;
}

}  // namespace ews
