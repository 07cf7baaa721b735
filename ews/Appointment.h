#pragma once

#include <array>
#include <cstddef>

#include "ews/EmailAddress.h"
#include "ews/Item.h"
#include "ews/Occurrence.h"
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
  void SetAllDay(bool bAllDay);
  void SetFreeBusy(LegacyFreeBusyStatus eStatus);
  // The Windows name of the zone whose clock and days the series keeps; the machine's otherwise.
  // Start and End stay dates of the machine's.
  void SetTimeZone(std::string strZone);
  const std::string& TimeZone() const { return m_strZone; }  // empty: the machine's
  // None makes it a single appointment.
  void SetRecurrence(std::optional<ews::Recurrence> objRecurrence);
  bool IsRecurring() const { return m_objRecurrence.has_value(); }
  // To be read or changed; once the item is stored, counts as a change. Throws ServiceException for
  // a single appointment.
  ews::Recurrence& Recurrence();
  // To be read or added to; who came in after the item was stored counts as a change.
  AttendeeCollection& RequiredAttendees() { return m_objRequired; }
  AttendeeCollection& OptionalAttendees() { return m_objOptional; }
  AttendeeCollection& Resources() { return m_objResources; }

  // What single occurrences of the series have of their own. Save leaves it to SaveOccurrences.
  OccurrenceChanges& Occurrences() { return m_objOccurrences; }
  // Deletes and changes the occurrences of a series that is stored, all of them each time it is
  // called; a wish that is fulfilled already is no failure. Returns those that the server refuses.
  // Throws ServiceException where a whole request fails.
  std::vector<RefusedOccurrence> SaveOccurrences();

  // Sends what was changed since the appointment was stored, attachments too; without a change
  // nothing is sent. Throws ServiceException as Save does, and before the first Save.
  void Update(ConflictResolutionMode eConflict, SendInvitationsOrCancellationsMode eSend);

 private:
  std::string_view ElementName() const override { return "CalendarItem"; }
  void WriteOwnFields(ItemFields& objFields) const override;
  void WriteCreateAttributes(SoapWriter& objWriter) const override;
  std::span<const std::string_view> LocalFields() const override;
  void SetStored() override;
  std::string OwnZone() const override { return m_strZone; }
  SoapResponse DeleteOccurrences(std::span<const std::int64_t> arrIndexes);
  SoapResponse ChangeOccurrences(std::span<const OccurrenceChange> arrChanges);
  // Of the three lists above, those who have an address.
  std::array<std::ptrdiff_t, 3> AttendeeCounts() const;

  std::optional<CString> m_strLocation;
  std::optional<COleDateTime> m_dtStart;
  std::optional<COleDateTime> m_dtEnd;
  std::optional<bool> m_bAllDay;
  std::optional<LegacyFreeBusyStatus> m_eFreeBusy;
  std::string m_strZone;
  std::optional<ews::Recurrence> m_objRecurrence;
  OccurrenceChanges m_objOccurrences;
  AttendeeCollection m_objRequired;
  AttendeeCollection m_objOptional;
  AttendeeCollection m_objResources;
  std::array<std::ptrdiff_t, 3> m_arrStoredCounts{};
};

}  // namespace ews
