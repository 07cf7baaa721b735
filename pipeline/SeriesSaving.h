#pragma once

#include "ews/Appointment.h"

// Saves an appointment, and what single occurrences of a series have of their own. Several requests
// make one whole: an end in between leaves an item that nobody finds by its key, for a mark stands
// in front of it until all of it is there, and whoever saves the same item again takes it away
// first. So the series is there once, and whole, or told as missing.
//
// Returns what the server refuses of occurrences, for people; empty for a whole item. Throws
// ServiceException, and the item is not there then, unless the text says so.
CString SaveWithOccurrences(ews::Appointment& objItem, const ews::FolderId& objFolder,
                            ews::ExchangeService& objService);

// The key of an item that another is to have once it is whole.
CString UnfinishedKey(const CString& strKey);

// The same words for what was refused elsewhere.
CString TextOfRefused(const std::vector<ews::RefusedOccurrence>& arrRefused);
