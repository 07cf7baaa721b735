#include "mime/header/CkContentType.h"

#include <gtest/gtest.h>

#include <string>

#include "mime/base/LogNull.h"
#include "mime/header/ContentDisposition.h"
#include "platform/NarrowText.h"

namespace {

using std::string;
using std::string_view;

string Rewritten(string_view value) {
  mail::LogNull log;
  mail::_ckContentType type;
  type.load(value, log);
  mail::StringBuffer out;
  type.emit(out);
  return string(out.view());
}

TEST(ContentType, ReadsDamagedValuesAndWritesCleanOnes) {
  platform::SetAnsiCodePage(1252);
  const struct {
    string_view value;
    string_view written;
  } rows[] = {
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
      {"a/b; name=\"x\" boundary=\"=_Y \"", "a/b; boundary=\"=_Y\"; name=\"x\""},
      {"a/b; name*0*=iso-8859-1'de'%E9; name*1=\"%41 z\"", "a/b; name=\"\xC3\xA9%41 z\""},
      {"a/b; name*=utf-8''%C3%A9", "a/b; name=\"\xC3\xA9\""},
      {"multipart/report; report-type=Delivery-Status; type=x; boundary=B",
       "multipart/report; report-type=\"delivery-status\"; boundary=\"B\""},
      {"multipart/signed; micalg=SHA1; protocol=\"A/B\"; boundary=c",
       "multipart/signed; boundary=\"c\"; protocol=\"a/b\"; micalg=sha1"},
      {"application/pkcs7-mime; smime-type=Signed-Data",
       "application/pkcs7-mime; smime-type=signed-data"},
      {";;charset=utf-8", "; charset=utf-8"},
      {"a/b;=;=x;\"\";c", "a/b"},
  };
  for (const auto& row : rows) EXPECT_EQ(Rewritten(row.value), row.written) << row.value;
  for (const auto& row : rows) EXPECT_EQ(Rewritten(row.written), row.written) << row.value;
}

TEST(ContentType, DispositionNamesTheFile) {
  const struct {
    string_view value;
    string_view written;
  } rows[] = {
      {"", ""},
      {"Attachment", "attachment"},
      {"INLINE; FileName=a b.txt", "inline; filename=\"ab.txt\""},
      {"attachment; filename=\"a;b\"", "attachment; filename=\"a;b\""},
      {"attachment; filename=x; filename*0*=utf-8''%C3; filename*1*=%A9; size=3",
       "attachment; filename=\"\xC3\xA9\""},
      {"attachment; filename*1=\"b.pdf\"; filename*0*=iso-8859-1''%e4",
       "attachment; filename=\"\xC3\xA4"
       "b.pdf\""},
      {"attachment; filename*10=k; filename*2*=%63; filename*1*=b; filename*0*=''%41",
       "attachment; filename=\"Abck\""},
      {"; filename=x", "; filename=\"x\""},
  };
  for (const auto& row : rows) {
    mail::LogNull log;
    mail::ContentDisposition disposition;
    disposition.load(row.value, log);
    mail::StringBuffer out;
    disposition.emit(out);
    EXPECT_EQ(out.view(), row.written) << row.value;
  }
}

}  // namespace
