#pragma once

#include "ews/Item.h"
#include "platform/CLogManager.h"
#include "platform/COleDateTime.h"
#include "platform/CString.h"

// Steps that the savers of several types of items share. Paths are in Windows form.

// "1" high, "2" normal, "3" low; any other text changes nothing.
void SetImportance(ews::Item& objItem, const CString& strImportance);

// The bytes of a path that names a file, and not a work folder, become the MIME content. Throws
// what GetPureMime does.
void SetMimeFromPath(ews::Item& objItem, const CString& strHtmPath);

// With the safe switch as a request can carry it (body/WorkFileReaders.h): one character that XML
// refuses would cost the item.
CString SentText(const CString& strText);

// Readers of a body see it as a terminated string, which ends at its first NUL; with the safe
// switch it arrives whole.
void SetBodyText(ews::Item& objItem, ews::BodyType eType, const CString& strText);

inline bool IsDate(const COleDateTime& dt) { return dt.GetStatus() == COleDateTime::valid; }
// The date as GetDateTime builds it. Throws std::out_of_range for an invalid one.
COleDateTime WallClock(const COleDateTime& dt);

// True if the file that a path means, links resolved, lies below the work folder.
bool LiesInWorkFolder(const CString& strPath);

// What becomes of an empty line in a list of attachments: it names the folder itself, which can be
// told and refused, or is passed over, as with the safe switch always.
enum class EmptyLines { kTried, kSkipped };
inline constexpr const char16_t* kAttachmentList = u"11comtextjjAttach.t";
// Attaches the files that a list names, one a line; list and files lie in the folder, which ends in
// a backslash. A file that cannot be attached costs no other, and is a loss (Losses.h).
void AttachListed(ews::Item& objItem, const CString& strFolder, const CString& strList,
                  EmptyLines eEmpty, CLogManager& objLog);
