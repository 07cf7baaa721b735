#include "ews/ItemFields.h"

#include <algorithm>

#include "ews/EmailAddress.h"
#include "ews/ExtendedProperty.h"

namespace ews {

using enum SoapWriter::Vocabulary;

namespace {

void WriteUri(SoapWriter& objWriter, std::string_view strUri) {
  objWriter.Start(kTypes, "FieldURI");
  objWriter.Attribute("FieldURI", strUri);
  objWriter.End();
}

}  // namespace

void ItemFields::Text(std::string_view strUri, const std::optional<CString>& strValue) {
  Field(strUri, strValue.has_value(), [&](SoapWriter& objWriter) {
    if (!strValue->IsEmpty()) objWriter.Text(*strValue);
  });
}

void ItemFields::Flag(std::string_view strUri, std::optional<bool> bValue) {
  Field(strUri, bValue.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(*bValue ? "true" : "false"));
  });
}

void ItemFields::Mailboxes(std::string_view strUri, const EmailAddressCollection& objAddresses) {
  Field(strUri, !objAddresses.IsBlank(), [&](SoapWriter& objWriter) {
    for (const EmailAddress& objAddress : objAddresses) {
      if (!objAddress.IsBlank()) WriteMailbox(objWriter, objAddress);
    }
  });
}

void ItemFields::Attendees(std::string_view strUri, const AttendeeCollection& objAttendees) {
  Field(strUri, !objAttendees.IsBlank(), [&](SoapWriter& objWriter) {
    for (const EmailAddress& objAddress : objAttendees) {
      if (objAddress.IsBlank()) continue;
      objWriter.Start(kTypes, "Attendee");
      WriteMailbox(objWriter, objAddress);
      objWriter.End();
    }
  });
}

void ItemFields::Extended(const ExtendedPropertyCollection& objProperties) {
  for (const ExtendedProperty& objProperty : objProperties) {
    if (MakesItem()) {
      objProperty.WriteTo(m_objWriter);
    } else if (objProperty.bTouched) {
      m_objWriter.Start(kTypes, "SetItemField");
      objProperty.objDefinition.WriteTo(m_objWriter);
      m_objWriter.Start(kTypes, m_strItem);
      objProperty.WriteTo(m_objWriter);
      m_objWriter.End();
      m_objWriter.End();
    }
  }
}

bool ItemFields::Begin(std::string_view strUri, bool bSet) {
  if (!MakesItem()) {
    if (std::find(m_arrTouched.begin(), m_arrTouched.end(), strUri) == m_arrTouched.end()) {
      return false;
    }
    m_objWriter.Start(kTypes, bSet ? "SetItemField" : "DeleteItemField");
    WriteUri(m_objWriter, strUri);
    if (!bSet) {
      m_objWriter.End();
      return false;
    }
    m_objWriter.Start(kTypes, m_strItem);
  }
  if (bSet) m_objWriter.Start(kTypes, strUri.substr(strUri.find(':') + 1));
  return bSet;
}

void ItemFields::End() {
  m_objWriter.End();
  if (MakesItem()) return;
  m_objWriter.End();
  m_objWriter.End();
}

}  // namespace ews
