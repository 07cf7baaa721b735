#pragma once

#include "platform/CString.h"

inline constexpr size_t kWideContactBytes = 65536;  // the largest file that is read as 16-bit text

// The body file of a contact, by its path in Windows form. A file of up to kWideContactBytes is
// 16-bit text, its lines put together without what ends them; a larger one is narrow text in the
// ANSI code page, in blocks of that length, of which each ends at a NUL. "" if it cannot be opened.
CString ReadRtfSrting(CString strFilePath);  // sic
