#include "ews/Task.h"

#include <array>

#include "ews/ItemFields.h"
#include "ews/ServiceException.h"
#include "ews/WireTime.h"

namespace ews {
namespace {

constexpr std::string_view kDue = "task:DueDate";
constexpr std::string_view kRecurrence = "task:Recurrence";
constexpr std::string_view kStart = "task:StartDate";
constexpr std::array kLocalFields{kDue, kRecurrence, kStart};

}  // namespace

void Task::SetStartDate(const COleDateTime& dt) { m_dtStart = ValidDate(dt); }

void Task::SetDueDate(const COleDateTime& dt) { m_dtDue = ValidDate(dt); }

ews::Recurrence& Task::Recurrence() {
  if (!m_objRecurrence) throw ServiceException(kNoRecurrence);
  return *m_objRecurrence;
}

std::span<const std::string_view> Task::LocalFields() const { return kLocalFields; }

// The service makes a day of each date. With the offset of this machine the day can be read off,
// for servers that take the text for it, too.
void Task::WriteOwnFields(ItemFields& objFields) const {
  objFields.Field("task:CompleteDate", m_objCompleted.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(FormatUtc(*m_objCompleted)));
  });
  objFields.Field(kDue, m_dtDue.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(FormatLocal(*m_dtDue)));
  });
  objFields.Field("task:PercentComplete", m_nPercent.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(std::to_string(*m_nPercent)));
  });
  objFields.Field(kRecurrence, m_objRecurrence.has_value(),
                  [&](SoapWriter& objWriter) { m_objRecurrence->WriteTo(objWriter); });
  objFields.Field(kStart, m_dtStart.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(FormatLocal(*m_dtStart)));
  });
  objFields.Field("task:Status", m_eStatus.has_value(),
                  [&](SoapWriter& objWriter) { objWriter.Text(WireName(*m_eStatus)); });
}

}  // namespace ews
