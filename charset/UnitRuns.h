#pragma once

#include <cstddef>

// Runs of text between UTF-8 and UTF-16 (host order), sixteen bytes at a time, on processors that
// can shuffle bytes; on others there are no runs and the callers' careful loops do it all.
//
// A run is of whole characters of up to three bytes of UTF-8, well formed as to lead and
// continuation bytes. It ends before anything else: a NUL, a value of 0, a character of four bytes,
// a surrogate of UTF-16, damage, the end of the text. What is odd is the careful loops' business.
namespace mail::unit_runs {

// A run may write that many bytes past what it says it wrote.
inline constexpr std::size_t kSlack = 32;

// Each returns the bytes of [p, pEnd) that it took and moves pOut on. The room that is needed is
// two bytes for each of UTF-8, or three bytes for each unit, and kSlack.
std::size_t fromUtf8(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut);
std::size_t toUtf8(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut);

}  // namespace mail::unit_runs
