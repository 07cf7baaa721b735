#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ews/Attachment.h"
#include "ews/ExtendedProperty.h"
#include "ews/FolderId.h"
#include "ews/ItemId.h"
#include "ews/MessageBody.h"
#include "ews/MimeContent.h"
#include "ews/StringList.h"
#include "ews/Types.h"

namespace ews {

class ExchangeService;
class ServiceException;
class ItemFields;
class SoapWriter;
struct ItemRecord;
struct SoapResponse;

inline constexpr int kMostReminderMinutes = 2629800;  // five years, as the schema has it

// What all items have in common. Properties go out in the schema's order, whatever order they were
// set in; one that was never set does not go out.
class Item {
 public:
  virtual ~Item() = default;
  Item(const Item&) = delete;
  Item& operator=(const Item&) = delete;
  Item(Item&&) = default;
  Item& operator=(Item&&) = default;

  void SetMimeContent(MimeContent objContent);
  const MimeContent& GetMimeContent() const { return m_objMimeContent; }
  void SetBody(MessageBody objBody);
  const std::optional<MessageBody>& Body() const { return m_objBody; }
  void SetImportance(ews::Importance eImportance);
  std::optional<ews::Importance> Importance() const { return m_eImportance; }
  void SetSensitivity(ews::Sensitivity eSensitivity);
  // Where none of the three is called, the service decides.
  void SetNoReminder();
  void SetReminderMinutes(int nBeforeStart);  // of an appointment; 0 to kMostReminderMinutes
  void SetReminderTime(UtcTime objTime);      // of a task
  // An empty list does not go out.
  void SetCategories(StringList objList);
  const std::vector<CString>& Categories() const { return m_objCategories.Strings(); }
  AttachmentCollection& Attachments() { return m_objAttachments; }
  // A definition set before gets the new value. Throws ServiceException if the value does not fit
  // the definition's type.
  void SetExtendedProperty(const ExtendedPropertyDefinition& objDefinition,
                           ExtendedPropertyValue objValue) {
    m_objProperties.Set(objDefinition, std::move(objValue));
  }
  // Null where there is no such property, or no text.
  const CString* TextProperty(const ExtendedPropertyDefinition& objDefinition) const {
    return m_objProperties.Text(objDefinition);
  }
  const ItemId& Id() const { return m_objId; }
  virtual std::string_view ElementName() const = 0;  // in a request: "Message", …

  // Stores the item in the folder, attachments included, without sending anything to anyone, and
  // fills Id and the attachments' ids. Throws ServiceException: the server's text when it refuses;
  // the library's own text for an item that has an id already. After a failure without an id it can
  // be called again.
  void Save(const FolderId& objFolder);
  // Deletes for good what was saved, without telling anyone. False where it may still be there;
  // otherwise the item can be saved again.
  bool Delete();
  static bool Delete(ExchangeService& objService, const CString& strId);

  // For what keeps items and is no server: the element of a request that makes the item, UTF-8,
  // names with the prefix t, without MIME content and attachments. Throws ServiceException for a
  // value that XML cannot hold.
  std::string FieldsAsXml() const;
  // The Windows name of the zone that its dates and series are kept in; "" where it has none such.
  std::string ZoneOfFields() const { return LocalFields().empty() ? std::string() : ZoneName(); }

 protected:
  explicit Item(std::shared_ptr<ExchangeService> pService) : m_pService(std::move(pService)) {}

  // Throws ServiceException where there is none.
  ExchangeService& Service() const;
  // GetItem for an id that is set; throws ServiceException.
  static ItemRecord Fetch(ExchangeService& objService, const ItemId& objId);
  void TakeOver(const ItemRecord& objRecord);

  // To be called whenever a field's value may have changed; the URI is kept as a view.
  void Touch(std::string_view strUri);
  // Sends what was touched since the item was stored, and attachments that came after it; nothing
  // where there is nothing. fnAttributes writes the attributes of UpdateItem. Throws as Save does,
  // and for an item without an id.
  void SendChanges(const std::function<void(SoapWriter&)>& fnAttributes);
  // Called when the server has all that was set until then.
  virtual void SetStored();
  // Attributes of CreateItem.
  virtual void WriteCreateAttributes(SoapWriter& objWriter) const;

 private:
  // The fields of the item's own class, which stand after those of all items.
  virtual void WriteOwnFields(ItemFields& objFields) const = 0;
  // The URIs of fields that the server reads in a time zone, in which it also counts a series.
  virtual std::span<const std::string_view> LocalFields() const { return {}; }
  // The Windows name of that zone; empty: the machine's.
  virtual std::string OwnZone() const { return {}; }

  std::string ZoneName() const;
  enum class Content { kWith, kWithout };  // MIME content and attachments
  void WriteFields(ItemFields& objFields, Content eContent = Content::kWith) const;
  void WriteCreateItem(SoapWriter& objWriter, const FolderId& objFolder) const;
  void WriteUpdateItem(SoapWriter& objWriter,
                       const std::function<void(SoapWriter&)>& fnAttributes) const;
  void CreateAttachments();
  // Deletes what was made without its attachments, and throws what its user is told.
  [[noreturn]] void FailIncomplete(const ServiceException& objError);
  void SendNewAttachments();
  bool IsTouched(std::string_view strUri) const;

  std::shared_ptr<ExchangeService> m_pService;
  ItemId m_objId;
  MimeContent m_objMimeContent;
  std::optional<MessageBody> m_objBody;
  AttachmentCollection m_objAttachments;
  StringList m_objCategories;
  std::optional<ews::Importance> m_eImportance;
  std::optional<ews::Sensitivity> m_eSensitivity;
  std::optional<bool> m_bReminder;
  std::optional<int> m_nReminderMinutes;
  std::optional<UtcTime> m_objReminderTime;
  ExtendedPropertyCollection m_objProperties;
  std::vector<std::string_view> m_arrTouched;  // URIs of fields; empty before the item is stored
};

}  // namespace ews
