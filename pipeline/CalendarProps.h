#pragma once

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "platform/CString.h"

namespace ews {
class Appointment;
class Task;
}  // namespace ews

// Sets what ItemProps.json says of an appointment or a task alone; docs/protocol.md has the
// members. A wrong value adds a line to arrNotes and changes nothing; a series above all.
void ApplyAppointmentProps(const nlohmann::json& objJson, ews::Appointment& objItem,
                           std::vector<CString>& arrNotes);
void ApplyTaskProps(const nlohmann::json& objJson, ews::Task& objTask,
                    std::vector<CString>& arrNotes);
