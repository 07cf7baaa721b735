#pragma once

#include <string_view>

#include "platform/CLogManager.h"
#include "platform/CString.h"

// What of an item was prepared and does not go with it, for people to be told: a line of the trace
// each, which the driving program makes a remark of.

inline constexpr std::u16string_view kGoesWithout = u"The item goes without: ";

// Does nothing without the safe switch.
void NoteLoss(CLogManager& objLog, CString strWhat, std::u16string_view strWhy);
