#include "ews/Occurrence.h"

#include <algorithm>
#include <array>
#include <functional>
#include <span>
#include <string_view>
#include <utility>

#include "ews/Appointment.h"
#include "ews/ExchangeService.h"
#include "ews/ItemFields.h"
#include "ews/ResponseCodes.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {

using enum SoapWriter::Vocabulary;
using Effect = ExchangeService::Effect;

namespace {

// Occurrences in one request. Bodies come with changes alone.
constexpr size_t kMostDeleted = 100;
constexpr size_t kMostChanged = 20;

void WriteOccurrenceId(SoapWriter& objWriter, const ItemId& objSeries, std::int64_t nIndex) {
  objWriter.Start(kTypes, "OccurrenceItemId");
  objWriter.Attribute("RecurringMasterId", objSeries.strUniqueId);
  objWriter.Attribute("InstanceIndex", std::string_view(std::to_string(nIndex)));
  objWriter.End();
}

bool IsGone(std::string_view strCode) {
  return strCode == "ErrorCalendarOccurrenceIsDeletedFromRecurrence" ||
         strCode == "ErrorItemNotFound";
}

std::int64_t IndexOf(std::int64_t nIndex) { return nIndex; }
std::int64_t IndexOf(const OccurrenceChange& objChange) { return objChange.nIndex; }

// One answer for each occurrence of the request, a failure alone thrown: what the server refuses of
// one costs no other.
template <typename Part>
void TellRefused(std::span<const Part> arrSent, const std::function<SoapResponse()>& fnCall,
                 std::vector<RefusedOccurrence>& arrRefused) {
  const auto Take = [&](const Part& objPart, const std::string& strText, const std::string& strCode,
                        const Failure& objFailure) {
    if (objFailure.bOutage) throw ServiceResponseException(strText, strCode, objFailure);
    if (!IsGone(strCode)) arrRefused.push_back({IndexOf(objPart), strText});
  };
  try {
    const SoapResponse objAnswer = fnCall();
    if (objAnswer.arrMessages.size() != arrSent.size()) throw ServiceException(kNoAnswer);
    for (size_t n = 0; n < arrSent.size(); ++n) {
      const ResponseMessage& obj = objAnswer.arrMessages[n];
      if (obj.bError) Take(arrSent[n], obj.strText, obj.strCode, FailureOfCode(obj.strCode));
    }
  } catch (const ServiceResponseException& e) {
    if (arrSent.size() != 1) throw;
    Take(arrSent.front(), e.what(), e.ErrorCode(), e.Cause());
  }
}

template <typename Part, typename Use>
void InParts(const std::vector<Part>& arr, size_t nMost, Use fnUse) {
  for (std::span<const Part> arrLeft(arr); !arrLeft.empty();) {
    const size_t nCount = std::min(nMost, arrLeft.size());
    fnUse(arrLeft.first(nCount));
    arrLeft = arrLeft.subspan(nCount);
  }
}

}  // namespace

bool OccurrenceChange::IsEmpty() const {
  return !objStart && !objEnd && !strSubject && !objBody && !strLocation && !eFreeBusy &&
         !nReminderMinutes;
}

void OccurrenceChange::WriteTo(SoapWriter& objWriter) const {
  const auto Set = [&](std::string_view strUri, bool bSet, const auto& fnContent) {
    const std::array arrTouched{strUri};
    ItemFields objFields(objWriter, "CalendarItem", arrTouched);
    if (bSet) objFields.Field(strUri, true, fnContent);
  };
  const auto Text = [](const std::optional<CString>& str) {
    return [&str](SoapWriter& obj) { obj.Text(*str); };
  };
  const auto Time = [](const std::optional<UtcTime>& objTime) {
    return [&objTime](SoapWriter& obj) { obj.Text(std::string_view(FormatUtc(*objTime))); };
  };
  Set("item:Subject", strSubject.has_value(), Text(strSubject));
  Set("item:Body", objBody.has_value(), [&](SoapWriter& obj) {
    obj.Attribute("BodyType", WireName(objBody->BodyType()));
    obj.Text(objBody->Text());
  });
  Set("item:ReminderIsSet", nReminderMinutes.has_value(),
      [](SoapWriter& obj) { obj.Text(std::string_view("true")); });
  Set("item:ReminderMinutesBeforeStart", nReminderMinutes.has_value(),
      [&](SoapWriter& obj) { obj.Text(std::string_view(std::to_string(*nReminderMinutes))); });
  Set("calendar:Start", objStart.has_value(), Time(objStart));
  Set("calendar:End", objEnd.has_value(), Time(objEnd));
  Set("calendar:LegacyFreeBusyStatus", eFreeBusy.has_value(),
      [&](SoapWriter& obj) { obj.Text(WireName(*eFreeBusy)); });
  Set("calendar:Location", strLocation.has_value(), Text(strLocation));
}

std::string OccurrenceChange::AsXml() const {
  return XmlOf([this](SoapWriter& objWriter) {
    objWriter.Start(kTypes, "Updates");
    WriteTo(objWriter);
    objWriter.End();
  });
}

// Both requests may go out twice: what is there already stays as it is.
std::vector<RefusedOccurrence> Appointment::SaveOccurrences() {
  std::vector<RefusedOccurrence> arrRefused;
  InParts(m_objOccurrences.arrDeleted, kMostDeleted, [&](std::span<const std::int64_t> arrPart) {
    TellRefused<std::int64_t>(
        arrPart, [&] { return DeleteOccurrences(arrPart); }, arrRefused);
  });
  InParts(m_objOccurrences.arrChanged, kMostChanged,
          [&](std::span<const OccurrenceChange> arrPart) {
            TellRefused<OccurrenceChange>(
                arrPart, [&] { return ChangeOccurrences(arrPart); }, arrRefused);
          });
  return arrRefused;
}

SoapResponse Appointment::DeleteOccurrences(std::span<const std::int64_t> arrIndexes) {
  return Service().Call(Effect::kOnceAtMost, [&](SoapWriter& objWriter) {
    objWriter.Start(kMessages, "DeleteItem");
    objWriter.Attribute("DeleteType", std::string_view("HardDelete"));
    objWriter.Attribute("SendMeetingCancellations", std::string_view("SendToNone"));
    objWriter.Start(kMessages, "ItemIds");
    for (const std::int64_t nIndex : arrIndexes) WriteOccurrenceId(objWriter, Id(), nIndex);
    objWriter.End();
    objWriter.End();
  });
}

SoapResponse Appointment::ChangeOccurrences(std::span<const OccurrenceChange> arrChanges) {
  return Service().Call(Effect::kOnceAtMost, [&](SoapWriter& objWriter) {
    objWriter.Start(kMessages, "UpdateItem");
    objWriter.Attribute("ConflictResolution", WireName(ConflictResolutionMode::AlwaysOverwrite));
    objWriter.Attribute("MessageDisposition", std::string_view("SaveOnly"));
    objWriter.Attribute("SendMeetingInvitationsOrCancellations",
                        WireName(SendInvitationsOrCancellationsMode::SendToNone));
    objWriter.Start(kMessages, "ItemChanges");
    for (const OccurrenceChange& objChange : arrChanges) {
      objWriter.Start(kTypes, "ItemChange");
      WriteOccurrenceId(objWriter, Id(), objChange.nIndex);
      objWriter.Start(kTypes, "Updates");
      objChange.WriteTo(objWriter);
      objWriter.End();
      objWriter.End();
    }
    objWriter.End();
    objWriter.End();
  });
}

}  // namespace ews
