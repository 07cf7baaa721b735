#include "mime/header/CkEmailAddress.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/mime/MimeSupport.h"

namespace {

using mail::_ckEmailAddress;
using mail::ExtPtrArrayOf;
using std::string;
using std::string_view;
using test_support::Repeated;
using test_support::silent;

// "name<address>|name<address>".
string Dump(const ExtPtrArrayOf<_ckEmailAddress>& list) {
  string dump;
  for (size_t n = 0; n < list.getSize(); ++n) {
    dump += n == 0 ? "" : "|";
    dump += list.at(n)->m_friendlyName.view();
    dump += '<' + string(list.at(n)->m_address.view()) + '>';
  }
  return dump;
}

string Parse(string_view text) {
  ExtPtrArrayOf<_ckEmailAddress> list;
  _ckEmailAddress::loadList(text, list, silent);
  return Dump(list);
}

TEST(EmailAddress, ReadsWhatMailsHold) {
  const struct {
    string_view text;
    string_view dump;
  } rows[] = {
      {"a@b", "<a@b>"},
      {" A B  C <a@b> , <c@d>;e@f", "A B C<a@b>|<c@d>|<e@f>"},
      {"\"Last, First\" <a@b>", "Last, First<a@b>"},
      {"\"a \\\"b\\\" c\\d\" <a@b>", "a \"b\" c\\d<a@b>"},
      {"DOM\\user <a@b>, x\\, y <c@d>", "DOM\\user<a@b>|x, y<c@d>"},
      {"a@b (A (nested) \\) B)", "A (nested) \\) B<a@b>"},
      {"A (c) <a@b> (d)", "A (c)<a@b>"},
      {"<a@b> A", "A<a@b>"},
      {"root (The Operator)", "The Operator<root>"},
      {"Friends: a@b, C <c@d>; e@f", "<a@b>|C<c@d>|<e@f>"},
      {"undisclosed-recipients:;", ""},
      {"mailto:a@b, <mailto:c@d>, E [mailto:e@f]", "<a@b>|<c@d>|E<e@f>"},
      {"Ann Bee a@b", "Ann Bee<a@b>"},
      {"a @ b", "<a@b>"},
      {"a@b c@d", "<a@b>|<c@d>"},
      {"A <a@b> C <c@d>", "A<a@b>|C<c@d>"},
      {"Ann Bee, \"Cee\"", "Ann Bee<>|Cee<>"},
      {"<>, ,; ()", ""},
      {"A <>", "A<>"},
      {"A <a@b, C <c@d", "A<a@b>|C<c@d>"},
      {"A <<a@b>>", "A<a@b>"},
      {"<x a @ b c>", "<a@b>"},
      {"A <@r,@s:a@b>", "A<a@b>"},
      {"A <'a@b'>, 'c@d'", "A<a@b>|<c@d>"},
      {"\"A <a@b>, C <c@d>", "A<a@b>|C<c@d>"},
      {"\"A <a@b>, \"C, D\" <c@d>", "A<a@b>|C, D<c@d>"},
      {"A (open <a@b>", "A open<a@b>"},
      {"a@[IPv6:1::2], a@[1.2.3.4]", "<a@[IPv6:1::2]>|<a@[1.2.3.4]>"},
      {"<\"a, b\"@c>", "<\"a, b\"@c>"},
      {"=?utf-8?Q?J=C3=B6rg,_X?= <a@b>", "J\xC3\xB6rg, X<a@b>"},
      {"=?iso-8859-1?Q?a,_(\"b\"_<?= <a@b>", "a, (\"b\" <<a@b>"},
      {"\"=?utf-8?Q?=C3=B6?= =?utf-8?Q?=C3=B6?=\" <a@b>", "\xC3\xB6\xC3\xB6<a@b>"},
      {"=?utf-8?Q?J=C3=B6rg_<a@b>,_=22X,_Y=22_<c@d>?=", "J\xC3\xB6rg<a@b>|X, Y<c@d>"},
      {"J\xC3\xB6rg <a@b>", "J\xC3\xB6rg<a@b>"},
      {"A\r\n B <a@\r\n b>", "A B<a@b>"},
      {"\"a@b\"", "<a@b>"},
      {"\"ann bee\"@c", "<\"ann bee\"@c>"},
      {"\"a@b c\"@d; \"e\"@f", "<\"a@b c\"@d>|<e@f>"},
      {"A \"b c\"@[1.2] (D) \"e f\"@g h@i j@k", "A<\"b c\"@[1.2]>|<\"e f\"@g>|<h@i>|<j@k>"},
      {"a@b \"c d\"@e, \"f g\"@h <i@j>", "<a@b>|<\"c d\"@e>|\"f g\"@h<i@j>"},
      {"\"a@b\" <c@d>", "a@b<c@d>"},
      {string_view("a@b, \0\x01\0, c\0d\0", 14), "<a@b>|c d<>"},
      {"Lee, Ann <a@b>, Poe, Bo (X) <c@d>; Roe ,=?utf-8?Q?=C3=B6?= [mailto:e@f]",
       "Lee, Ann<a@b>|Poe, Bo (X)<c@d>|Roe, \xC3\xB6<e@f>"},
      {"Bob B, ann@c, <d@e>, root; Lee, G: Ann <a@b>",
       "Bob B<>|<ann@c>|<d@e>|<root>|<Lee>|Ann<a@b>"},
      {"\"Lee\", Ann <a@b>, Poe, \"Bo\" <c@d>, Roe, Cy <>",
       "Lee<>|Ann<a@b>|<Poe>|Bo<c@d>|<Roe>|Cy<>"},
      {"a@b, Ann <c@d>, x (y), Cee <e@f>", "<a@b>|Ann<c@d>|y<x>|Cee<e@f>"},
      {"root, host!u, /O=A/CN=B, 'x', J\xC3\xB6rg",
       "<root>|<host!u>|</O=A/CN=B>|<x>|J\xC3\xB6rg<>"},
      {"Ann Lee (Sales), A <SMTP:a@b>", "Ann Lee (Sales)<>|A<a@b>"},
      {"\"", ""},
      {"\\", "\\<>"},
  };
  for (const auto& row : rows) EXPECT_EQ(Parse(row.text), row.dump) << row.text;
}

TEST(EmailAddress, WritesNamesForThePage) {
  const struct {
    string_view text;
    int page;
    string_view written;
  } rows[] = {
      {"a@b, <c@d>", 65001, "a@b, c@d"},
      {"\"a b\"@c", 65001, "<\"a b\"@c>"},
      {"Ann Bee <a@b>", 65001, "Ann Bee <a@b>"},
      {"\"Bee, A.\" <a@b>", 20127, "\"Bee, A.\" <a@b>"},
      {"\"a  b\" <a@b>", 65001, "\"a  b\" <a@b>"},
      {"\"a \\\"b\\\"\" <a@b>", 28591, "\"a \\\"b\\\"\" <a@b>"},
      {"\"\xC3\xA9, B\" <a@b>", 28591, "=?iso-8859-1?Q?=E9=2C_B?= <a@b>"},
      {"\xC3\xA9 <a@b>", 20127, "=?utf-8?Q?=C3=A9?= <a@b>"},
      {"\xE4\xB8\x80 <a@b>", 950, "=?big5?B?pEA=?= <a@b>"},
      {"<root>, <x>; B <a@b>", 65001, "root, <x>, B <a@b>"},
      {"Ann", 65001, "Ann"},
      {"\"Ann\"; Ann Lee; Bee <a@b>", 65001, "\"Ann\", Ann Lee <>, Bee <a@b>"},
      {"=?utf-8?Q?=C3=A9?=; B <a@b>", 20127, "=?utf-8?Q?=C3=A9?= <>, B <a@b>"},
      {"\"x@y\" <>", 65001, "\"x@y\" <>"},
  };
  for (const auto& row : rows) {
    ExtPtrArrayOf<_ckEmailAddress> list;
    _ckEmailAddress::loadList(row.text, list, silent);
    mail::StringBuffer out;
    _ckEmailAddress::emitList(list, out, row.page, silent);
    EXPECT_EQ(out.view(), row.written) << row.text;
    EXPECT_EQ(Parse(out.view()), Dump(list)) << row.text;
  }
}

TEST(EmailAddress, HostileListsTakeLinearTime) {
  for (const string_view part : {",", "<", "\"", "(", "((", "a@b ", ")(\"", "[", "=?a?Q?", ":", "@",
                                 "\"<@>", "\" \"@[", "\" \"@a@", "a,", "<\"", "@:"}) {
    ExtPtrArrayOf<_ckEmailAddress> list;
    _ckEmailAddress::loadList(Repeated(1'000'000, part), list, silent);
    EXPECT_LE(list.getSize(), _ckEmailAddress::kMaxAddresses);
    _ckEmailAddress one;
    EXPECT_TRUE(one.load("x (\xC3\xA9) <a@b>, c", silent));
    EXPECT_EQ(one.m_address.view(), "a@b");
  }
}

}  // namespace
