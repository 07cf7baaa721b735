#pragma once

#include "ews/Item.h"
#include "ews/Recurrence.h"

namespace ews {

// A task. Dates are wall-clock dates in the machine's time zone.
class Task : public Item {
 public:
  // A null service is found out at Save.
  explicit Task(std::shared_ptr<ExchangeService> pService) : Item(std::move(pService)) {}

  // Both throw ServiceException for an invalid date. The service keeps the day alone.
  void SetStartDate(const COleDateTime& dt);
  void SetDueDate(const COleDateTime& dt);
  const std::optional<COleDateTime>& StartDate() const { return m_dtStart; }
  const std::optional<COleDateTime>& DueDate() const { return m_dtDue; }
  void SetStatus(TaskStatus eStatus) { m_eStatus = eStatus; }
  void SetPercentComplete(int nPercent) { m_nPercent = nPercent; }  // 0 to 100
  void SetCompleteDate(UtcTime objTime) { m_objCompleted = objTime; }
  // None makes it a single task.
  void SetRecurrence(std::optional<ews::Recurrence> objRecurrence) {
    m_objRecurrence = std::move(objRecurrence);
  }
  bool IsRecurring() const { return m_objRecurrence.has_value(); }
  // Throws ServiceException for a single task.
  ews::Recurrence& Recurrence();

 private:
  std::string_view ElementName() const override { return "Task"; }
  void WriteOwnFields(ItemFields& objFields) const override;
  std::span<const std::string_view> LocalFields() const override;

  std::optional<COleDateTime> m_dtStart;
  std::optional<COleDateTime> m_dtDue;
  std::optional<ews::Recurrence> m_objRecurrence;
  std::optional<TaskStatus> m_eStatus;
  std::optional<int> m_nPercent;
  std::optional<UtcTime> m_objCompleted;
};

}  // namespace ews
