#include "charset/EncodingConvert.h"

#include <algorithm>
#include <optional>
#include <type_traits>
#include <utility>

#include "base/LogContextExitor.h"
#include "base/StringBuffer.h"
#include "charset/ByteOrderMarks.h"
#include "charset/CharsetNames.h"
#include "charset/CharsetTables.h"
#include "charset/CodePages.h"
#include "charset/ConvertLoops.h"
#include "charset/Japanese.h"
#include "charset/Korean.h"
#include "charset/MacArabic.h"
#include "charset/TableSources.h"
#include "charset/UtfForms.h"
#include "platform/NarrowText.h"

namespace mail {

using namespace code_page;
using namespace std::string_view_literals;

std::atomic<bool> g_joinSurrogates{true};

namespace {

using Bytes = std::span<const unsigned char>;

// What is read and written by way of a double-byte page.
bool isShifted(unsigned nPage) { return isIso2022Jp(nPage) || nPage == kIso2022Kr; }

// What us-ascii text is trusted to be without a look.
bool isAsciiSuperset(unsigned nPage) { return nPage == kUtf8 || isWindowsOrIso8859(nPage); }

// Pages in which an unmappable start takes the byte behind it along, when it is not just dropped.
bool skipsPairs(unsigned nPage) {
  constexpr std::array<unsigned, 7> kPages = {kShiftJis, kGbk,   kKorean, kBig5,
                                              kEucJp,    kEucCn, kEucKr};
  return std::find(kPages.begin(), kPages.end(), nPage) != kPages.end();
}

// An ISO-2022 text of up to that many bytes needs no buffer from the heap on its way.
constexpr std::size_t kSmallText = 1024;

std::string_view viewOf(Bytes arrBytes) {
  return {reinterpret_cast<const char*>(arrBytes.data()), arrBytes.size()};
}

// us-ascii text that became UTF-8 holds neither NULs nor bytes of 0x80 and more.
void keepAsciiOnly(DataBuffer& out) {
  unsigned char* const pStart = out.getData();
  if (pStart == nullptr) return;
  unsigned char* const pEnd = pStart + out.getSize();
  unsigned char* const pKept =
      std::remove_if(pStart, pEnd, [](unsigned char ch) { return !ascii_runs::isAscii(ch); });
  out.chop(static_cast<std::size_t>(pEnd - pKept));
}

// UTF-8 for a conversion that does something about what is missing: such a piece has the length
// that its lead byte claims.
struct ClaimedUtf8Source : convert_loops::Utf8Source {
  static convert_loops::Taken take(const unsigned char* p, const unsigned char* pEnd) {
    convert_loops::Taken objTaken = Utf8Source::take(p, pEnd);
    if (objTaken.nChar != convert_loops::kMissing) return objTaken;
    const std::size_t nClaimed = convert_loops::claimedLength(*p);
    const auto nLeft = static_cast<std::size_t>(pEnd - p);
    // What is missing although it is complete has a zero in it or is overlong.
    return {nClaimed > nLeft ? nLeft : 1, convert_loops::kMissing};
  }
};

}  // namespace

bool EncodingConvert::setSubstitution(std::string_view strBytes) {
  if (strBytes.size() > kMaxSubstitution) return false;
  std::copy(strBytes.begin(), strBytes.end(), m_substitution.begin());
  m_nSubstitution = static_cast<std::uint32_t>(strBytes.size());
  return true;
}

bool EncodingConvert::fail() {
  m_hadErrors = true;
  return false;
}

bool EncodingConvert::converts(unsigned nPage) {
  const bool bFamily = isWide(nPage) || nPage == kUtf7 || nPage == kUtf8 || isShifted(nPage);
  return bFamily || charset_tables::fromUnicode(nPage) != nullptr;
}

// --- The main operation and its forms. ---

bool EncodingConvert::EncConvert(std::string_view strFrom, std::string_view strTo,
                                 const void* pBytes, std::size_t nBytes, DataBuffer& out,
                                 LogBase& log) {
  StringBuffer strName(strFrom);
  auto nFrom = static_cast<unsigned>(nameToCodePage(strName));
  if (nFrom == 0) {
    log.LogError("Unrecognized fromCharset");
    log.LogData("charsetName", strFrom);
    nFrom = kUtf8;
  }
  (void)strName.setString(strTo);
  const auto nTo = static_cast<unsigned>(nameToCodePage(strName));
  return EncConvert(nFrom, nTo != 0 ? nTo : kUtf8, pBytes, nBytes, out, log);
}

bool EncodingConvert::EncConvertFromAnsi(unsigned nTo, const void* pBytes, std::size_t nBytes,
                                         DataBuffer& out, LogBase& log) {
  return EncConvert(platform::AnsiCodePage(), nTo, pBytes, nBytes, out, log);
}

bool EncodingConvert::EncConvertToAnsi(unsigned nFrom, const void* pBytes, std::size_t nBytes,
                                       DataBuffer& out, LogBase& log) {
  return EncConvert(nFrom, platform::AnsiCodePage(), pBytes, nBytes, out, log);
}

bool EncodingConvert::EncConvertWithPreamble(unsigned nFrom, unsigned nTo, const void* pBytes,
                                             std::size_t nBytes, DataBuffer& out, LogBase& log) {
  return out.append(byte_order::markOf(nTo != 0 ? nTo : nFrom)) &&
         EncConvert(nFrom, nTo, pBytes, nBytes, out, log);
}

bool EncodingConvert::EncConvert(unsigned nFrom, unsigned nTo, const void* pBytes,
                                 std::size_t nBytes, DataBuffer& out, LogBase& log) {
  m_hadErrors = false;
  if (pBytes == nullptr || nBytes == 0) return true;
  const std::string_view strBytes(static_cast<const char*>(pBytes), nBytes);
  if (beginsAsPdf(strBytes)) return out.append(strBytes);
  return convertText(nFrom, nTo, pBytes, nBytes, out, log);
}

bool EncodingConvert::convertText(unsigned nFrom, unsigned nTo, const void* pBytes,
                                  std::size_t nBytes, DataBuffer& out, LogBase& log) {
  m_hadErrors = false;
  if (pBytes == nullptr || nBytes == 0) return true;
  const Bytes arrIn(static_cast<const unsigned char*>(pBytes), nBytes);
  const LogContextExitor objContext(log, "EncConvert");
  if (log.m_bVerbose) {
    log.LogDataLong("fromCodePage", nFrom);
    log.LogDataLong("toCodePage", nTo);
  }
  if (nTo == 0) nTo = nFrom;
  if (nFrom == 0 || nFrom == nTo) return out.append(pBytes, nBytes);
  if (!isCharset(nFrom) || !isCharset(nTo)) return false;
  m_fromCodePage = nFrom;
  m_toCodePage = nTo;
  if (nFrom == kMacArabic) return fromMacArabic(arrIn, out, log);
  if (isShifted(nFrom)) return fromIso2022(arrIn, out, log);
  return dispatch(arrIn, out, log);
}

bool EncodingConvert::dispatch(Bytes arrIn, DataBuffer& out, LogBase& log) {
  if (m_toCodePage == kUtf7) return toUtf7(arrIn, out, log);
  if (isUtf32(m_toCodePage)) return toUtf32(arrIn, out, log);
  if (m_toCodePage == kUtf16BigEndian) return toUtf16BigEndian(arrIn, out, log);
  if (isShifted(m_toCodePage)) return toIso2022(arrIn, out, log);
  return convert_a(m_fromCodePage, m_toCodePage, arrIn, out, log);
}

// --- Families of the source. ---

bool EncodingConvert::fromMacArabic(Bytes arrIn, DataBuffer& out, LogBase& log) {
  DataBuffer arrCopy;
  if (!arrCopy.append(arrIn.data(), arrIn.size())) return fail();
  unfoldMacArabic(arrCopy.getData(), arrCopy.getSize());
  return dispatch(arrCopy.bytes(), out, log);
}

bool EncodingConvert::fromIso2022(Bytes arrIn, DataBuffer& out, LogBase& log) {
  log.LogInfo("Converting from iso-2022-*");
  if (m_fromCodePage == kIso2022Kr) {
    DataBuffer arrDouble;
    const bool bWhole = Korean().iso2022ToKsc(arrIn.data(), arrIn.size(), arrDouble);
    return fromDouble(kKorean, arrDouble.bytes(), bWhole, out, log);
  }
  std::array<unsigned char, kSmallText> aSmall;
  DataBuffer arrLarge;
  unsigned char* const pDouble =
      arrIn.size() <= kSmallText ? aSmall.data() : arrLarge.prepare(arrIn.size());
  if (pDouble == nullptr) return fail();
  const auto [nDouble, bWhole] =
      Japanese().iso2022ToShiftJis(arrIn.data(), arrIn.size(), pDouble, log);
  return fromDouble(kShiftJis, {pDouble, nDouble}, bWhole, out, log);
}

// The second half of it: from the double-byte page. bWhole: the first half left nothing out.
bool EncodingConvert::fromDouble(unsigned nDouble, Bytes arrDouble, bool bWhole, DataBuffer& out,
                                 LogBase& log) {
  bool bResult = true;
  if (m_toCodePage == nDouble) {
    bResult = out.append(arrDouble.data(), arrDouble.size());
  } else if (!arrDouble.empty()) {
    bResult = EncConvert(nDouble, m_toCodePage, arrDouble.data(), arrDouble.size(), out, log);
  }
  m_hadErrors = m_hadErrors || !bWhole;
  return bResult;
}

// --- Families of the target. ---

bool EncodingConvert::toUtf7(Bytes arrIn, DataBuffer& out, LogBase& log) {
  m_toCodePage = kUtf16;
  DataBuffer arrUnits;
  if (!convert_a(m_fromCodePage, kUtf16, arrIn, arrUnits, log)) return fail();
  return utf_forms::unitsToUtf7(arrUnits.bytes(), out) || fail();
}

bool EncodingConvert::toUtf32(Bytes arrIn, DataBuffer& out, LogBase& log) {
  const bool bBigEndian = isBigEndian(m_toCodePage);
  DataBuffer arrUtf8;
  if (m_fromCodePage != kUtf8) {
    m_toCodePage = kUtf8;
    if (!convert_a(m_fromCodePage, kUtf8, arrIn, arrUtf8, log)) return fail();
    arrIn = arrUtf8.bytes();
  }
  log.LogInfo("converting from utf-8 to utf-32");
  return utf_forms::utf8ToUtf32(arrIn, bBigEndian, out, m_hadErrors) || fail();
}

bool EncodingConvert::toUtf16BigEndian(Bytes arrIn, DataBuffer& out, LogBase& log) {
  m_toCodePage = kUtf16;
  const std::size_t nBefore = out.getSize();
  if (!convert_a(m_fromCodePage, kUtf16, arrIn, out, log)) m_hadErrors = true;
  const std::size_t nWritten = out.getSize() - nBefore;
  out.chop(nWritten % 2);
  if (nWritten > 1) utf_forms::swapPairs(out.getData() + nBefore, nWritten / 2);
  return true;
}

bool EncodingConvert::toIso2022(Bytes arrIn, DataBuffer& out, LogBase& log) {
  const bool bJapanese = isIso2022Jp(m_toCodePage);
  m_toCodePage = bJapanese ? kShiftJis : kKorean;
  DataBuffer arrDouble;
  const bool bResult = convert_a(m_fromCodePage, m_toCodePage, arrIn, arrDouble, log) || fail();
  if (arrDouble.isEmpty()) return bResult;
  const bool bWhole =
      bJapanese ? Japanese().shiftJisToIso2022(arrDouble.getData(), arrDouble.getSize(), out, log)
                : Korean().kscToIso2022(arrDouble.getData(), arrDouble.getSize(), out);
  m_hadErrors = m_hadErrors || !bWhole;
  return bResult;
}

// --- The step between any two of the pages with tables, UTF-8 and UTF-16 (UTF-7 and UTF-32 as the
// source too). ---

bool EncodingConvert::convert_a(unsigned nFrom, unsigned nTo, Bytes arrIn, DataBuffer& out,
                                LogBase& log) {
  const LogContextExitor objContext(log, "convert_a");
  if (arrIn.empty()) return true;
  const bool bBigEndian = byte_order::takeMark(nFrom, arrIn);
  if (arrIn.empty()) return true;
  if (nFrom == nTo) return out.append(arrIn.data(), arrIn.size()) || fail();
  if (nFrom == kAscii && isAsciiSuperset(nTo)) {
    if (!out.append(arrIn.data(), arrIn.size())) return fail();
    if (nTo == kUtf8) keepAsciiOnly(out);
    return true;
  }
  DataBuffer arrOther;
  if (!bringToForm(nFrom, bBigEndian, arrIn, arrOther, log)) return fail();
  if (arrIn.empty()) return true;
  if (nFrom == nTo) return out.append(arrIn.data(), arrIn.size()) || fail();
  if (nFrom == kUtf16) {
    if (nTo == kUtf8) log.LogInfo("converting from utf-16 to utf-8");
    return convertUnits(nTo, arrIn, out, log);
  }
  if (nTo == kUtf16) {
    if (nFrom == kUtf8) log.LogInfo("converting from utf-8 to utf-16");
    return convertToUnits(nFrom, arrIn, out, log);
  }
  return convertByPivot(nFrom, nTo, arrIn, out, log);
}

// A source in another form of Unicode becomes one in UTF-8, or in UTF-16 of the host's byte order,
// in arrOther: nFrom and arrIn then tell of that. False for want of memory.
bool EncodingConvert::bringToForm(unsigned& nFrom, bool bBigEndian, Bytes& arrIn,
                                  DataBuffer& arrOther, LogBase& log) {
  if (isUtf16(nFrom)) {
    nFrom = kUtf16;
    if (!bBigEndian) return true;
    if (!arrOther.append(arrIn.data(), arrIn.size() & ~std::size_t{1})) return false;
    utf_forms::swapPairs(arrOther.getData(), arrOther.getSize() / 2);
  } else if (isUtf32(nFrom)) {
    log.LogInfo("converting from utf-32 to utf-8");
    if (!utf_forms::utf32ToUtf8(arrIn, bBigEndian, arrOther, m_hadErrors)) return false;
    nFrom = kUtf8;
  } else if (nFrom == kUtf7) {
    if (!utf_forms::utf7ToUnits(arrIn, arrOther)) return false;
    nFrom = kUtf16;
  } else {
    return true;
  }
  arrIn = arrOther.bytes();
  return true;
}

bool EncodingConvert::convertUnits(unsigned nTo, Bytes arrIn, DataBuffer& out, LogBase& log) {
  return nTo != kUtf8 ? convertFromUnicodeHC(nTo, arrIn, out, log) : convertFromUnicode(arrIn, out);
}

bool EncodingConvert::convertToUnits(unsigned nFrom, Bytes arrIn, DataBuffer& out, LogBase& log) {
  return nFrom != kUtf8 ? convertToUnicodeHC(nFrom, arrIn, out, log)
                        : cv_utf8_to_utf16(arrIn, out, log);
}

bool EncodingConvert::convertByPivot(unsigned nFrom, unsigned nTo, Bytes arrIn, DataBuffer& out,
                                     LogBase& log) {
  log.LogInfo(nTo == kUtf8     ? "Converting to utf-8 using utf-16 as a pivot table..."sv
              : nFrom == kUtf8 ? "Converting from utf-8 using utf-16 as a pivot table..."sv
                               : "Converting by using utf-16 as a pivot table..."sv);
  // A close look wants the lines of each half, and so does a page without a table.
  if (m_errorAction == kDrop && !log.m_bVerbose) {
    const std::optional<bool> result = convertInOneLoop(nFrom, nTo, arrIn, out, log);
    if (result) return *result;
  }
  DataBuffer arrUnits;
  if (!arrUnits.reserve(2 * arrIn.size() + 4)) return fail();
  m_markers.beginFirstStage();
  bool bResult = convertToUnits(nFrom, arrIn, arrUnits, log);
  if (!bResult && log.m_bVerbose) log.LogInfo("convertToUnicodeHC failed.");
  if (bResult) {
    m_markers.beginSecondStage();
    bResult = convertUnits(nTo, arrUnits.bytes(), out, log);
    if (!bResult && log.m_bVerbose) {
      log.LogInfo(nTo == kUtf8 ? "convertFromUnicode failed." : "convertFromUnicodeHC failed.");
    }
  }
  m_markers.end();
  return bResult;
}

// --- Both halves of the pivot as one loop, for the action that leaves out what does not map. ---

namespace {

// Room for the usual case at once, so that a long text does not grow its buffer step by step; it is
// no failure if there is none.
void reserveFor(std::size_t nBytes, DataBuffer& out) {
  if (nBytes > convert_loops::kBlock) (void)out.reserve(nBytes);
}

// Calls fnConvert with the source that reads the page; nothing if the page has no table.
template <class Convert>
std::optional<bool> withSource(unsigned nPage, Convert fnConvert) {
  if (nPage == kUtf8) return fnConvert(convert_loops::Utf8Source{});
  return convert_loops::withTableSource(nPage, fnConvert);
}

}  // namespace

// Nothing, and no output, when one of the pages has no table.
std::optional<bool> EncodingConvert::convertInOneLoop(unsigned nFrom, unsigned nTo, Bytes arrIn,
                                                      DataBuffer& out, LogBase& log) {
  const HashConvert* const pTarget = nTo != kUtf8 ? charset_tables::fromUnicode(nTo) : nullptr;
  if (nTo != kUtf8 && pTarget == nullptr) return std::nullopt;
  convert_loops::Faults objFaults;
  const std::optional<bool> bDone = withSource(nFrom, [&](const auto& objSource) {
    using Source = std::decay_t<decltype(objSource)>;
    if constexpr (!std::is_same_v<Source, convert_loops::Utf8Source>) {
      if (pTarget == nullptr) {
        reserveFor(arrIn.size() + arrIn.size() / 2, out);
        return convert_loops::convertAll(objSource, convert_loops::Utf8Sink{}, arrIn, out,
                                         objFaults);
      }
    }
    reserveFor(arrIn.size(), out);
    return convert_loops::convertAll(objSource, convert_loops::TableSink{*pTarget}, arrIn, out,
                                     objFaults);
  });
  if (!bDone) return std::nullopt;
  // The log shows the halves as it does when they run one after the other.
  if (nFrom != kUtf8) const LogContextExitor objContext(log, "convertToUnicodeHC");
  if (nTo != kUtf8) const LogContextExitor objContext(log, "convertFromUnicodeHC");
  if (objFaults.bSource || objFaults.bSink) m_hadErrors = true;
  if (!*bDone) return fail();
  return !objFaults.bSink;
}

// --- One half at a time. ---

// The loop, with a stop at each piece that does not map when there is something to do about it.
// False for want of memory and when the sink lacked a character.
template <class Source, class Sink>
bool EncodingConvert::convertWithActions(const Source& objSource, const Sink& objSink, Bytes arrIn,
                                         DataBuffer& out, LogBase& log) {
  convert_loops::Faults objFaults;
  if (m_errorAction == kDrop) {
    const bool bDone = convert_loops::convertAll(objSource, objSink, arrIn, out, objFaults);
    if (!bDone || objFaults.bSource || objFaults.bSink) m_hadErrors = true;
    return bDone && !objFaults.bSink;
  }
  const unsigned nPage = Source::kWide ? kUtf16 : m_fromCodePage;
  const unsigned char* p = arrIn.data();
  const unsigned char* const pEnd = p + arrIn.size();
  while (p < pEnd) {
    std::size_t nMissing = 0;
    const auto nStop = convert_loops::convertLoop</*kStopAtMissing=*/true>(
        objSource, objSink, p, pEnd, out, objFaults, nMissing);
    if (nStop == convert_loops::Stop::kNoMemory) return fail();
    if (nStop == convert_loops::Stop::kAtMissing) {
      m_hadErrors = true;
      actOn({p, nMissing}, nPage, out, log);
      p += nMissing;
    }
  }
  return !objFaults.bSink;
}

bool EncodingConvert::convertToUnicodeHC(unsigned nPage, Bytes arrIn, DataBuffer& out,
                                         LogBase& log) {
  const LogContextExitor objContext(log, "convertToUnicodeHC");
  if (log.m_bVerbose) {
    log.LogDataLong("fromCodePage", nPage);
    log.LogDataLong("inDataLen", static_cast<std::int64_t>(arrIn.size()));
  }
  if (!out.reserve(2 * arrIn.size())) return fail();
  return charset_tables::hasPairs(nPage) ? convertToUnicodeHCVar(nPage, arrIn, out, log)
                                         : convertToUnicodeByLookup(nPage, arrIn, out, log);
}

bool EncodingConvert::convertToUnicodeByLookup(unsigned nPage, Bytes arrIn, DataBuffer& out,
                                               LogBase& log) {
  const UnicodeLookup* const pTable = charset_tables::unicodeLookup(nPage);
  if (pTable == nullptr) {
    log.LogInfo("ensureHashToUnicode failed.");
    return fail();
  }
  return convertWithActions(convert_loops::SingleSource{*pTable}, convert_loops::UnitSink{}, arrIn,
                            out, log);
}

bool EncodingConvert::convertToUnicodeHCVar(unsigned nPage, Bytes arrIn, DataBuffer& out,
                                            LogBase& log) {
  const HashConvert* const pTable = charset_tables::toUnicode(nPage);
  if (pTable == nullptr) {
    log.LogInfo("convertToUnicodeHCVar: missing hc");
    return fail();
  }
  const std::size_t nSkip = m_errorAction != kDrop && skipsPairs(nPage) ? 2 : 1;
  const bool bHadErrors = std::exchange(m_hadErrors, false);
  const bool bResult = convertWithActions(convert_loops::PairSource{*pTable, nSkip},
                                          convert_loops::UnitSink{}, arrIn, out, log);
  if (m_hadErrors && log.m_bVerbose) log.LogInfo("imperfect conversion in convertToUnicodeHCVar");
  m_hadErrors = m_hadErrors || bHadErrors;
  return bResult;
}

bool EncodingConvert::cv_utf8_to_utf16(Bytes arrIn, DataBuffer& out, LogBase& log) {
  reserveFor(2 * arrIn.size(), out);
  if (m_errorAction == kDrop) {
    return convertWithActions(convert_loops::Utf8Source{}, convert_loops::UnitSink{}, arrIn, out,
                              log);
  }
  return convertWithActions(ClaimedUtf8Source{}, convert_loops::UnitSink{}, arrIn, out, log);
}

bool EncodingConvert::convertFromUnicodeHC(unsigned nPage, Bytes arrIn, DataBuffer& out,
                                           LogBase& log) {
  const LogContextExitor objContext(log, "convertFromUnicodeHC");
  if (log.m_bVerbose) {
    log.LogDataLong("toCodePage", nPage);
    log.LogDataLong("inDataLen", static_cast<std::int64_t>(arrIn.size()));
    log.LogData("isLittleEndian", "1");
  }
  const HashConvert* const pTable = charset_tables::fromUnicode(nPage);
  if (pTable == nullptr) {
    log.LogInfo("ensureHashFromUnicode failed.");
    return fail();
  }
  if (arrIn.size() == 1) return fail();
  reserveFor(arrIn.size(), out);
  return m_markers.honour(arrIn, PivotMarkers::kHeader, out, [&](Bytes arrText) {
    return convertWithActions(convert_loops::UnitSource{}, convert_loops::TableSink{*pTable},
                              arrText.first(arrText.size() & ~std::size_t{1}), out, log);
  });
}

// U+0000 does not pass: there is no NUL in the output.
bool EncodingConvert::convertFromUnicode(Bytes arrIn, DataBuffer& out) {
  reserveFor(arrIn.size(), out);
  const bool bJoin = m_pairSurrogates && g_joinSurrogates;
  const bool bDone = m_markers.honour(arrIn, PivotMarkers::kHeader + 1, out, [&](Bytes arrText) {
    const bool bWhole = arrText.size() % 2 == 0;
    return utf_forms::unitsToUtf8(arrText, bJoin, out) && bWhole;
  });
  return bDone || fail();
}

// --- What is put in place of the unmappable. ---

void EncodingConvert::actOn(Bytes arrMissing, unsigned nPage, DataBuffer& out, LogBase& log) {
  const bool bToUnicode = nPage != kUtf16;
  switch (m_errorAction) {
    case kSubstitute:
      m_markers.put({m_substitution.data(), m_nSubstitution}, out);
      break;
    case kHexReference:
      putHexReference(arrMissing, out);
      break;
    case kAlternatePage:
      putAlternate(arrMissing, nPage, out, log);
      break;
    case kKeepBytes:
      m_markers.put(viewOf(arrMissing), out);
      break;
    case kLatin1:
      if (!bToUnicode) break;
      for (const unsigned char ch : arrMissing) {
        const std::array<unsigned char, 2> aUnit = {ch, 0};
        (void)out.append(aUnit.data(), aUnit.size());
      }
      break;
    default:
      break;
  }
}

void EncodingConvert::putHexReference(Bytes arrMissing, DataBuffer& out) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::array<char, 16> aText{'&', '#', 'x'};
  std::size_t nLength = 3;
  for (const unsigned char ch : arrMissing) {
    aText[nLength++] = kDigits[ch >> 4];
    aText[nLength++] = kDigits[ch & 0xF];
  }
  aText[nLength++] = ';';
  m_markers.put({aText.data(), nLength}, out);
}

void EncodingConvert::putAlternate(Bytes arrMissing, unsigned nPage, DataBuffer& out,
                                   LogBase& log) {
  EncodingConvert objInner;  // with the default action
  objInner.m_pairSurrogates = m_pairSurrogates;
  DataBuffer arrBytes;
  const unsigned nTo = m_alternateCodePage != 0 ? m_alternateCodePage : m_toCodePage;
  (void)objInner.EncConvert(nPage, nTo, arrMissing.data(), arrMissing.size(), arrBytes, log);
  m_markers.put(arrBytes.view(), out);
}

}  // namespace mail
