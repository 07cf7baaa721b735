#pragma once

#include <vector>

#include "platform/CString.h"

// Texts that hold several addresses with ";" between them.

// Attendees of an appointment and members of a list, as they stand. With the safe switch each entry
// once, but for empty ones; without it as one old loop gave them: the last entry that it finds
// comes twice, a text behind the last ";" is lost, and a short second entry behind a long first one
// ends the list.
std::vector<CString> AttendeeEntries(const CString& strList);

// Recipients of a mail, without the blanks around them. With the safe switch empty entries are
// passed over; without it an empty entry ends the list.
std::vector<CString> RecipientEntries(const CString& strList);
