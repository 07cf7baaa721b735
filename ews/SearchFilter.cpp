#include "ews/SearchFilter.h"

#include "ews/FolderId.h"
#include "ews/SoapWriter.h"

namespace ews {
namespace {

void WriteField(SoapWriter& objWriter, FolderSchema eProperty) {
  objWriter.Start(SoapWriter::kTypes, "FieldURI");
  switch (eProperty) {
    case FolderSchema::DisplayName:
      objWriter.Attribute("FieldURI", std::string_view("folder:DisplayName"));
      break;
  }
  objWriter.End();
}

void WriteConstant(SoapWriter& objWriter, const CString& strValue) {
  objWriter.Start(SoapWriter::kTypes, "Constant");
  objWriter.Attribute("Value", strValue);
  objWriter.End();
}

}  // namespace

ContainsSubstring::ContainsSubstring(FolderSchema eProperty, CString strValue)
    : m_eProperty(eProperty), m_strValue(std::move(strValue)) {}

void ContainsSubstring::WriteTo(SoapWriter& objWriter) const {
  objWriter.Start(SoapWriter::kTypes, "Contains");
  objWriter.Attribute("ContainmentMode", std::string_view("Substring"));
  objWriter.Attribute("ContainmentComparison", std::string_view("IgnoreCase"));
  WriteField(objWriter, m_eProperty);
  WriteConstant(objWriter, m_strValue);
  objWriter.End();
}

IsEqualTo::IsEqualTo(Property objProperty, CString strValue)
    : m_objProperty(std::move(objProperty)), m_strValue(std::move(strValue)) {}

void IsEqualTo::WriteTo(SoapWriter& objWriter) const {
  objWriter.Start(SoapWriter::kTypes, "IsEqualTo");
  if (const auto* pExtended = std::get_if<ExtendedPropertyDefinition>(&m_objProperty)) {
    pExtended->WriteTo(objWriter);
  } else {
    WriteField(objWriter, std::get<FolderSchema>(m_objProperty));
  }
  objWriter.Start(SoapWriter::kTypes, "FieldURIOrConstant");
  WriteConstant(objWriter, m_strValue);
  objWriter.End();
  objWriter.End();
}

void SearchFilterCollection::WriteTo(SoapWriter& objWriter) const {
  objWriter.Start(SoapWriter::kTypes, m_eOperator == LogicalOperator::Or ? "Or" : "And");
  for (const auto& pFilter : m_arrFilters) pFilter->WriteTo(objWriter);
  objWriter.End();
}

void WriteSearch(SoapWriter& objWriter, const SearchFilter* pFilter, const FolderId& objParent) {
  if (pFilter) {
    objWriter.Start(SoapWriter::kMessages, "Restriction");
    pFilter->WriteTo(objWriter);
    objWriter.End();
  }
  objWriter.Start(SoapWriter::kMessages, "ParentFolderIds");
  objParent.WriteTo(objWriter);
  objWriter.End();
}

}  // namespace ews
