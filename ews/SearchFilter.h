#pragma once

#include <memory>
#include <variant>
#include <vector>

#include "ews/ExtendedProperty.h"
#include "platform/CString.h"

namespace ews {

class FolderId;
class SoapWriter;

enum class FolderSchema { DisplayName };
enum class LogicalOperator { And, Or };

// A condition of a search.
class SearchFilter {
 public:
  virtual ~SearchFilter() = default;
  virtual void WriteTo(SoapWriter& objWriter) const = 0;
};

// The property holds the text, without regard to case. An empty text is sent as an empty value.
class ContainsSubstring : public SearchFilter {
 public:
  ContainsSubstring(FolderSchema eProperty, CString strValue);
  void WriteTo(SoapWriter& objWriter) const override;

 private:
  FolderSchema m_eProperty;
  CString m_strValue;
};

// The property is the text. Servers may compare without regard to case.
class IsEqualTo : public SearchFilter {
 public:
  using Property = std::variant<FolderSchema, ExtendedPropertyDefinition>;

  IsEqualTo(Property objProperty, CString strValue);
  void WriteTo(SoapWriter& objWriter) const override;

 private:
  Property m_objProperty;
  CString m_strValue;
};

class SearchFilterCollection : public SearchFilter {
 public:
  explicit SearchFilterCollection(LogicalOperator eOperator) : m_eOperator(eOperator) {}
  template <typename Filter>
  void Add(Filter objFilter) {
    m_arrFilters.push_back(std::make_unique<Filter>(std::move(objFilter)));
  }
  void WriteTo(SoapWriter& objWriter) const override;

 private:
  LogicalOperator m_eOperator;
  std::vector<std::unique_ptr<SearchFilter>> m_arrFilters;
};

// What a request that finds things says of where, and of which: the restriction, where there is a
// filter, and the folder.
void WriteSearch(SoapWriter& objWriter, const SearchFilter* pFilter, const FolderId& objParent);

}  // namespace ews
