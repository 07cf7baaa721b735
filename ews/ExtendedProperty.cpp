#include "ews/ExtendedProperty.h"

#include <algorithm>

#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {
namespace {

bool Fits(MapiPropertyType eType, const ExtendedPropertyValue& objValue) {
  switch (eType) {
    case MapiPropertyType::Boolean:
      return std::holds_alternative<bool>(objValue);
    case MapiPropertyType::Integer:
      return std::holds_alternative<std::int32_t>(objValue);
    case MapiPropertyType::String:
      return std::holds_alternative<CString>(objValue);
    case MapiPropertyType::SystemTime:
      return std::holds_alternative<UtcTime>(objValue);
  }
  return false;
}

CString ValueText(const ExtendedPropertyValue& objValue) {
  if (const auto* pBool = std::get_if<bool>(&objValue)) return *pBool ? u"true" : u"false";
  if (const auto* pNumber = std::get_if<std::int32_t>(&objValue)) {
    return CString::FromUtf8(std::to_string(*pNumber));
  }
  if (const auto* pTime = std::get_if<UtcTime>(&objValue)) {
    return CString::FromUtf8(FormatUtc(*pTime));
  }
  return std::get<CString>(objValue);
}

// "00062004-0000-0000-c000-000000000046" of the same text in braces and capitals, too.
CString GuidText(CString strGuid) {
  constexpr std::u16string_view kForm = u"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  strGuid.MakeLower();
  if (strGuid.GetLength() == static_cast<int>(kForm.size()) + 2 && strGuid[0] == u'{' &&
      strGuid[strGuid.GetLength() - 1] == u'}') {
    strGuid = strGuid.Mid(1, static_cast<int>(kForm.size()));
  }
  const auto FitsForm = [](char16_t ch, char16_t chForm) {
    if (chForm == u'-') return ch == chForm;
    return (ch >= u'0' && ch <= u'9') || (ch >= u'a' && ch <= u'f');
  };
  const std::u16string_view str = strGuid.View();
  if (str.size() != kForm.size() || !std::equal(str.begin(), str.end(), kForm.begin(), FitsForm)) {
    throw ServiceException("The id of a property set is no GUID.");
  }
  return strGuid;
}

}  // namespace

ExtendedPropertyDefinition::ExtendedPropertyDefinition(CString strPropertySetId, int nId,
                                                       MapiPropertyType eType)
    : m_strPropertySetId(GuidText(std::move(strPropertySetId))), m_nId(nId), m_eType(eType) {}

ExtendedPropertyDefinition ExtendedPropertyDefinition::PublicString(CString strName) {
  ExtendedPropertyDefinition objDefinition(0, MapiPropertyType::String);
  objDefinition.m_strName = std::move(strName);
  return objDefinition;
}

void ExtendedPropertyDefinition::WriteTo(SoapWriter& objWriter) const {
  objWriter.Start(SoapWriter::kTypes, "ExtendedFieldURI");
  const std::string strId = std::to_string(m_nId);
  if (!m_strName.IsEmpty()) {
    objWriter.Attribute("DistinguishedPropertySetId", std::string_view("PublicStrings"));
    objWriter.Attribute("PropertyName", m_strName);
  } else if (m_strPropertySetId.IsEmpty()) {
    objWriter.Attribute("PropertyTag", std::string_view(strId));
  } else {
    objWriter.Attribute("PropertySetId", m_strPropertySetId);
    objWriter.Attribute("PropertyId", std::string_view(strId));
  }
  objWriter.Attribute("PropertyType", WireName(m_eType));
  objWriter.End();
}

void ExtendedProperty::WriteTo(SoapWriter& objWriter) const {
  objWriter.Start(SoapWriter::kTypes, "ExtendedProperty");
  objDefinition.WriteTo(objWriter);
  objWriter.Element(SoapWriter::kTypes, "Value", ValueText(objValue));
  objWriter.End();
}

void ExtendedPropertyCollection::Set(const ExtendedPropertyDefinition& objDefinition,
                                     ExtendedPropertyValue objValue) {
  if (!Fits(objDefinition.MapiType(), objValue)) {
    throw ServiceException("The value of an extended property does not fit its type.");
  }
  const auto it = std::find_if(m_arr.begin(), m_arr.end(), [&](const ExtendedProperty& objKnown) {
    return objKnown.objDefinition == objDefinition;
  });
  if (it != m_arr.end()) {
    it->objValue = std::move(objValue);
    it->bTouched = true;
  } else {
    m_arr.push_back({objDefinition, std::move(objValue)});
  }
}

const CString* ExtendedPropertyCollection::Text(
    const ExtendedPropertyDefinition& objDefinition) const {
  const auto it = std::ranges::find(m_arr, objDefinition, &ExtendedProperty::objDefinition);
  return it == m_arr.end() ? nullptr : std::get_if<CString>(&it->objValue);
}

bool ExtendedPropertyCollection::IsTouched() const {
  return std::any_of(m_arr.begin(), m_arr.end(),
                     [](const ExtendedProperty& objProperty) { return objProperty.bTouched; });
}

void ExtendedPropertyCollection::SetStored() {
  for (ExtendedProperty& objProperty : m_arr) objProperty.bTouched = false;
}

}  // namespace ews
