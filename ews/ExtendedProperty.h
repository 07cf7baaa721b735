#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "ews/Types.h"
#include "platform/CString.h"

namespace ews {

class SoapWriter;

// A moment in UTC.
struct UtcTime {
  std::int64_t nSeconds = 0;  // since 1970-01-01
};
// "2024-03-05T09:15:00Z".
std::string FormatUtc(UtcTime objTime);

// Names a property by its tag, or by a property set with an id or a name in it.
class ExtendedPropertyDefinition {
 public:
  ExtendedPropertyDefinition(int nTag, MapiPropertyType eType) : m_nId(nTag), m_eType(eType) {}
  // The set's id as text without braces.
  ExtendedPropertyDefinition(CString strPropertySetId, int nId, MapiPropertyType eType)
      : m_strPropertySetId(std::move(strPropertySetId)), m_nId(nId), m_eType(eType) {}
  // The text property of that name in the public strings set.
  static ExtendedPropertyDefinition PublicString(CString strName);

  MapiPropertyType MapiType() const { return m_eType; }
  friend bool operator==(const ExtendedPropertyDefinition&,
                         const ExtendedPropertyDefinition&) = default;
  void WriteTo(SoapWriter& objWriter) const;

 private:
  CString m_strPropertySetId;  // empty: the id is a tag
  CString m_strName;           // set: a name in the public strings set stands for set and id
  int m_nId;
  MapiPropertyType m_eType;
};

using ExtendedPropertyValue = std::variant<bool, std::int32_t, CString, UtcTime>;

// The extended properties of one item in the order in which they were first set.
class ExtendedPropertyCollection {
 public:
  // A definition that is there already gets the new value. Throws ServiceException if the value's
  // kind is not the definition's type.
  void Set(const ExtendedPropertyDefinition& objDefinition, ExtendedPropertyValue objValue);
  int Count() const { return static_cast<int>(m_arr.size()); }
  void WriteTo(SoapWriter& objWriter) const;

 private:
  struct Entry {
    ExtendedPropertyDefinition objDefinition;
    ExtendedPropertyValue objValue;
  };
  std::vector<Entry> m_arr;
};

}  // namespace ews
