#include "ews/ExtendedProperty.h"

#include <algorithm>
#include <chrono>

#include <fmt/format.h>

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

}  // namespace

std::string FormatUtc(UtcTime objTime) {
  const std::chrono::sys_seconds objSeconds{std::chrono::seconds(objTime.nSeconds)};
  const auto objDay = std::chrono::floor<std::chrono::days>(objSeconds);
  const std::chrono::year_month_day objDate(objDay);
  const std::chrono::hh_mm_ss objClock(objSeconds - objDay);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(objDate.year()),
                     static_cast<unsigned>(objDate.month()), static_cast<unsigned>(objDate.day()),
                     objClock.hours().count(), objClock.minutes().count(),
                     objClock.seconds().count());
}

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

void ExtendedPropertyCollection::Set(const ExtendedPropertyDefinition& objDefinition,
                                     ExtendedPropertyValue objValue) {
  if (!Fits(objDefinition.MapiType(), objValue)) {
    throw ServiceException("The value of an extended property does not fit its type.");
  }
  const auto it = std::find_if(m_arr.begin(), m_arr.end(), [&](const Entry& objEntry) {
    return objEntry.objDefinition == objDefinition;
  });
  if (it != m_arr.end()) {
    it->objValue = std::move(objValue);
  } else {
    m_arr.push_back({objDefinition, std::move(objValue)});
  }
}

void ExtendedPropertyCollection::WriteTo(SoapWriter& objWriter) const {
  for (const Entry& objEntry : m_arr) {
    objWriter.Start(SoapWriter::kTypes, "ExtendedProperty");
    objEntry.objDefinition.WriteTo(objWriter);
    objWriter.Element(SoapWriter::kTypes, "Value", ValueText(objEntry.objValue));
    objWriter.End();
  }
}

}  // namespace ews
