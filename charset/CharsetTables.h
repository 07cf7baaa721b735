#pragma once

#include "charset/HashConvert.h"
#include "charset/UnicodeLookup.h"

// The tables of all code pages: each page is unpacked at its first use and then kept for the life
// of the process, so that mail in one charset never pays for the others. Threads may race: each
// builds tables of its own, and the one that comes later drops its copies. A returned table only
// changes hands for reading. Null for a page that has no table, and for want of memory.
namespace mail::charset_tables {

// Pages whose characters have one byte or two. Any other page with a table has one byte a
// character.
bool hasPairs(unsigned nCodePage);

// To Unicode: of a page of single bytes, and of one that has pairs.
const UnicodeLookup* unicodeLookup(unsigned nCodePage);
const HashConvert* toUnicode(unsigned nCodePage);

// From Unicode, of any page. For 1256 the Arabic-Indic digits, which that page lacks, are written
// as the digits of ASCII.
const HashConvert* fromUnicode(unsigned nCodePage);

}  // namespace mail::charset_tables
