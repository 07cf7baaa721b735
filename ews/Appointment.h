#pragma once

#include <cstddef>

#include "ews/EmailAddress.h"
#include "ews/Item.h"
#include "ews/Recurrence.h"

namespace ews {

// An entry of a calendar. Dates are wall-clock dates in the machine's time zone. Nobody who attends
// is ever written to, neither by Save nor by Update.
class Appointment : public Item {
 public:
  // A null service is found out at Save.
  explicit Appointment(std::shared_ptr<ExchangeService> pService) : Item(std::move(pService)) {}

  void SetLocation(CString str);
  const std::optional<CString>& Location() const { return m_strLocation; }
  // Both throw ServiceException for an invalid date. An end before the start is the server's
  // affair.
  void SetStart(const COleDateTime& dt);
  void SetEnd(const COleDateTime& dt);
  const std::optional<COleDateTime>& Start() const { return m_dtStart; }
  const std::optional<COleDateTime>& End() const { return m_dtEnd; }
  // None makes it a single appointment.
  void SetRecurrence(std::optional<ews::Recurrence> objRecurrence);
  bool IsRecurring() const { return m_objRecurrence.has_value(); }
  // To be read or changed; once the item is stored, counts as a change. Throws ServiceException for
  // a single appointment.
  ews::Recurrence& Recurrence();
  // To be read or added to; who came in after the item was stored counts as a change.
  AttendeeCollection& RequiredAttendees() { return m_objRequired; }

  // Sends what was changed since the appointment was stored, attachments too; without a change
  // nothing is sent. Throws ServiceException as Save does, and before the first Save.
  void Update(ConflictResolutionMode eConflict, SendInvitationsOrCancellationsMode eSend);

 private:
  std::string_view ElementName() const override { return "CalendarItem"; }
  void WriteOwnFields(ItemFields& objFields) const override;
  void WriteCreateAttributes(SoapWriter& objWriter) const override;
  std::span<const std::string_view> LocalFields() const override;
  void SetStored() override;
  std::ptrdiff_t RequiredCount() const;  // those who have an address

  std::optional<CString> m_strLocation;
  std::optional<COleDateTime> m_dtStart;
  std::optional<COleDateTime> m_dtEnd;
  std::optional<ews::Recurrence> m_objRecurrence;
  AttendeeCollection m_objRequired;
  std::ptrdiff_t m_nRequiredStored = 0;
};

}  // namespace ews
