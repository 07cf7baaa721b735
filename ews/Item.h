#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "ews/Attachment.h"
#include "ews/ExtendedProperty.h"
#include "ews/FolderId.h"
#include "ews/ItemId.h"
#include "ews/MessageBody.h"
#include "ews/MimeContent.h"
#include "ews/Types.h"

namespace ews {

class ExchangeService;
class ServiceException;
struct ItemRecord;

// What all items have in common. Properties go out in the schema's order, whatever order they were
// set in; one that was never set does not go out.
class Item {
 public:
  virtual ~Item() = default;
  Item(const Item&) = delete;
  Item& operator=(const Item&) = delete;
  Item(Item&&) = default;
  Item& operator=(Item&&) = default;

  void SetMimeContent(MimeContent objContent) { m_objMimeContent = std::move(objContent); }
  const MimeContent& GetMimeContent() const { return m_objMimeContent; }
  void SetBody(MessageBody objBody) { m_objBody = std::move(objBody); }
  const std::optional<MessageBody>& Body() const { return m_objBody; }
  void SetImportance(ews::Importance eImportance) { m_eImportance = eImportance; }
  std::optional<ews::Importance> Importance() const { return m_eImportance; }
  // An empty list does not go out.
  void SetCategories(std::vector<CString> arr) { m_arrCategories = std::move(arr); }
  const std::vector<CString>& Categories() const { return m_arrCategories; }
  AttachmentCollection& Attachments() { return m_objAttachments; }
  // A definition set before gets the new value. Throws ServiceException if the value does not fit
  // the definition's type.
  void SetExtendedProperty(const ExtendedPropertyDefinition& objDefinition,
                           ExtendedPropertyValue objValue) {
    m_objProperties.Set(objDefinition, std::move(objValue));
  }
  const ItemId& Id() const { return m_objId; }

  // Stores the item in the folder, attachments included, without sending anything to anyone, and
  // fills Id. Throws ServiceException: the server's text when it refuses; the library's own text
  // for an item that has an id already. After a failure without an id it can be called again.
  void Save(const FolderId& objFolder);

 protected:
  explicit Item(std::shared_ptr<ExchangeService> pService) : m_pService(std::move(pService)) {}

  // GetItem for an id that is set; throws ServiceException.
  static ItemRecord Fetch(ExchangeService& objService, const ItemId& objId);
  void TakeOver(const ItemRecord& objRecord);

 private:
  virtual std::string_view ElementName() const = 0;
  // The elements of the item's own class, which stand after those of all items.
  virtual void WriteOwnProperties(SoapWriter& objWriter) const = 0;
  // Attributes of CreateItem.
  virtual void WriteCreateAttributes(SoapWriter& objWriter) const;

  void WriteCreateItem(SoapWriter& objWriter, const FolderId& objFolder) const;
  void WriteCommonProperties(SoapWriter& objWriter) const;
  void CreateAttachments();
  // Deletes what was made without its attachments, and throws what its user is told.
  [[noreturn]] void FailIncomplete(const ServiceException& objError);
  bool Delete();

  std::shared_ptr<ExchangeService> m_pService;
  ItemId m_objId;
  MimeContent m_objMimeContent;
  std::optional<MessageBody> m_objBody;
  AttachmentCollection m_objAttachments;
  std::vector<CString> m_arrCategories;
  std::optional<ews::Importance> m_eImportance;
  ExtendedPropertyCollection m_objProperties;
};

}  // namespace ews
