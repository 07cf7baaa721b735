#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ews/MessageBody.h"
#include "ews/Types.h"
#include "ews/WireTime.h"
#include "platform/CString.h"

namespace ews {

class SoapWriter;

// What one occurrence of a series has of its own; what is not set is as in the series.
struct OccurrenceChange {
  std::int64_t nIndex = 0;  // in the series as its pattern has it, from 1
  std::optional<UtcTime> objStart{};
  std::optional<UtcTime> objEnd{};
  std::optional<CString> strSubject{};
  std::optional<MessageBody> objBody{};
  std::optional<CString> strLocation{};
  std::optional<LegacyFreeBusyStatus> eFreeBusy{};
  std::optional<int> nReminderMinutes{};

  bool IsEmpty() const;
  // The changes of an UpdateItem, in the schema's order.
  void WriteTo(SoapWriter& objWriter) const;
  // The same as an element "Updates" by itself.
  std::string AsXml() const;
};

// What a series is without, and what is different in it. Indexes may come twice.
struct OccurrenceChanges {
  std::vector<std::int64_t> arrDeleted;
  std::vector<OccurrenceChange> arrChanged;
  bool IsEmpty() const { return arrDeleted.empty() && arrChanged.empty(); }
};

// One that the server did not delete or change, and why.
struct RefusedOccurrence {
  std::int64_t nIndex = 0;
  std::string strText;  // the server's
};

}  // namespace ews
