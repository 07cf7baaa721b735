#include <cstdlib>
#include <string_view>
#include <vector>

#include "ews/SoapWriter.h"
#include "pipeline/ItemProps.h"

// Whatever the file holds, what is taken of it is what a request may hold: no text is empty, longer
// than the file or refused by XML, and every time is of a year with four digits.
namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

void CheckTime(const std::optional<ews::UtcTime>& time) {
  if (time) Check(ews::FormatUtc(*time).size() == 20);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  std::vector<CString> notes;
  const ItemProps props = ParseItemProps({reinterpret_cast<const char*>(data), size}, notes);
  Check(notes.size() <= 6);
  Check(static_cast<size_t>(props.strKey.GetLength()) <= size);
  Check(ews::IsXmlText(props.strKey));
  size_t units = 0;
  for (const CString& category : props.arrCategories) {
    Check(!category.IsEmpty() && ews::IsXmlText(category));
    units += static_cast<size_t>(category.GetLength());
  }
  Check(units <= size);
  CheckTime(props.objReceived);
  CheckTime(props.objSent);
  return 0;
}
