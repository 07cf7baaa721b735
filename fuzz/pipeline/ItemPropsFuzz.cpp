#include <cstdlib>
#include <string_view>
#include <vector>

#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/SoapWriter.h"
#include "ews/Task.h"
#include "pipeline/CalendarProps.h"
#include "pipeline/ContactProps.h"
#include "pipeline/ItemProps.h"

// Whatever the file holds, what is taken of it is what a request may hold: no text is empty, longer
// than the file or refused by XML, every time is of a year with four digits, and an occurrence is
// one of its series.
namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

void CheckTime(const std::optional<ews::UtcTime>& time) {
  if (time) Check(ews::FormatUtc(*time).size() == 20);
}

void CheckText(const std::optional<CString>& text, size_t size) {
  if (!text) return;
  Check(ews::IsXmlText(*text) && static_cast<size_t>(text->GetLength()) <= size);
}

void CheckAppointment(const ItemProps& props, size_t size) {
  std::vector<CString> notes;
  ews::Appointment item(nullptr);
  item.SetStart(COleDateTime(2024, 3, 11, 10, 0, 0));
  ApplyAppointmentProps(props.objJson, item, notes);
  std::int64_t last = 0;
  for (const std::int64_t index : item.Occurrences().arrDeleted) {
    Check(index > last);
    last = index;
  }
  for (const ews::OccurrenceChange& change : item.Occurrences().arrChanged) {
    Check(change.nIndex > 0 && !change.IsEmpty());
    CheckTime(change.objStart);
    CheckTime(change.objEnd);
    CheckText(change.strSubject, size);
    CheckText(change.strLocation, size);
  }
  Check(item.Occurrences().IsEmpty() || item.IsRecurring());
}

void CheckOthers(const ItemProps& props, size_t size) {
  std::vector<CString> notes;
  ews::Task task(nullptr);
  ApplyTaskProps(props.objJson, task, notes);
  ews::Contact contact(nullptr);
  ApplyContactProps(props.objJson, contact, notes);
  CheckText(contact.DisplayName(), size);
  CheckText(contact.Surname(), size);
  for (const auto& [key, number] : contact.PhoneNumbers()) Check(!number.IsEmpty());
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
  if (!props.objJson.is_object()) return 0;
  CheckAppointment(props, size);
  CheckOthers(props, size);
  return 0;
}
