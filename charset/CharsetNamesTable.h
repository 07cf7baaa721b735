#pragma once

#include <array>
#include <string_view>

#include "charset/CodePages.h"

namespace mail {

// The names of code pages, as they are published: one row for each page, in the order of the
// numbers. CharsetNames.cpp makes its index of them while it is compiled.

// strWritten is the name that the page writes, and reads as the page too; empty if it writes none.
// strAccepted holds the further names that read as the page, separated by ", ". Names are compared
// without regard to case and with "_" equal to "-", so that a name may stand here in two spellings
// that come to the same. Names of two letters stand here for the record:
// the look-up takes so short a name for the machine's ANSI page before it comes to the table.
struct CharsetRow {
  int nCodePage;
  std::string_view strWritten;
  std::string_view strAccepted;
};

// A name that the page writes though it reads as another page, or as none.
struct WrittenOnlyRow {
  int nCodePage;
  std::string_view strWritten;
};

// clang-format off
inline constexpr std::array kCharsetRows = std::to_array<CharsetRow>({
    {37, "ibm037",
     "ebcdic, ebcdic-cp-ca, ebcdic-cp-nl, ebcdic-cp-us, ebcdic-cp-wt, cp037, csibm037"},
    {437, "ibm437", "cp437, cspc8codepage437"},
    {500, "ibm500", "ebcdic-cp-be, ebcdic-cp-ch, cp500, csibm500"},
    {708, "asmo-708", ""},
    {709, "", "asmo-449, asmo-449+"},
    {720, "dos-720", ""},
    {737, "ibm737", ""},
    {775, "ibm775", ""},
    {850, "ibm850", "cp850"},
    {852, "ibm852", "cp852"},
    {855, "ibm855", "cp855"},
    {857, "ibm857", "cp857"},
    {858, "ibm00858", "cp00858, cp858, ccsid00858"},
    {860, "ibm860", "cp860"},
    {861, "ibm861", "cp861"},
    {862, "dos-862", "cp862, ibm862"},
    {863, "ibm863", "cp863"},
    {864, "ibm864", "cp864"},
    {865, "ibm865", "cp865"},
    {866, "cp866", "ibm866"},
    {869, "ibm869", "cp869"},
    {870, "ibm870", "ebcdic-cp-roece, ebcdic-cp-yu, cp870, csibm870"},
    {874, "windows-874", "tis-620, dos-874, iso-8859-11"},
    {875, "", "cp875"},
    {932, "shift_jis",
     "japanese, ms-kanji, shiftjis, shift-jis, sjis, csshiftjis, cswindows31j, x-ms-cp932, x-sjis"},
    {936, "gb2312",
     "gb18030, gb18030-2000, gb2312-80, gbk, gb-2312-80, chinese, cn-gb, csgb2312, "
     "csgb231280, csiso58gb231280, iso-ir-58"},
    {949, "ks_c_5601-1987",
     "ks-c-5601-1987, korean, ks-c-5601, ks-c5601, ksc5601, ksc-5601, ks-c-5601-1989, csksc56011987, "
     "iso-ir-149"},
    {950, "big5", "cn-big5, csbig5, big5-hkscs, x-x-big5"},
    {1026, "ibm1026", "cp1026, csibm1026"},
    {1047, "ibm01047", ""},
    {1140, "ibm01140", "ebcdic-us-37+euro, cp01140, ccsid01140"},
    {1141, "ibm01141", "ebcdic-de-273+euro, cp01141, ccsid01141"},
    {1142, "ibm01142", "ebcdic-dk-277+euro, ebcdic-no-277+euro, cp01142, ccsid01142"},
    {1143, "ibm01143", "ebcdic-fi-278+euro, ebcdic-se-278+euro, cp01143, ccsid01143"},
    {1144, "ibm01144", "ebcdic-it-280+euro, cp01144, ccsid01144"},
    {1145, "ibm01145", "ebcdic-es-284+euro, cp01145, ccsid01145"},
    {1146, "ibm01146", "ebcdic-gb-285+euro, cp01146, ccsid01146"},
    {1147, "ibm01147", "ebcdic-fr-297+euro, cp01147, ccsid01147"},
    {1148, "ibm01148", "cp01148, ccsid01148"},
    {1149, "", "ebcdic-is-871+euro, cp01149, ccsid01149, ibm01149"},
    {1200, "unicode", "utf-16, utf16, ucs-2, ucs2, utf-16le, utf16le, iso-10646-ucs-2"},
    {1201, "unicodefffe", "utf-16be, utf16be"},
    {1250, "windows-1250", "cp1250, x-cp1250"},
    {1251, "windows-1251", "cp1251, x-cp1251"},
    {1252, "windows-1252", "cp1252, x-ansi"},
    {1253, "windows-1253", "cp1253"},
    {1254, "windows-1254", "cp1254"},
    {1255, "windows-1255", "cp1255"},
    {1256, "windows-1256", "cp1256"},
    {1257, "windows-1257", "cp1257"},
    {1258, "windows-1258", "cp1258"},
    {1361, "johab", ""},
    {10000, "macintosh", "macroman"},
    {10001, "x-mac-japanese", "macjapanese"},
    {10002, "x-mac-chinesetrad", "macchinesetrad"},
    {10003, "x-mac-korean", "mackorean"},
    {10004, "x-mac-arabic", "macarabic"},
    {10005, "x-mac-hebrew", "machebrew"},
    {10006, "x-mac-greek", "macgreek"},
    {10007, "x-mac-cyrillic", "maccyrillic"},
    {10008, "x-mac-chinesesimp", "macchinesesimp"},
    {10010, "x-mac-romanian", ""},
    {10017, "x-mac-ukrainian", ""},
    {10021, "x-mac-thai", ""},
    {10029, "x-mac-ce", "maccentraleurope"},
    {10079, "x-mac-icelandic", "macicelandic"},
    {10081, "x-mac-turkish", "macturkish"},
    {10082, "", "x-mac-croatian"},
    {12000, "utf-32", ""},
    {12001, "utf-32be", ""},
    {20000, "x-chinese-cns", ""},
    {20001, "x-cp20001", ""},
    {20002, "x-chinese-eten", ""},
    {20003, "x-cp20003", ""},
    {20004, "x-cp20004", ""},
    {20005, "x-cp20005", ""},
    {20105, "x-ia5", "irv"},
    {20106, "x-ia5-german", "german, din-66003"},
    {20107, "x-ia5-swedish", "sen-850200-b, swedish"},
    {20108, "x-ia5-norwegian", "norwegian, ns-4551-1"},
    {20127, "us-ascii",
     "ansi-x3.4-1968, ansi-x3.4-1986, ascii, cp367, csascii, us, iso-ir-6, iso646-us, "
     "iso-646.irv:1991, ibm367"},
    {20261, "x-cp20261", ""},
    {20269, "x-cp20269", ""},
    {20273, "ibm273", "cp273, csibm273"},
    {20277, "ibm277", "ebcdic-cp-dk, ebcdic-cp-no, csibm277"},
    {20278, "ibm278", "ebcdic-cp-fi, ebcdic-cp-se, cp278, csibm278"},
    {20280, "ibm280", "ebcdic-cp-it, cp280, csibm280"},
    {20284, "ibm284", "ebcdic-cp-es, cp284, csibm284"},
    {20285, "ibm285", "ebcdic-cp-gb, cp285, csibm285"},
    {20290, "ibm290", "ebcdic-jp-kana, cp290, csibm290"},
    {20297, "ibm297", "ebcdic-cp-fr, cp297, csibm297"},
    {20420, "ibm420", "ebcdic-cp-ar1, cp420, csibm420"},
    {20423, "ibm423", "ebcdic-cp-gr, cp423, csibm423"},
    {20424, "ibm424", "ebcdic-cp-he, cp424, csibm424"},
    {20833, "x-ebcdic-koreanextended", ""},
    {20838, "ibm-thai", "csibmthai"},
    {20866, "koi8-r", "koi, koi8, koi8r, cskoi8r"},
    {20871, "ibm871", "ebcdic-cp-is, cp871, csibm871"},
    {20880, "ibm880", "ebcdic-cyrillic, cp880, csibm880"},
    {20905, "ibm905", "ebcdic-cp-tr, cp905, csibm905"},
    {20924, "ibm00924", "ebcdic-latin9--euro, cp00924, ccsid00924"},
    {20936, "x-cp20936", ""},
    {20949, "x-cp20949", ""},
    {21025, "cp1025", ""},
    {21027, "", "x-cp21027"},
    {21866, "koi8-u", "koi8-ru"},
    {28591, "iso-8859-1",
     "l1, latin1, latin-1, cp819, csisolatin1, iso-ir-100, iso-8859-1:1987, ibm819"},
    {28592, "iso-8859-2", "l2, latin2, latin-2, csisolatin2, iso-ir-101, iso-8859-2:1987"},
    {28593, "iso-8859-3", "l3, latin3, latin-3, csisolatin3, iso-ir-109, iso-8859-3:1988"},
    {28594, "iso-8859-4", "l4, latin4, latin-4, csisolatin4, iso-ir-110, iso-8859-4:1988"},
    {28595, "iso-8859-5", "cyrillic, csisolatincyrillic, iso-ir-144, iso-8859-5:1988"},
    {28596, "iso-8859-6", "arabic, ecma-114, csisolatinarabic, iso-ir-127, iso-8859-6:1987"},
    {28597, "iso-8859-7",
     "greek, greek8, ecma-118, elot-928, csisolatingreek, iso-ir-126, iso-8859-7:1987"},
    {28598, "iso-8859-8",
     "visual, logical, hebrew, csisolatinhebrew, iso-8859-8 visual, iso-ir-138, "
     "iso-8859-8:1988"},
    {28599, "iso-8859-9", "l5, latin5, latin-5, csisolatin5, iso-ir-148, iso-8859-9:1989"},
    {28603, "iso-8859-13", ""},
    {28605, "iso-8859-15", "l9, latin9, latin-9, csisolatin9"},
    {29001, "x-europa", ""},
    {38598, "", "iso-8859-8-i"},
    {50000, "", "x-user-defined"},
    {50220, "", "csiso2022jp, iso-2022-jp"},
    {50221, "", "iso-2022-jp-1"},
    {50222, "", "iso-2022-jp-2"},
    {50225, "iso-2022-kr", "csiso2022kr, iso-2022-kr-7, iso-2022-kr-7bit"},
    {50227, "x-cp50227", "cp50227"},
    {50930, "", "cp930"},
    {50931, "", "x-ebcdic-japaneseanduscanada"},
    {50933, "", "cp933"},
    {50935, "", "cp935"},
    {50937, "", "cp937"},
    {50939, "", "cp939"},
    {51932, "euc-jp", "cseucpkdfmtjapanese, x-euc, x-euc-jp, iso-2022-jpeuc"},
    {51936, "euc-cn", "x-euc-cn"},
    {51949, "euc-kr", "cseuckr, iso-2022-kr-8, iso-2022-kr-8bit"},
    {51950, "", "euc-tw"},
    {52936, "hz-gb-2312", ""},
    {57002, "x-iscii-de", ""},
    {57003, "x-iscii-be", ""},
    {57004, "x-iscii-ta", ""},
    {57005, "x-iscii-te", ""},
    {57006, "x-iscii-as", ""},
    {57007, "x-iscii-or", ""},
    {57008, "x-iscii-ka", ""},
    {57009, "x-iscii-ma", ""},
    {57010, "x-iscii-gu", ""},
    {57011, "", "x-iscii-pa"},
    {65000, "utf-7",
     "csunicode11utf7, x-unicode-1-1-utf-7, x-unicode-2-0-utf-7, unicode-1-1-utf-7, "
     "unicode-2-0-utf-7"},
    {65001, "utf-8",
     "x-unicode-1-1-utf-8, x-unicode-2-0-utf-8, utf8, unicode-1-1-utf-8, unicode-2-0-utf-8"},
});

inline constexpr std::array kWrittenOnlyRows = std::to_array<WrittenOnlyRow>({
    {50220, "iso-2022-jp"},
    {50221, "csiso2022jp"},  // reads as 50220
    {50222, "iso-2022-jp"},  // reads as 50220
    {54936, "gb18030"},      // reads as 936
    {65005, "utf-32"},       // a second number for 12000
    {65006, "utf-32be"},     // a second number for 12001
});

// Binary-to-text encodings, which share the numbers up to kLastEncoding. In these rows strWritten is given
// back by number in exactly this spelling.
inline constexpr std::array kEncodingRows = std::to_array<CharsetRow>({
    {1, "base64", ""},
    {2, "qp", ""},
    {3, "hex", ""},
    {4, "url", ""},
    {7, "base32", ""},
    {8, "uu", ""},
    {10, "modBase64", ""},
    {11, "url_rfc1738", ""},
    {12, "url_rfc2396", ""},
    {13, "url_rfc3986", ""},
    {14, "url_oauth", ""},
    {17, "base58", ""},
    {18, "fingerprint", "thumbprint"},
    {19, "decimal", ""},
    {20, "base64url", ""},
    {21, "eda", ""},
    {22, "json", ""},
    {23, "declist", ""},
    {24, "base64_mime", ""},
});
// clang-format on

// Every other number up to kLastEncoding that no charset has (37 is one) writes this name.
inline constexpr std::string_view kOtherEncodingName = "base64";
inline constexpr int kLastEncoding = code_page::kFirstCharset - 1;

}  // namespace mail
