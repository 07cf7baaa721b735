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
constexpr std::string_view kRequired = "calendar:RequiredAttendees";
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

void Appointment::SetRecurrence(std::optional<ews::Recurrence> objRecurrence) {
  m_objRecurrence = std::move(objRecurrence);
  Touch(kRecurrence);
}

ews::Recurrence& Appointment::Recurrence() {
  if (!m_objRecurrence) throw ServiceException(kNoRecurrence);
  Touch(kRecurrence);
  return *m_objRecurrence;
}

std::ptrdiff_t Appointment::RequiredCount() const {
  return std::count_if(m_objRequired.begin(), m_objRequired.end(),
                       [](const EmailAddress& objAddress) { return !objAddress.IsBlank(); });
}

void Appointment::SetStored() {
  Item::SetStored();
  m_nRequiredStored = RequiredCount();
}

void Appointment::Update(ConflictResolutionMode eConflict,
                         SendInvitationsOrCancellationsMode eSend) {
  if (RequiredCount() != m_nRequiredStored) Touch(kRequired);
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
  objFields.Text(kLocation, m_strLocation);
  objFields.Attendees(kRequired, m_objRequired);
  objFields.Field(kRecurrence, m_objRecurrence.has_value(),
                  [&](SoapWriter& objWriter) { m_objRecurrence->WriteTo(objWriter); });
}

}  // namespace ews
