#pragma once

namespace mail {

// The code pages that code decides by, with the numbers that they are published under. Tables of
// many pages hold bare numbers. The functions take any number, of a page that nobody knows too.
namespace code_page {

// Lower numbers name binary-to-text encodings (CharsetNames.h), but for this one.
inline constexpr int kFirstCharset = 100;
inline constexpr int kIbm037 = 37;

inline constexpr int kThai = 874;
inline constexpr int kShiftJis = 932;
inline constexpr int kGbk = 936;
inline constexpr int kKorean = 949;
inline constexpr int kBig5 = 950;
inline constexpr int kUtf16 = 1200;
inline constexpr int kUtf16BigEndian = 1201;
inline constexpr int kWindows1250 = 1250;
inline constexpr int kWindows1252 = 1252;
inline constexpr int kWindows1256 = 1256;
inline constexpr int kWindows1258 = 1258;
inline constexpr int kJohab = 1361;
inline constexpr int kMacJapanese = 10001;
inline constexpr int kMacArabic = 10004;
inline constexpr int kUtf32 = 12000;
inline constexpr int kUtf32BigEndian = 12001;
inline constexpr int kAscii = 20127;
inline constexpr int kKoi8R = 20866;
inline constexpr int kKoi8U = 21866;
inline constexpr int kLatin1 = 28591;
inline constexpr int kLatin2 = 28592;
inline constexpr int kCyrillic = 28595;
inline constexpr int kArabic = 28596;
inline constexpr int kGreek = 28597;
inline constexpr int kHebrew = 28598;
inline constexpr int kLatin9 = 28605;
inline constexpr int kLogicalHebrew = 38598;
inline constexpr int kIso2022Jp = 50220;
inline constexpr int kIso2022Jp1 = 50221;
inline constexpr int kIso2022Jp2 = 50222;
inline constexpr int kIso2022Kr = 50225;
inline constexpr int kEucJp = 51932;
inline constexpr int kEucCn = 51936;
inline constexpr int kEucKr = 51949;
inline constexpr int kHz = 52936;
inline constexpr int kUtf7 = 65000;
inline constexpr int kUtf8 = 65001;
inline constexpr int kSecondUtf32 = 65005;  // a second number of kUtf32
inline constexpr int kSecondUtf32BigEndian = 65006;

constexpr bool isCharset(unsigned nPage) { return nPage >= kFirstCharset || nPage == kIbm037; }

constexpr bool isUtf16(unsigned nPage) { return nPage == kUtf16 || nPage == kUtf16BigEndian; }
constexpr bool isUtf32(unsigned nPage) {
  return nPage == kUtf32 || nPage == kUtf32BigEndian || nPage == kSecondUtf32 ||
         nPage == kSecondUtf32BigEndian;
}
constexpr bool isWide(unsigned nPage) { return isUtf16(nPage) || isUtf32(nPage); }
constexpr bool isBigEndian(unsigned nPage) {
  return nPage == kUtf16BigEndian || nPage == kUtf32BigEndian || nPage == kSecondUtf32BigEndian;
}

constexpr bool isIso2022Jp(unsigned nPage) { return nPage >= kIso2022Jp && nPage <= kIso2022Jp2; }
constexpr bool isIso2022(unsigned nPage) { return nPage >= kIso2022Jp && nPage <= kIso2022Kr; }

// The single-byte pages of Windows and of ISO 8859, all of which hold ASCII.
constexpr bool isWindowsOrIso8859(unsigned nPage) {
  return (nPage >= kWindows1250 && nPage <= kWindows1258) || (nPage >= kLatin1 && nPage <= kLatin9);
}

}  // namespace code_page
}  // namespace mail
