#include "ews/Appointment.h"

#include <algorithm>
#include <array>

#include "ews/ItemFields.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"
#include "ews/WireTime.h"

namespace ews {
namespace {

constexpr std::string_view kStart = "calendar:Start";
constexpr std::string_view kEnd = "calendar:End";
constexpr std::string_view kLocation = "calendar:Location";
constexpr std::string_view kAllDay = "calendar:IsAllDayEvent";
constexpr std::string_view kFreeBusy = "calendar:LegacyFreeBusyStatus";
constexpr std::string_view kRequired = "calendar:RequiredAttendees";
constexpr std::string_view kOptional = "calendar:OptionalAttendees";
constexpr std::string_view kResources = "calendar:Resources";
constexpr std::string_view kStartZone = "calendar:StartTimeZone";
constexpr std::string_view kEndZone = "calendar:EndTimeZone";
constexpr std::string_view kRecurrence = "calendar:Recurrence";
constexpr std::array kLocalFields{kStart, kEnd, kRecurrence};

}  // namespace

void Appointment::SetLocation(CString str) {
  m_strLocation = std::move(str);
  Touch(kLocation);
}

void Appointment::SetStart(const COleDateTime& dt) {
  m_dtStart = ValidDate(dt);
  Touch(kStart);
}

void Appointment::SetEnd(const COleDateTime& dt) {
  m_dtEnd = ValidDate(dt);
  Touch(kEnd);
}

void Appointment::SetAllDay(bool bAllDay) {
  m_bAllDay = bAllDay;
  Touch(kAllDay);
}

void Appointment::SetFreeBusy(LegacyFreeBusyStatus eStatus) {
  m_eFreeBusy = eStatus;
  Touch(kFreeBusy);
}

void Appointment::SetTimeZone(std::string strZone) {
  m_strZone = std::move(strZone);
  Touch(kStartZone);
  Touch(kEndZone);
}

void Appointment::SetRecurrence(std::optional<ews::Recurrence> objRecurrence) {
  m_objRecurrence = std::move(objRecurrence);
  Touch(kRecurrence);
}

ews::Recurrence& Appointment::Recurrence() {
  if (!m_objRecurrence) throw ServiceException(kNoRecurrence);
  Touch(kRecurrence);
  return *m_objRecurrence;
}

std::array<std::ptrdiff_t, 3> Appointment::AttendeeCounts() const {
  const auto Count = [](const AttendeeCollection& objAttendees) {
    return std::count_if(objAttendees.begin(), objAttendees.end(),
                         [](const EmailAddress& objAddress) { return !objAddress.IsBlank(); });
  };
  return {Count(m_objRequired), Count(m_objOptional), Count(m_objResources)};
}

void Appointment::SetStored() {
  Item::SetStored();
  m_arrStoredCounts = AttendeeCounts();
}

void Appointment::Update(ConflictResolutionMode eConflict,
                         SendInvitationsOrCancellationsMode eSend) {
  constexpr std::array kLists = {kRequired, kOptional, kResources};
  const auto arrCounts = AttendeeCounts();
  for (size_t n = 0; n < kLists.size(); ++n) {
    if (arrCounts[n] != m_arrStoredCounts[n]) Touch(kLists[n]);
  }
  SendChanges([&](SoapWriter& objWriter) {
    objWriter.Attribute("ConflictResolution", WireName(eConflict));
    objWriter.Attribute("SendMeetingInvitationsOrCancellations", WireName(eSend));
  });
}

// The service wants to be told for every calendar item.
void Appointment::WriteCreateAttributes(SoapWriter& objWriter) const {
  Item::WriteCreateAttributes(objWriter);
  objWriter.Attribute("SendMeetingInvitations", std::string_view("SendToNone"));
}

std::span<const std::string_view> Appointment::LocalFields() const { return kLocalFields; }

void Appointment::WriteOwnFields(ItemFields& objFields) const {
  objFields.Field(kStart, m_dtStart.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(FormatUtc(*m_dtStart)));
  });
  objFields.Field(kEnd, m_dtEnd.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(FormatUtc(*m_dtEnd)));
  });
  objFields.Flag(kAllDay, m_bAllDay);
  objFields.Field(kFreeBusy, m_eFreeBusy.has_value(),
                  [&](SoapWriter& objWriter) { objWriter.Text(WireName(*m_eFreeBusy)); });
  objFields.Text(kLocation, m_strLocation);
  objFields.Attendees(kRequired, m_objRequired);
  objFields.Attendees(kOptional, m_objOptional);
  objFields.Attendees(kResources, m_objResources);
  objFields.Field(kRecurrence, m_objRecurrence.has_value(), [&](SoapWriter& objWriter) {
    m_objRecurrence->WriteTo(objWriter, m_strZone.empty() ? &FormatLocalDay : &FormatDay);
  });
  for (const std::string_view strUri : {kStartZone, kEndZone}) {
    objFields.Field(strUri, !m_strZone.empty(), [&](SoapWriter& objWriter) {
      objWriter.Attribute("Id", std::string_view(m_strZone));
    });
  }
}

}  // namespace ews
