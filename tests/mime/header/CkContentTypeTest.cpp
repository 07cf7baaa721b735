#include "mime/header/CkContentType.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "base/CkLogger.h"
#include "mime/header/ContentDisposition.h"
#include "mime/header/MimeHeader.h"
#include "tests/mime/MimeSupport.h"

namespace {

using std::string;
using std::string_view;
using test_support::silent;
using namespace std::string_view_literals;

struct Row {
  string_view value;
  string_view written;
};

template <class Parsed = mail::_ckContentType>
string Rewritten(string_view value) {
  Parsed parsed;
  parsed.load(value, silent);
  mail::StringBuffer out;
  parsed.emit(out);
  return string(out.view());
}

TEST(ContentType, ReadsDamagedValuesAndWritesCleanOnes) {
  const Row rows[] = {
      {"", ""},
      {"Text/HTML", "text/html; charset=us-ascii"},
      {"text/rfc822-headers", "text/rfc822-headers"},
      {"image/png; x=y", "image/png"},
      {"text/plain; Charset=\"UTF-8\"; Format=Flowed", "text/plain; charset=utf-8; format=flowed"},
      {"\"Text/Plain\", charset=utf-8", "text/plain; charset=utf-8"},
      {"text/plain charset = utf-8 (Unicode)", "text/plain; charset=utf-8"},
      {"text/plain; charset=utf-8 (a (b)) (c) ;name=\"n\"",
       "text/plain; charset=utf-8; name=\"n\""},
      {"a/b; name=Report (1).pdf", "a/b; name=\"Report(1).pdf\""},
      {"a/b; name=x (1).pdf (its name)", "a/b; name=\"x(1).pdf\""},
      {"a/b; name=x(1)", "a/b; name=\"x(1)\""},
      {"a/b; name=x 1)", "a/b; name=\"x1)\""},
      {"text/plain; charset=x-none", "text/plain; charset=\"x-none\""},
      {"a/b; name=\"C:\\x \\\"y\\\";.txt\"; name=z", "a/b; name=\"C:\\\\x \\\"y\\\";.txt\""},
      {"a/b; name=my file.txt ;type=X", "a/b; type=\"x\"; name=\"myfile.txt\""},
      {"a/b; name=\"open;boundary=B", "a/b; boundary=\"B\"; name=\"open\""},
      {"a/b; name=\"my \\\"file\\ (1).txt ;type=x",
       "a/b; type=\"x\"; name=\"my \\\"file\\\\ (1).txt\""},
      {"a/b; name=\"x\" boundary=\"=_Y \"", "a/b; boundary=\"=_Y\"; name=\"x\""},
      {"a/b; name=\"x\"boundary=\"=_Y \"", "a/b; boundary=\"=_Y\"; name=\"x\""},
      {"a/b; name=\"x;y\".t\\t; type=z", "a/b; type=\"z\"; name=\"x;y.t\\\\t\""},
      {"a/b; name=\"x\"(c); type=z", "a/b; type=\"z\"; name=\"x\""},
      {"text/plain; char\t set=utf-8", "text/plain; charset=utf-8"},
      {"text/plain; format=; format=fixed; format=flowed", "text/plain; charset=us-ascii"},
      {"text/html; charset=utf-8; format=flowed", "text/html; charset=utf-8"},
      {"a/b; name*0*=iso-8859-1'de'%E9; name*1=\"%41 z\"", "a/b; name=\"\xC3\xA9%41 z\""},
      {"multipart/mixed; boundary*0=\"l \"; boundary*1*=o%20ng",
       "multipart/mixed; boundary=\"l o ng\""},
      {"multipart/mixed; boundary=a; boundary*=''b%20", "multipart/mixed; boundary=\"a\""},
      {"a/b; name*=utf-8''%C3%A9", "a/b; name=\"\xC3\xA9\""},
      {"a/b; name*=iso-8859-1'en'%A3%20rates", "a/b; name=\"£ rates\""},
      {"a/b; name*0*=utf-8''%e2%82; name*1*=%AC%20a; name*2=%41'b'", "a/b; name=\"€ a%41'b'\""},
      {"a/b; name*0=plain'; name*1*=a'b'%41", "a/b; name=\"plain'a'b'A\""},
      {"a/b; name*=\"no charset%21\"", "a/b; name=\"no charset!\""},
      {"a/b; name*=''%C3%BC%", "a/b; name=\"ü%\""},
      {"a/b; name*=utf-8'%41", "a/b; name=\"utf-8'A\""},
      {"multipart/report; report-type=Delivery-Status; type=x; boundary=B",
       "multipart/report; report-type=\"delivery-status\"; boundary=\"B\""},
      {"multipart/mixed; report-type=Delivery-Status; boundary=B",
       "multipart/mixed; boundary=\"B\""},
      {"multipart/signed; micalg=SHA1; protocol=\"A/B\"; boundary=c",
       "multipart/signed; boundary=\"c\"; protocol=\"a/b\"; micalg=sha1"},
      {"application/pkcs7-mime; smime-type=Signed-Data",
       "application/pkcs7-mime; smime-type=signed-data"},
      {";;charset=utf-8", "; charset=utf-8"},
      {"a/b;=;=x;\"\";c", "a/b"},
      // A NUL stays within a text, whatever follows, and uncovers no blank at its end.
      {"text/plain; charset=\x7F\0\"x\""sv, "text/plain; charset=\"\x7F\0\\\"x\\\"\""sv},
      {"a/b; name=\"x \0\""sv, "a/b; name=\"x\""},
      // No line end leaves a value, not even one that was encoded in it.
      {"a/b; name=\"x\r\n y\"", "a/b; name=\"x y\""},
      {"a/b; name*=utf-8''%20x%0D%0Ay%20%00", "a/b; name=\"xy\""},
      {"a/b; micalg=\"x;y\"; smime-type=\"\\\"\"", "a/b; micalg=\"x;y\"; smime-type=\"\\\"\""},
      // Read as a page that writes no name.
      {"text/plain; charset=iso-8859-8-i", "text/plain; charset=\"iso-8859-8-i\""},
      {"text/plain; charset=x-1; charset=x-2", "text/plain; charset=\"x-1\""},
      // Known as mailers write them, and written by the standard's name.
      {"text/plain; charset=iso8859-15", "text/plain; charset=iso-8859-15"},
      {"text/plain; charset=\"Windows-31J\"", "text/plain; charset=shift_jis"},
      {"text/plain; charset=iso-8859-8-e", "text/plain; charset=\"iso-8859-8-e\""},
      {"text/plain; charset=x-unknown; charset=WIN1251", "text/plain; charset=windows-1251"},
  };
  for (const auto& row : rows) EXPECT_EQ(Rewritten(row.value), row.written) << row.value;
  for (const auto& row : rows) EXPECT_EQ(Rewritten(row.written), row.written) << row.value;
}

TEST(ContentType, UnknownCharsetsOfPiecesAreLogged) {
  mail::_ckLogger log;
  mail::_ckContentType type;
  type.load("a/b; NAME*0*=x-none'en'%41", log);
  EXPECT_EQ(type.m_name.view(), "A");
  EXPECT_EQ(log.text(), "invalidCharset: x-none\r\n");
}

// Every text of up to three of these pieces, as any parameter's value.
TEST(ContentType, WritesWhatItWroteTheSameAgain) {
  constexpr string_view kPieces[] = {"a",   "\0"sv, "\x01", "\x7F", "\xC3\xA9", "\xFF",
                                     " ",   "\t",   "\r\n", "\"",   "\\",       ";",
                                     "=",   "(",    ")",    ",",    "'",        "%",
                                     "%00", "%0A",  "%20",  "%22",  "bom-",     "utf-8"};
  constexpr size_t kCount = std::size(kPieces);
  constexpr string_view kPrefixes[] = {
      "",
      "text/x; charset=",
      "text/x; charset=\"",
      "a/b; name=",
      "a/b; name=\"",
      "a/b; name*=",
      "a/b; micalg=",
      "a/b; micalg=\"",
      "multipart/report; report-type=\"",
  };
  for (size_t n = 0; n < kCount * kCount * kCount; ++n) {
    string text;
    for (const size_t piece : {n % kCount, n / kCount % kCount, n / kCount / kCount}) {
      text += kPieces[piece];
    }
    for (const string_view prefix : kPrefixes) {
      for (const string_view end : {"", "\""}) {
        const string value = string(prefix).append(text).append(end);
        const string once = Rewritten(value);
        ASSERT_EQ(Rewritten(once), once) << value;
        ASSERT_EQ(once.find_first_of("\r\n"), string::npos) << value;
        const string file = Rewritten<mail::ContentDisposition>(value);
        ASSERT_EQ(Rewritten<mail::ContentDisposition>(file), file) << value;
      }
    }
  }
}

TEST(ContentType, FileNamesComeBackWholeFromAnyPage) {
  for (const string_view name : {"a\"b;c.pdf", "\xC3\xA9\"b;c=d.pdf", "\\\xC3\xA9\\\"",
                                 "=?utf-8?Q?\xC3\xA9", "\xD0\xB0\\;"}) {
    for (const int page : {37, 932, 1252, 20127, 50220, 65001}) {
      mail::ContentDisposition file;
      file.m_type.setString("attachment");
      file.m_fileName.setString(name);
      mail::StringBuffer value, text;
      file.emit(value);
      mail::MimeHeader header;
      header.addField("Content-Disposition", value.view(), silent);
      header.emit(text, page, silent);
      (void)header.loadMimeHeaderText(text.view(), "", 0, "", silent);
      file.load(header.at(0)->value().view(), silent);
      EXPECT_EQ(file.m_fileName.view(), name) << text.view();
    }
  }
}

TEST(ContentType, DispositionNamesTheFile) {
  const Row rows[] = {
      {"", ""},
      {"Attachment", "attachment"},
      {"INLINE; FileName=a b.txt", "inline; filename=\"a b.txt\""},
      {"attachment; filename=\"a;b\"", "attachment; filename=\"a;b\""},
      {"attachment; filename=x; filename*0*=utf-8''%C3; filename*1*=%A9; size=3",
       "attachment; filename=\"\xC3\xA9\""},
      {"attachment; filename*1=\"b.pdf\"; filename*0*=iso-8859-1''%e4",
       "attachment; filename=\"\xC3\xA4"
       "b.pdf\""},
      {"attachment; filename*10=k; filename*2*=%63; filename*1*=b; filename*0*=''%41",
       "attachment; filename=\"Abck\""},
      {"; filename=x", "; filename=\"x\""},
      {"attachment; filename*0=\"on \"; filename*1=\" 5 May.pdf \"",
       "attachment; filename=\"on  5 May.pdf\""},
      {"attachment; filename=my (2) \r\n report.pdf (its name) ;x=y",
       "attachment; filename=\"my (2)  report.pdf\""},
      {"attachment; filename=\"my report.pdf", "attachment; filename=\"my report.pdf\""},
      {"attachment; filename*=us-ascii''caf%C3%A9", "attachment; filename=\"caf\xC3\xA9\""},
      {"attachment; filename*=us-ascii''caf%E9", "attachment; filename=\"caf\xC3\xA9\""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Rewritten<mail::ContentDisposition>(row.value), row.written) << row.value;
  }
}

}  // namespace
