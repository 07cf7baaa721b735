#pragma once

#include <string_view>

#include "platform/CString.h"

// Readers of the work files of an item. Paths are in Windows form. None tells why a file could
// not be opened, and but for GetPureMime none throws (but for want of memory).

inline constexpr int kCopyBytes = 65536;  // zeroed by the copies below
inline constexpr int kReadChunk = 65536;  // bytes of one narrow read

// The low 8 bits of each unit, each with a NUL behind it. pch must hold the larger of kCopyBytes
// and twice the text's length; kCopyBytes are zeroed first.
void CopyTOChar(CString strDisplayNameAccount, unsigned char* pch);  // sic
// The same with whole units.
void CopyTOCharUNicode(CString strDisplayNameAccount, char16_t* pch);  // sic

// The file's bytes, or null if it cannot be opened (a folder, too); *nLen gets the length in bytes,
// 0 then. The array is the caller's, freed with delete[]; it has no terminator. Throws
// std::runtime_error for a file that cannot be read to its end or is of 2 GiB and more: a message
// is whole or not there.
unsigned char* GetPureMime(CString strHtmlPath, int* nLen);
// As that, but *size stays when the file cannot be opened, and what cannot be read stays zero.
unsigned char* GetCharFromFile(CString strFilePath, int* size);

// A body as a request can carry it: with a visible sign for each control character that XML
// refuses, and U+FFFD for what else it does.
CString Sendable(std::u16string_view str);

// A line of a body with a NUL in place of each character that ends a body for its readers.
CString WithoutBodyStops(CString strLine);

// The file as narrow text in the ANSI code page, CR LF read as LF, in chunks of kReadChunk bytes: a
// NUL byte ends its chunk's text, and in a larger file with CR LF text at the seams comes twice. ""
// if it cannot be opened, *nBodyLen then stays; else it is the file's length in bytes.
CString GetStringFromFilenonUnicode(CString strFilePath, int* nBodyLen);  // sic
