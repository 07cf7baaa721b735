#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "ews/SoapWriter.h"
#include "platform/CString.h"

namespace ews {

class AttendeeCollection;
class EmailAddressCollection;
class ExtendedPropertyCollection;

// The fields of one item on their way into a request. The item's class names all that it has, once,
// in the schema's order. A request that makes the item takes those that are set. One that changes
// it takes those that were touched since the item was stored, each as a change of its own: the new
// value, or the removal of one that is not set any more.
class ItemFields {
 public:
  // For a request that makes an item.
  explicit ItemFields(SoapWriter& objWriter) : m_objWriter(objWriter) {}
  // For one that changes an item of that element. Both views are the caller's while this lives.
  ItemFields(SoapWriter& objWriter, std::string_view strItem,
             std::span<const std::string_view> arrTouched)
      : m_objWriter(objWriter), m_strItem(strItem), m_arrTouched(arrTouched) {}

  // A field by the URI that a change names it by ("item:Body"); what stands behind its colon is the
  // field's element, which fnContent fills with attributes, text and children.
  template <typename Content>
  void Field(std::string_view strUri, bool bSet, Content fnContent) {
    if (!Begin(strUri, bSet)) return;
    fnContent(m_objWriter);
    End();
  }
  void Text(std::string_view strUri, const std::optional<CString>& strValue);
  void Flag(std::string_view strUri, std::optional<bool> bValue);
  void Mailboxes(std::string_view strUri, const EmailAddressCollection& objAddresses);
  void Attendees(std::string_view strUri, const AttendeeCollection& objAttendees);
  void Extended(const ExtendedPropertyCollection& objProperties);

 private:
  bool MakesItem() const { return m_strItem.empty(); }
  bool Begin(std::string_view strUri, bool bSet);
  void End();

  SoapWriter& m_objWriter;
  std::string_view m_strItem;  // empty in a request that makes it
  std::span<const std::string_view> m_arrTouched;
};

}  // namespace ews
