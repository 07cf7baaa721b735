#include "ews/StoredMail.h"

#include <functional>
#include <string>
#include <string_view>

#include "ews/ExchangeService.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {

using enum SoapWriter::Vocabulary;
using Effect = ExchangeService::Effect;

namespace {

void WriteId(SoapWriter& objWriter, const CString& strId) {
  objWriter.Start(kTypes, "ItemId");
  objWriter.Attribute("Id", strId);
  objWriter.End();
}

// One change: the path of the field, and its new value within a mail, or none of it.
void WriteChange(SoapWriter& objWriter, const std::function<void()>& fnPath,
                 const std::function<void()>& fnValue) {
  objWriter.Start(kTypes, fnValue ? "SetItemField" : "DeleteItemField");
  fnPath();
  if (fnValue) {
    objWriter.Start(kTypes, "Message");
    fnValue();
    objWriter.End();
  }
  objWriter.End();
}

std::function<void()> PathOf(SoapWriter& objWriter, std::string_view strUri) {
  return [&objWriter, strUri] {
    objWriter.Start(kTypes, "FieldURI");
    objWriter.Attribute("FieldURI", strUri);
    objWriter.End();
  };
}

void WriteCategories(SoapWriter& objWriter, const std::vector<CString>& arrCategories) {
  const auto fnValue = [&] {
    objWriter.Start(kTypes, "Categories");
    for (const CString& str : arrCategories) objWriter.Element(kTypes, "String", str);
    objWriter.End();
  };
  WriteChange(objWriter, PathOf(objWriter, "item:Categories"),
              arrCategories.empty() ? std::function<void()>() : fnValue);
}

void WriteProperty(SoapWriter& objWriter, const MailChanges::Property& objProperty) {
  const auto fnPath = [&] { objProperty.objDefinition.WriteTo(objWriter); };
  const auto fnValue = [&] {
    ExtendedProperty{objProperty.objDefinition, *objProperty.nValue}.WriteTo(objWriter);
  };
  WriteChange(objWriter, fnPath, objProperty.nValue ? fnValue : std::function<void()>());
}

void WriteChanges(SoapWriter& objWriter, const MailChanges& objChanges) {
  if (objChanges.arrCategories) WriteCategories(objWriter, *objChanges.arrCategories);
  for (const MailChanges::Property& objProperty : objChanges.arrProperties) {
    WriteProperty(objWriter, objProperty);
  }
  if (!objChanges.bRead) return;
  WriteChange(objWriter, PathOf(objWriter, "message:IsRead"), [&] {
    objWriter.Element(kTypes, "IsRead", std::string_view(*objChanges.bRead ? "true" : "false"));
  });
}

}  // namespace

void UpdateMail(ExchangeService& objService, const CString& strId, const MailChanges& objChanges) {
  if (objChanges.IsEmpty()) return;
  // Twice does no more than once.
  (void)objService.CallForOne(Effect::kOnceAtMost, [&](SoapWriter& objWriter) {
    objWriter.Start(kMessages, "UpdateItem");
    objWriter.Attribute("ConflictResolution", WireName(ConflictResolutionMode::AlwaysOverwrite));
    objWriter.Attribute("MessageDisposition", std::string_view("SaveOnly"));
    objWriter.Attribute("SuppressReadReceipts", std::string_view("true"));
    objWriter.Start(kMessages, "ItemChanges");
    objWriter.Start(kTypes, "ItemChange");
    WriteId(objWriter, strId);
    objWriter.Start(kTypes, "Updates");
    WriteChanges(objWriter, objChanges);
    objWriter.End();
    objWriter.End();
    objWriter.End();
    objWriter.End();
  });
}

void MoveToDeletedItems(ExchangeService& objService, const CString& strId) {
  try {
    (void)objService.CallForOne(Effect::kOnceAtMost, [&](SoapWriter& objWriter) {
      objWriter.Start(kMessages, "DeleteItem");
      objWriter.Attribute("DeleteType", std::string_view("MoveToDeletedItems"));
      objWriter.Start(kMessages, "ItemIds");
      WriteId(objWriter, strId);
      objWriter.End();
      objWriter.End();
    });
  } catch (const ServiceResponseException& objError) {
    if (objError.ErrorCode() != "ErrorItemNotFound") throw;
  }
}

}  // namespace ews
