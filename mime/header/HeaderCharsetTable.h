#pragma once

#include <array>
#include <string_view>

// What the cascade of HeaderCharset.cpp looks for.
namespace mail::header_charset {

// A name that is believed only if the header converts from its page. With nDigits the page is
// nCodePage plus the digit that stands behind the name, which must lie in nFirst to nLast.
struct CheckedName {
  std::string_view strName;
  int nCodePage;
  char chFirst;  // 0: no digit follows
  char chLast;
};

inline constexpr std::array kCheckedNames = std::to_array<CheckedName>({
    {"windows-125", 1250, '0', '8'},
    {"iso-8859-", 28590, '1', '8'},
    {"koi8-r", 20866, 0, 0},
    {"koi8-u", 21866, 0, 0},
});

// A name that is believed wherever it stands. The order decides.
struct RawName {
  std::string_view strName;
  int nCodePage;
};

inline constexpr std::array kRawNames = std::to_array<RawName>({
    {"GB2312", 936},        {"shift_jis", 932},     {"Windows-31J", 932},   {"ks_c_5601-1987", 949},
    {"windows-874", 874},   {"big5", 950},          {"gbk", 936},           {"euc-kr", 51949},
    {"iso-8859-2", 28592},  {"iso-8859-3", 28593},  {"iso-8859-4", 28594},  {"iso-8859-5", 28595},
    {"iso-8859-6", 28596},  {"iso-8859-7", 28597},  {"iso-8859-8", 28598},  {"iso-8859-9", 28599},
    {"windows-1250", 1250}, {"windows-1251", 1251}, {"windows-1252", 1252}, {"windows-1253", 1253},
    {"windows-1254", 1254}, {"windows-1255", 1255}, {"windows-1256", 1256}, {"windows-1257", 1257},
    {"koi8-r", 20866},      {"koi8-u", 21866},
});

// Bytes that real text in a Western ANSI page hardly ever holds, while UTF-8 read as such text
// holds them all the time.
constexpr bool isImprobable(unsigned char ch) {
  constexpr std::string_view kUsualControls = "\x80\x85\x91\x92\x93\x94\x95\x96\x97\x99";
  constexpr std::string_view kUsualSigns = "\xA0\xA3\xA7\xA9\xAB\xAE\xB0\xB4\xB7\xBB";
  if (ch < 0x80 || ch > 0xBF) return false;
  return (ch < 0xA0 ? kUsualControls : kUsualSigns).find(static_cast<char>(ch)) ==
         std::string_view::npos;
}

}  // namespace mail::header_charset
