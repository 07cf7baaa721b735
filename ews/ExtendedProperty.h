#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "ews/Types.h"
#include "ews/WireTime.h"
#include "platform/CString.h"

namespace ews {

class SoapWriter;

// Names a property by its tag, or by a property set with an id or a name in it.
class ExtendedPropertyDefinition {
 public:
  ExtendedPropertyDefinition(int nTag, MapiPropertyType eType) : m_nId(nTag), m_eType(eType) {}
  // The set's id as the text of a GUID, with or without braces, in any case. Throws
  // ServiceException for what is none.
  ExtendedPropertyDefinition(CString strPropertySetId, int nId, MapiPropertyType eType);
  // The text property of that name in the public strings set.
  static ExtendedPropertyDefinition PublicString(CString strName);

  MapiPropertyType MapiType() const { return m_eType; }
  friend bool operator==(const ExtendedPropertyDefinition&,
                         const ExtendedPropertyDefinition&) = default;
  void WriteTo(SoapWriter& objWriter) const;

 private:
  CString m_strPropertySetId;  // in lower case without braces; empty: the id is a tag
  CString m_strName;           // set: a name in the public strings set stands for set and id
  int m_nId;
  MapiPropertyType m_eType;
};

using ExtendedPropertyValue = std::variant<bool, std::int32_t, CString, UtcTime>;

struct ExtendedProperty {
  ExtendedPropertyDefinition objDefinition;
  ExtendedPropertyValue objValue;
  bool bTouched = true;  // set since the item was last stored
  void WriteTo(SoapWriter& objWriter) const;
};

// The extended properties of one item in the order in which they were first set.
class ExtendedPropertyCollection {
 public:
  // A definition that is there already gets the new value. Throws ServiceException if the value's
  // kind is not the definition's type.
  void Set(const ExtendedPropertyDefinition& objDefinition, ExtendedPropertyValue objValue);
  // Null where there is none, or no text.
  const CString* Text(const ExtendedPropertyDefinition& objDefinition) const;
  int Count() const { return static_cast<int>(m_arr.size()); }
  auto begin() const { return m_arr.begin(); }
  auto end() const { return m_arr.end(); }
  bool IsTouched() const;
  void SetStored();  // the item was stored with all of them

 private:
  std::vector<ExtendedProperty> m_arr;
};

}  // namespace ews
