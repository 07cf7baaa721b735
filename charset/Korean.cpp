#include "charset/Korean.h"

#include <string_view>

namespace mail {
namespace {

constexpr std::string_view kHeader = "\x1B$)C";
constexpr unsigned char kShiftOut = 0x0E;
constexpr unsigned char kShiftIn = 0x0F;

unsigned char otherHalf(unsigned char ch) { return ch ^ 0x80; }

}  // namespace

bool Korean::iso2022ToKsc(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out) {
  unsigned char* pOut = out.prepare(nBytes);
  if (pOut == nullptr) return false;
  const unsigned char* const pStart = pOut;
  const std::string_view strText(reinterpret_cast<const char*>(pBytes), nBytes);
  bool bAll = true;
  bool bDouble = false;
  for (std::size_t n = 0; n < nBytes;) {
    const unsigned char ch = pBytes[n];
    if (ch == kHeader[0] && strText.substr(n).starts_with(kHeader)) {
      bDouble = false;
      n += kHeader.size();
    } else if (ch == kShiftOut || ch == kShiftIn) {
      bDouble = ch == kShiftOut;
      ++n;
    } else if (!bDouble || ch == '\r' || ch == '\n') {  // a run may go on over the end of a line
      *pOut++ = ch;
      ++n;
    } else if (n + 1 == nBytes) {
      bAll = false;
      break;
    } else {
      *pOut++ = otherHalf(ch);
      *pOut++ = otherHalf(pBytes[n + 1]);
      n += 2;
    }
  }
  out.commit(static_cast<std::size_t>(pOut - pStart));
  return bAll;
}

bool Korean::kscToIso2022(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out) {
  unsigned char* pOut = out.prepare(kHeader.size() + 2 * nBytes);  // at most a shift for each byte
  if (pOut == nullptr) return false;
  const unsigned char* const pStart = pOut;
  for (const char ch : kHeader) *pOut++ = static_cast<unsigned char>(ch);
  bool bAll = true;
  bool bDouble = false;
  for (std::size_t n = 0; n < nBytes;) {
    const unsigned char ch = pBytes[n];
    const bool bPair = ch >= 0x80;
    if (bPair && n + 1 == nBytes) {
      bAll = false;
      break;
    }
    n += bPair ? 2 : 1;
    if (bPair != bDouble) *pOut++ = bPair ? kShiftOut : kShiftIn;
    bDouble = bPair;
    *pOut++ = bPair ? otherHalf(ch) : ch;
    if (bPair) *pOut++ = otherHalf(pBytes[n - 1]);
  }
  out.commit(static_cast<std::size_t>(pOut - pStart));
  return bAll;
}

}  // namespace mail
