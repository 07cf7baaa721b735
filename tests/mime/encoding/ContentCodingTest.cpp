#include "mime/encoding/ContentCoding.h"

#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/CkLogger.h"
#include "charset/CharsetNames.h"
#include "charset/CodePages.h"
#include "mime/encoding/MailCharsetTable.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/NaiveCoding.h"
#include "tests/support/WorkTime.h"

namespace {

using mail::ContentCoding;
using mail::DataBuffer;
using mail::StringBuffer;
using test_support::Repeated;
using test_support::silent;
using Folding = ContentCoding::Folding;
using namespace std::string_literals;

struct Pair {
  std::string in, out;
};

std::string DecodeBase64(std::string_view text) {
  DataBuffer out;
  EXPECT_TRUE(ContentCoding::decodeBase64(text, out));
  return std::string(out.view());
}

std::string EncodeBase64(std::string_view bytes, unsigned line = 76) {
  ContentCoding coding;
  coding.m_nLineLength = line;
  StringBuffer text;
  DataBuffer same;
  EXPECT_TRUE(coding.encodeBase64(bytes, text) && coding.encodeBase64(bytes, same));
  EXPECT_EQ(text.view(), same.view());
  return std::string(text.view());
}

std::string DecodeQuotedPrintable(std::string_view text) {
  DataBuffer out;
  EXPECT_TRUE(ContentCoding::decodeQuotedPrintable(text, out));
  return std::string(out.view());
}

std::string EncodeQuotedPrintable(std::string_view bytes, unsigned line = 76) {
  ContentCoding coding;
  coding.m_nLineLength = line;
  StringBuffer text;
  EXPECT_TRUE(coding.encodeQuotedPrintable(bytes, text));
  return std::string(text.view());
}

std::string DecodeWords(std::string_view value, mail::LogBase& log = silent) {
  StringBuffer text(value);
  EXPECT_TRUE(ContentCoding::QB_DecodeToUtf8(text, log));
  return std::string(text.view());
}

std::string Word(char encoding, std::string_view value, std::string_view charset,
                 Folding folding = Folding::kOneWord, bool address = false) {
  ContentCoding coding;
  coding.m_bAddressMode = address;
  StringBuffer out;
  EXPECT_TRUE(encoding == 'Q' ? coding.encodeQWord(value, charset, folding, out, silent)
                              : coding.encodeBWord(value, charset, folding, out, silent));
  return std::string(out.view());
}

// Texts over an alphabet that makes special cases likely, of every length up to 200.
void ForGenerated(std::string_view alphabet, const std::function<void(const std::string&)>& check) {
  std::mt19937 random(11);
  for (int round = 0; round < 4000; ++round) {
    std::string text(static_cast<std::size_t>(round % 200), ' ');
    for (char& ch : text) ch = alphabet[random() % alphabet.size()];
    check(text);
    if (testing::Test::HasFailure()) return;
  }
}

TEST(Base64Coding, LinesEndAfterTheLastOneToo) {
  EXPECT_EQ(EncodeBase64(""), "");
  EXPECT_EQ(EncodeBase64(std::string(57, '\0')), std::string(76, 'A') + "\r\n");
  EXPECT_EQ(EncodeBase64("abcd", 4), "YWJj\r\nZA==\r\n");
  EXPECT_EQ(EncodeBase64("abcd", 0), "YWJjZA==\r\n");
  std::mt19937 random(3);
  std::string bytes;
  for (unsigned size = 1; size < 400; ++size) {
    bytes += static_cast<char>(random());
    for (const unsigned line : {1U, 7U, 72U, 76U, 77U}) {
      ASSERT_EQ(EncodeBase64(bytes, line), naive::EncodeBase64(bytes, line)) << size << ' ' << line;
    }
    ASSERT_EQ(DecodeBase64(EncodeBase64(bytes)), bytes);
  }
}

TEST(Base64Coding, DecodesWhatAMailHolds) {
  const std::vector<Pair> cases = {
      {"", ""},
      {"YWJj", "abc"},
      {"Y.W\tJ j\r\n", "abc"},
      {"YWJjZ", "abc"},  // 6 bits make no byte
      {"YWJjZG", "abcd"},
      {"YWJjZGU", "abcde"},
      {"YW=JjZGU", "a"},
      {"YWJj\0YWJj"s, "abc"},
      {"=YWJj", ""},
      {"\xEF\xBB\xBFYWJj", "abc"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(DecodeBase64(in), out) << in;
}

TEST(Base64Coding, AgreesWithTheNaiveDecoderOnJunkAndEveryCut) {
  // A clean text with one stranger at each place meets every way out of the vector loop.
  std::string clean = EncodeBase64(std::string(200, '\xC5') + "some text and an end");
  for (std::size_t n = 0; n <= clean.size(); ++n) {
    ASSERT_EQ(DecodeBase64(clean.substr(0, n)), naive::DecodeBase64(clean.substr(0, n)));
    for (const char ch : "=\0\xC3@.-"s) {
      std::string text = clean;
      text.insert(n, 1, ch);
      ASSERT_EQ(DecodeBase64(text), naive::DecodeBase64(text)) << n;
    }
  }
  for (int ch = 0; ch < 256; ++ch) {  // each byte, where the vector loop classifies it
    std::string text(64, 'Q');
    text[21] = static_cast<char>(ch);
    ASSERT_EQ(DecodeBase64(text), naive::DecodeBase64(text)) << ch;
  }
  ForGenerated("ABCyz019+/\r\n .", [](const std::string& text) {
    ASSERT_EQ(DecodeBase64(text), naive::DecodeBase64(text)) << text;
  });
}

TEST(QuotedPrintable, EncodesByItsRules) {
  const std::string x75(75, 'x');
  const std::vector<Pair> cases = {
      {"", ""},
      {"From the start", "=46rom the start"},
      {"Fromage", "Fromage"},
      {"a\r\nFrom b\r\n.\r\n..\r\n", "a\r\n=46rom b\r\n=2E\r\n=2E.\r\n"},
      {"a \r\nb\t\r\nc ", "a=20\r\nb=09\r\nc=20"},
      {"a \tb", "a \tb"},
      {"a\rb\nc=\x7F\xE9", "a=0Db=0Ac=3D=7F=E9"},
      {x75 + "x", x75 + "=\r\nx"},
      {x75 + "\r\nx", x75 + "\r\nx"},
      {x75.substr(2) + "\xE9", x75.substr(2) + "=\r\n=E9"},
      {x75.substr(3) + "\xE9\r\n", x75.substr(3) + "=E9\r\n"},
      {x75 + ".", x75 + "=\r\n=2E"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(EncodeQuotedPrintable(in), out) << in;
  EXPECT_EQ(EncodeQuotedPrintable(x75 + x75, 0), x75 + x75);
}

TEST(QuotedPrintable, DecodesByItsRules) {
  const std::vector<Pair> cases = {
      {"=E9=e9", "\xE9\xE9"},
      {"=G1", "=G1"},
      {"=4=41=", "=4A"},
      {"==41", "==41"},
      {"a  \t\r\nb \n c", "a\r\nb\r\n c"},
      {" \t \r\nx", " \t \r\nx"},
      {"a= \r\nb=\nc=", "abc"},
      {"a\0b"s, "a"},
      {"\xBD\xB4\xB1", "A"},      // high bits do not count here
      {"\xD0\xBD=", "\xD0\xBD"},  // what is no escape keeps them
      {"=0020AC;x", "&#8364;x"},
      {"=0020AC;", "&#8364;"},
      {"=0020AX;",
       "\0"
       "20AX;"s},
      {"=AAFFFF=41=22ffff=42", "AB"},
      {"=22FFFFFF=22", "\"FFFFFF\""},  // a colour and no filler
      {"=22FFFf=41", "\"FFFfA"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(DecodeQuotedPrintable(in), out) << in;
  DataBuffer kept;
  EXPECT_TRUE(
      ContentCoding::decodeQuotedPrintable("=0020AC;", kept, ContentCoding::ZeroReferences::kKeep));
  EXPECT_EQ(kept.view(),
            "\0"
            "20AC;"s);
}

TEST(QuotedPrintable, AgreesWithTheNaiveCodersOnWhateverComes) {
  ForGenerated("ab =\r\n\t.F\xBD\xE9", [](const std::string& text) {
    for (const unsigned line : {4U, 5U, 20U, 76U}) {
      const std::string encoded = EncodeQuotedPrintable(text, line);
      ASSERT_EQ(encoded, naive::EncodeQuotedPrintable(text, line)) << text;
      ASSERT_EQ(DecodeQuotedPrintable(encoded), text);
    }
    ASSERT_EQ(DecodeQuotedPrintable(text), naive::DecodeQuotedPrintable(text)) << text;
  });
  ForGenerated("=0Ff41;\xB0\xC6 \n", [](const std::string& text) {
    ASSERT_EQ(DecodeQuotedPrintable(text), naive::DecodeQuotedPrintable(text)) << text;
  });
  std::string big;  // over several slices of the encoder
  for (int n = 0; n < 70'000; ++n) big += n % 7 == 0 ? "\xC3\xA9" : n % 61 == 0 ? " \r\n" : "e";
  EXPECT_EQ(EncodeQuotedPrintable(big), naive::EncodeQuotedPrintable(big, 76));
}

TEST(EncodedWords, AreReadByTheirRules) {
  const std::vector<Pair> cases = {
      {"=?utf-8?Q?a?= =?utf-8?Q?b?=", "ab"},
      {"=?utf-8?Q?a?= x", "a x"},
      {"x =?utf-8?Q?a?=\t \t=?UTF-8?b?Yg?=y ", "x aby "},
      {"=?utf-8?Q?a?= ", "a"},
      {"no word", "no word"},
      {"=?iso-8859-1?Q?Gr=FC=DFe_=E9?=", "Grüße é"},
      {"=?8bit?Q?=C3=BC?=", "ü"},
      {"=?utf-8*de?Q?=C3=BC?=", "ü"},
      {"=?utf-8?Q?\?=x", "x"},
      {"=?utf-8?Q?=41?=", "A"},
      {"=?utf-8?x?=4?=", "=4"},  // any other letter is Q
      {"a =?utf-8?Q?b", "a =?utf-8?Q?b"},
      {"=?utf-8?Q?a?= =?utf-8?Q?b", "a =?utf-8?Q?b"},
      {"=?utf-8?Q?", "=?utf-8?Q?"},
      {"=?utf-8", "=?utf-8"},
      {"why =? =?utf-8?Q?a?=", "why =? a"},
      {"=?utf-8?Q?\0a?="s, "=?utf-8?Q?\0a?="s},
      {"=?utf-8?Quo?= =?utf-8?Q?a?=", "=?utf-8?Quo?= a"},
      {"=?gb2312?B?xOM=?= =?gb2312?B?usM=?=", "你好"},
      {"=?gb2312?B?xA==?= =?gb2312?B?47rD?=", "你好"},  // a character cut in two
      {"=?utf-8?B?4oI=?= =?utf-8?Q?=AC?=", "€"},
      {"=?iso-2022-jp?B?GyRCRnxLXBsoQg==?= =?iso-2022-jp?B?GyRCOGwbKEI=?=", "日本語"},
      {"=?koi8-r?Q?=C1?= =?windows-1251?Q?=E1?=", "аб"},
      {"=?ibm037?Q?=C1=C2?=", "AB"},
      // Labels as mailers write them.
      {"=?ISO8859-1?Q?=E9?= =?iso8859_15?Q?=A4?= =?8859-2?Q?=B1?=", "é€ą"},
      {"=?CP932?B?g2WDWINn?= =?ujis?B?xvzL3A==?=", "テスト日本"},
      {"=?win-1251*ru?Q?=E1?= =?x-cp866?Q?=A1?= =?koi-8?Q?=C2?=", "ббб"},
      {"=?UHC?B?x9E=?= =?x-windows-949?B?sds=?= =?euckr?B?x9E=?=", "한글한"},
      {"=?x-gbk?B?xOM=?= =?cp-936?B?usM=?= =?BIG-5?B?pKQ=?=", "你好中"},
      {"=?tis620?Q?=A1?= =?x-mac-roman?Q?=8E?= =?utf8mb4?Q?=C3=A9?=", "กéé"},
      // What is not what its label says.
      {"=?iso-8859-1?Q?Don=92t_=96_=80?=", "Don’t – €"},
      {"=?iso-8859-1?Q?=81=92?=", "\xC2\x81\xC2\x92"},  // windows-1252 has not both
      {"=?iso-8859-2?Q?=92?=", "\xC2\x92"},
      {"=?utf-8?Q?=C3=A9?= =?us-ascii?Q?a?= =?us-ascii?Q?=92=E9?=", "éa’é"},
      {"=?us-ascii?Q?caf=C3=A9?=", "café"},
      // Base64 cut inside a group; a group that its word leaves unpadded; neither.
      {"=?utf-8?B?R3LDvM?= =?utf-8?B?OfZSBhdXMgS8O2bG4=?=", "Grüße aus Köln"},
      {"=?utf-8?B?w7?= =?utf-8?B?z?=\t=?utf-8?B?DvA==?= =?utf-8?B?YQ?=", "üüa"},
      {"=?utf-8?B?YW?= =?utf-8?B?I=?=", "ab"},
      {"=?utf-8?B?YE?= =?utf-8?B?FC?=", "`AB"},
      {"=?utf-8?B?YQ?= =?utf-8?B?w7w?= =?utf-8?B?YWJj?=", "aüabc"},
      {"=?utf-8?B?YW?= =?utf-8?Q?b?= =?utf-8?B?YW?= x", "aba x"},
      // Text that was not encoded is in the charset of the value.
      {"=?iso-8859-1?Q?Gr\xC3\xBC=DFe?= =?iso-8859-1?Q?\xC3\xBC?=", "Grüßeü"},
      // Marks and shifts hold for one word.
      {"=?utf-16?B?//5hAA==?= =?utf-16?B?//5iAA==?=", "ab"},
      {"=?iso-2022-jp?B?GyRCJCI=?= =?iso-2022-jp?Q?a?=", "あa"},
      {"=?iso-2022-jp-1?B?GyRCJCI=?= =?iso-2022-jp-1?Q?a?=", "あa"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(DecodeWords(in), out) << in;
}

TEST(EncodedWords, OfAnUnknownCharsetKeepTheirBytesAndAreLogged) {
  mail::_ckLogger log;
  EXPECT_EQ(DecodeWords("=?x-unknown?Q?abc?= =?base64?B?YWJj?=", log), "abcabc");
  EXPECT_EQ(DecodeWords("=?iso8859-99?Q?=E9?= =?win-x?Q?=E9?="), "\xE9\xE9");
  EXPECT_EQ(log.text(), "invalidQCharset: x-unknown\r\ninvalidBCharset: base64\r\n");
}

TEST(MailCharset, SpellingsAreOfCharsetsAndNewToTheLookup) {
  for (const auto& row : mail::mail_charset::kSpellings) {
    mail::StringBuffer written(row.strWritten), known(row.strKnown);
    EXPECT_EQ(mail::nameToCodePage(written), 0) << row.strWritten;
    EXPECT_EQ(written.view(), row.strWritten) << "not in the form that is compared";
    EXPECT_GE(mail::nameToCodePage(known), mail::code_page::kFirstCharset) << row.strKnown;
  }
}

TEST(EncodedWords, AgreeWithTheNaiveReader) {
  ForGenerated("=?=?QBb \taA4_", [](const std::string& text) {
    std::string value;  // any charset that is named becomes one that keeps bytes
    for (const char ch : text) value += ch == 'a' ? "=?utf-8?Q?" : std::string(1, ch);
    if (value.find("??") != value.npos) return;  // no name at all is the ANSI page
    ASSERT_EQ(DecodeWords(value), naive::DecodeWords(value)) << value;
  });
}

TEST(EncodedWords, AreWrittenByTheirRules) {
  const std::string long61(61, 'a');
  EXPECT_EQ(Word('Q', "Grün, = ? _ <a>", "utf-8"), "=?utf-8?Q?Gr=C3=BCn,_=3D_=3F_=5F_<a>?=");
  EXPECT_EQ(Word('Q', "a,b", "", Folding::kOneWord, true), "=?utf-8?Q?a=2Cb?=");
  EXPECT_EQ(Word('Q', " \t ", "utf-8"), " \t ");
  EXPECT_EQ(Word('B', "\xC4\xE3", "gb2312"), "=?gb2312?B?xOM=?=");
  EXPECT_EQ(Word('B', "plain [$] \x1B", "gb2312"), "plain [$] \x1B");
  EXPECT_EQ(Word('B', "a\r\nb", "gb2312"), "=?gb2312?B?YQ0KYg==?=");
  EXPECT_EQ(Word('B', "$", "iso-2022-jp"), "=?iso-2022-jp?B?JA==?=");
  EXPECT_EQ(Word('B', "[", "iso-2022-jp"), "=?iso-2022-jp?B?Ww==?=");
  EXPECT_EQ(Word('B', "\x1B", "iso-2022-jp"), "=?iso-2022-jp?B?Gw==?=");
  // 60 bytes stay one word, 61 are cut after 50 units.
  EXPECT_EQ(Word('Q', long61.substr(1), "utf-8", Folding::kSeveralWords),
            "=?utf-8?Q?" + long61.substr(1) + "?=");
  EXPECT_EQ(Word('Q', long61, "windows-1252", Folding::kSeveralWords),
            "=?windows-1252?Q?" + long61.substr(11) + "?=\r\n =?windows-1252?Q?aaaaaaaaaaa?=");
  EXPECT_EQ(Word('Q', long61, "utf-8"), "=?utf-8?Q?" + long61 + "?=");
  // And those of B after 18 characters.
  std::string value, first, rest;
  for (int n = 0; n < 21; ++n) {
    value += "一";
    (n < 18 ? first : rest) += "5LiA";
  }
  EXPECT_EQ(Word('B', value, "utf-8", Folding::kSeveralWords),
            "=?utf-8?B?" + first + "?=\r\n =?utf-8?B?" + rest + "?=");
  // What means nothing in the charset is not lost.
  const std::string bad(70, '\xFF');
  EXPECT_EQ(Word('B', bad, "gb2312", Folding::kSeveralWords).find("\r\n"), std::string::npos);
}

TEST(EncodedWords, LongValuesAreCutBetweenCharactersAndReadBackWhole) {
  const std::vector<std::pair<std::string, std::string>> values = {
      {"utf-8", "Grüße 😀😀😀 aus München, 日本語 und mehr "},
      {"iso-2022-jp", "\x1B$BF|K\\8l\x1B(B text \x1B$BF|K\\\x1B(B "},
      {"gb2312", "\xC4\xE3\xBA\xC3 text "},
      {"koi8-r", "\xD0\xD2\xC9\xD7\xC5\xD4 "},
  };
  for (const auto& [charset, part] : values) {
    const std::string expected = DecodeWords(Word('B', part + "\r\n", charset));
    std::string value, text;
    for (int n = 0; n < 10; ++n) {
      value += part;
      text += expected.substr(0, expected.size() - 2);
      for (const char encoding : {'Q', 'B'}) {
        std::string words = Word(encoding, value, charset, Folding::kSeveralWords);
        EXPECT_TRUE(n < 9 || words.find("\r\n ") != words.npos);
        std::erase(words, '\r');
        std::erase(words, '\n');
        EXPECT_EQ(DecodeWords(words), text) << words;
      }
    }
  }
}

TEST(ContentCoding, HostileInputTakesLinearTime) {
  constexpr std::size_t kMany = 1'000'000;
  using Work = std::function<void(std::size_t)>;
  const Work works[] = {
      [](auto n) { (void)DecodeWords(Repeated(n, "=?")); },
      [](auto n) { (void)DecodeWords(Repeated(n, "=?utf-8?Q?")); },
      [](auto n) { (void)DecodeWords(Repeated(n, "=?a?b")); },
      [](auto n) { (void)DecodeWords(Repeated(n, "=?utf-8?Q?a?= ")); },
      [](auto n) { (void)DecodeWords(Repeated(n / 10, "=?gb2312?Q?=C4?= =?koi8-r?Q?a?=")); },
      [](auto n) { (void)DecodeQuotedPrintable(Repeated(n, " \t\r\r")); },
      [](auto n) { (void)DecodeQuotedPrintable(Repeated(n, "=00")); },
      [](auto n) { (void)DecodeBase64(Repeated(n, "A?")); },
      [](auto n) { (void)EncodeQuotedPrintable(Repeated(3 * n, "\xE9")); },
      [](auto n) { (void)Word('Q', Repeated(n, "\xD0\xB9"), "utf-8", Folding::kSeveralWords); },
  };
  for (const Work& work : works) {
    EXPECT_TRUE(test_support::GrowsLinearly(work, kMany)) << &work - works;
  }
}

}  // namespace
