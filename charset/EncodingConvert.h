#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "charset/PivotMarkers.h"

namespace mail {

class HashConvert;

// Whether any EncodingConvert may join surrogates to one character on the way to UTF-8.
extern std::atomic<bool> g_joinSurrogates;  // starts true

// Turns bytes of one charset into bytes of another. Charsets are code pages as in CharsetNames.h;
// besides the pages with tables (CharsetTables.h) they are 1200 and 1201 (UTF-16, little- and
// big-endian), 12000 and 12001, 65005 and 65006 (UTF-32 likewise), 65000 (UTF-7), 65001 (UTF-8),
// 50220 to 50222 (ISO-2022-JP) and 50225 (ISO-2022-KR).
//
// Output is appended; what was written before a failure stays. Nothing throws. What has no mapping
// is treated as m_errorAction says: by default it vanishes, and m_hadErrors tells. The result tells
// less: it is false for a page that does not convert, for want of memory, and when a character was
// lacking in the target, but true when only bytes of the source had no meaning.
//
// The road: text goes through UTF-16 (the pivot) where neither side is UTF-16. With the default
// action both halves run as one loop over the input (ConvertLoops.h); with another they run one
// after the other, and markers in the pivot (PivotMarkers.h) carry what was put in place of the
// unmappable.
//
// An object converts one text at a time; threads use objects of their own.
class EncodingConvert {
 public:
  enum ErrorAction : std::uint32_t {
    kDrop = 0,
    kSubstitute = 1,     // m_substitution
    kHexReference = 2,   // "&#x", the bytes in hexadecimal as they lie in memory, ";"
    kAlternatePage = 6,  // the piece is converted to m_alternateCodePage
    kKeepBytes = 7,      // the bytes as they are
    kLatin1 = 8,         // on the way to Unicode: each byte and a NUL
  };
  static constexpr std::size_t kMaxSubstitution = 100;  // bytes

  virtual ~EncodingConvert() = default;

  // False for bytes that reach past the limit, and nothing is changed.
  bool setSubstitution(std::string_view strBytes);

  // The bytes must not lie in out. A nTo of 0 means nFrom; equal pages, and a nFrom of 0, copy. A
  // text that begins as a PDF does is copied whatever the pages.
  bool EncConvert(unsigned nFrom, unsigned nTo, const void* pBytes, std::size_t nBytes,
                  DataBuffer& out, LogBase& log);
  static bool beginsAsPdf(std::string_view strBytes) {
    return strBytes.size() > 6 && strBytes.starts_with("%PDF-1");
  }
  // The same for what is text whatever it begins with: a text that happens to begin as a PDF does
  // is converted too (from ISO-2022 only to the double-byte page on its way).
  bool convertText(unsigned nFrom, unsigned nTo, const void* pBytes, std::size_t nBytes,
                   DataBuffer& out, LogBase& log);
  // By name; a name that is unknown counts as utf-8.
  bool EncConvert(std::string_view strFrom, std::string_view strTo, const void* pBytes,
                  std::size_t nBytes, DataBuffer& out, LogBase& log);
  // The machine's ANSI code page on one side.
  bool EncConvertFromAnsi(unsigned nTo, const void* pBytes, std::size_t nBytes, DataBuffer& out,
                          LogBase& log);
  bool EncConvertToAnsi(unsigned nFrom, const void* pBytes, std::size_t nBytes, DataBuffer& out,
                        LogBase& log);
  // With the byte order mark of the target in front: of 65001, 1200 and 1201, nothing for others.
  bool EncConvertWithPreamble(unsigned nFrom, unsigned nTo, const void* pBytes, std::size_t nBytes,
                              DataBuffer& out, LogBase& log);

  // Whether text can be read and written in the page at all, be it by tables or as a form of
  // Unicode or ISO-2022. Not so for some that have a name, and for the numbers of encodings.
  static bool converts(unsigned nPage);

  // Whether surrogates are joined to one character on the way to UTF-8.
  bool m_pairSurrogates = true;
  std::uint32_t m_errorAction = kDrop;
  std::uint32_t m_alternateCodePage = 0;  // of kAlternatePage; 0: the target
  // Set by a conversion when anything had no mapping or a stage failed; cleared at its start.
  bool m_hadErrors = false;

 private:
  using Bytes = std::span<const unsigned char>;

  bool fail();  // sets m_hadErrors; false
  bool dispatch(Bytes arrIn, DataBuffer& out, LogBase& log);
  bool fromMacArabic(Bytes arrIn, DataBuffer& out, LogBase& log);
  bool fromIso2022(Bytes arrIn, DataBuffer& out, LogBase& log);
  bool fromDouble(unsigned nDouble, Bytes arrDouble, bool bWhole, DataBuffer& out, LogBase& log);
  bool toUtf7(Bytes arrIn, DataBuffer& out, LogBase& log);
  bool toUtf32(Bytes arrIn, DataBuffer& out, LogBase& log);
  bool toUtf16BigEndian(Bytes arrIn, DataBuffer& out, LogBase& log);
  bool toIso2022(Bytes arrIn, DataBuffer& out, LogBase& log);

  bool convert_a(unsigned nFrom, unsigned nTo, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool bringToForm(unsigned& nFrom, bool bBigEndian, Bytes& arrIn, DataBuffer& arrOther,
                   LogBase& log);
  bool convertUnits(unsigned nTo, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool convertToUnits(unsigned nFrom, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool convertByPivot(unsigned nFrom, unsigned nTo, Bytes arrIn, DataBuffer& out, LogBase& log);
  std::optional<bool> convertInOneLoop(unsigned nFrom, unsigned nTo, Bytes arrIn, DataBuffer& out,
                                       LogBase& log);

  bool convertToUnicodeHC(unsigned nPage, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool convertToUnicodeByLookup(unsigned nPage, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool convertToUnicodeHCVar(unsigned nPage, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool convertFromUnicodeHC(unsigned nPage, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool fromUnicode(const HashConvert& objTable, Bytes arrIn, DataBuffer& out, LogBase& log);
  bool convertFromUnicode(Bytes arrIn, DataBuffer& out);
  bool cv_utf8_to_utf16(Bytes arrIn, DataBuffer& out, LogBase& log);

  template <class Source, class Sink>
  bool convertWithActions(const Source& objSource, const Sink& objSink, Bytes arrIn,
                          DataBuffer& out, LogBase& log);

  void actOn(Bytes arrMissing, unsigned nPage, DataBuffer& out, LogBase& log);
  void putHexReference(Bytes arrMissing, DataBuffer& out);
  void putAlternate(Bytes arrMissing, unsigned nPage, DataBuffer& out, LogBase& log);

  std::uint32_t m_nSubstitution = 0;
  // Only the first m_nSubstitution bytes are set: clearing them all takes a fifth of the time of a
  // short conversion, for which an object is made each time.
  std::array<char, kMaxSubstitution> m_substitution;
  unsigned m_fromCodePage = 0;
  unsigned m_toCodePage = 0;
  PivotMarkers m_markers;
};

}  // namespace mail
