#include <cstdlib>
#include <exception>

#include "ews/Settings.h"
#include "pipeline/RecurrenceText.h"

// Whatever the text of a series holds, what is made of it can be sent: its dates are dates, its end
// is one, and with the safe switch nothing is thrown. The first byte chooses switch and type.
namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

void CheckDate(const COleDateTime& date) { Check(date.GetStatus() == COleDateTime::valid); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  if (size == 0) return 0;
  const bool safe = (data[0] & 1) != 0;
  const RecurrenceRules& rules = (data[0] & 2) != 0 ? kTaskSeries : kAppointmentSeries;
  const bool hasStart = (data[0] & 4) != 0;
  ews::Settings().bSafe = safe;
  const CString text = CString::FromUtf8({reinterpret_cast<const char*>(data) + 1, size - 1});
  const COleDateTime start =
      hasStart ? COleDateTime(2024, 2, 29, 10, 0, 0) : COleDateTime::Invalid();
  std::optional<ews::Recurrence> series;
  bool thrown = false;
  try {
    ReadRecurrence(text, start, rules, series);
  } catch (const std::exception&) {
    thrown = true;
  }
  Check(!(safe && thrown));
  if (!series) return 0;
  CheckDate(series->StartDate());
  Check(!(series->EndDate() && series->NumberOfOccurrences()));
  if (series->EndDate()) CheckDate(*series->EndDate());
  if (series->NumberOfOccurrences()) Check(*series->NumberOfOccurrences() > 0);
  return 0;
}
