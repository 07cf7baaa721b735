#include "client/show/MimeNotes.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "client/show/MimeText.h"
#include "mime/tree/MimeMessage2.h"
#include "platform/NarrowText.h"
#include "tests/support/MailFiles.h"

namespace client {
namespace {

// "PATH: note" for each, parents first, for a tree of two levels.
std::vector<std::string> NotesOf(std::string_view mail) {
  platform::SetAnsiCodePage(1252);
  mail::MimeMessage2 root;
  MimeNotes notes;
  EXPECT_TRUE(notes.Load(mail, root));
  std::vector<std::string> texts;
  for (const std::string& note : notes.Of(root)) texts.push_back(".: " + note);
  for (std::size_t n = 0; n < root.partCount(); ++n) {
    for (const std::string& note : notes.Of(*root.part(n))) {
      texts.push_back(fmt::format("{}: {}", n, note));
    }
  }
  return texts;
}

std::string WithCrLf(std::string_view text) {
  std::string result;
  for (const char c : text) result += c == '\n' ? "\r\n" : std::string(1, c);
  return result;
}

TEST(MimeNotes, TellWhatIsDamaged) {
  struct Case {
    std::string mail;  // LF stands for CR LF
    std::vector<std::string> notes;
  };
  const std::string text = "Content-Type: text/plain; charset=";
  const std::string raw = "\nContent-Transfer-Encoding: 8bit\n\n";
  const std::string mixed = "Content-Type: multipart/mixed; boundary=b\n\n";
  const std::string base64 = "Content-Transfer-Encoding: base64\nContent-Type: image/png\n\n";
  const std::string quoted = text + "us-ascii\nContent-Transfer-Encoding: quoted-printable\n\n";
  const Case cases[] = {
      {"Subject: x\n\nsound\n", {}},
      {mixed + "--b\n\nsound\n--b--\n\n", {}},
      {mixed + "--b\n\nx y z\n", {".: its last delimiter is missing: the end may be cut off"}},
      {mixed + "--b\n\nx y z\n--b--\nlost\n", {".: 8 bytes behind its last delimiter left out"}},
      {mixed + "--c\n\nx\n", {".: its boundary never occurs: there are no parts"}},
      {mixed, {".: it has no body: there are no parts"}},
      {"Content-Type: multipart/mixed\n\n--b\n", {".: it names no boundary: there are no parts"}},
      {mixed + "--b\nno header\n--b--\n",
       {"0: its header has no end: nothing is left for a body",
        "0: 1 line of its header without a colon left out: \"no header\""}},
      {mixed + "--b\nContent-Type: text/plain; charset=x-none\n\n\xE4 is a\n--b--\n",
       {"0: its charset \"x-none\" is unknown: read as iso-8859-1"}},
      {"--b\nContent-Type: text/plain\n\nx\n--b--\n",
       {".: it has no header and begins with a delimiter"}},
      {base64 + "QUJD\nREVG\n", {}},
      {base64 + "QUJDR\n", {".: its base64 is cut: it ends within a group of four"}},
      {base64 + "QUJDR=\n", {".: its base64 is cut: it ends within a group of four"}},
      {base64 + "QU-JD*\n", {".: base64 with 2 foreign bytes passed over"}},
      {base64 + "QUI=\nfooter\n", {".: 6 bytes behind the end of its base64 left out"}},
      {quoted + "a=3D=3d =\nb = \nc=", {}},
      {quoted + "a=3 =zz\n", {".: quoted-printable with 2 \"=\" that mean nothing"}},
      {quoted + std::string("a\0lost", 6),
       {".: a NUL byte ends its quoted-printable: 4 bytes behind it left out"}},
      {"Content-Type: image/png\nContent-Transfer-Encoding: x-rot13\n\nx\n",
       {".: the transfer encoding \"x-rot13\" is unknown: left as it is"}},
      {text + "utf-8" + raw + "\xC3\xA9\n", {}},
      {text + "utf-8" + raw + "\xC3\n", {".: some bytes of its text are no UTF-8"}},
      {text + "iso-8859-1" + raw + "\xE9\n", {}},
      {text + "iso-8859-1" + raw + "\x93\xE9\n",
       {".: its charset is not iso-8859-1 as it says: read as windows-1252"}},
      {text + "iso-8859-1" + raw + "\xC3\xA9\n",
       {".: it is read as iso-8859-1, as it says, and looks like utf-8"}},
      {text + "gb2312" + raw + "\xC4\xE3\xFF\n",
       {".: some bytes of its text mean nothing in gb2312"}},
      {text + "\"\"" + raw + "\xE9\n", {".: it names no charset: read as iso-8859-1"}},
      {text + "us-ascii" + raw + std::string("a\0b\n", 4),
       {".: its text has NUL bytes: kept as it came, not converted"}},
      {"Subject: x\n\n\xC3\xA9\n",
       {".: it has no Content-Type: taken for text", ".: it names no charset: read as utf-8"}},
      {"Subject: =?x-none?Q?a?=\n\nx\n",
       {".: a header field is in the charset \"x-none\", which is unknown"}},
      {"Subject: \xE9\n\nx\n",
       {".: its header has bytes of no named charset: read as windows-1252"}},
      {"Content-Type: text/html\nContent-Type: text/plain\n\nx\n",
       {".: 2 Content-Type fields: the last one counts"}},
      {"From me Mon\nSubject: x\n\nx\n",
       {".: a line of an mbox file (\"From ...\") stands in front"}},
  };
  for (const Case& c : cases) EXPECT_EQ(NotesOf(WithCrLf(c.mail)), c.notes) << c.mail;
}

TEST(MimeNotes, TellOfLineEndsThatAreNoneOrOfSeveralKinds) {
  using Notes = std::vector<std::string>;
  EXPECT_EQ(NotesOf("Subject: x\n\nbody\n"), Notes{});
  EXPECT_EQ(NotesOf("Subject: x\r\n\r\nbody\n"), Notes{});  // an editor's
  EXPECT_EQ(NotesOf("Subject: x\r\n\r\none\ntwo\r\nthree\rfour\r\n"),
            Notes{".: its line ends are mixed: 4 CR LF, 1 LF, 1 CR"});
  EXPECT_EQ(NotesOf("Subject: x\r\rbody\r"), Notes{".: its line ends are all CR: read as CR LF"});
  EXPECT_EQ(NotesOf("Content-Type: image/png\r\nContent-Transfer-Encoding: binary\r\n\r\n\n\r\n\r"),
            Notes{});
}

TEST(MimeNotes, SoundMailHasNone) {
  const std::filesystem::path samples = std::filesystem::path(TARNY_SOURCE) / "samples/mail";
  const std::set<std::string> damaged = {
      "03 Damaged in transit.eml", "07 From an old Unix box.eml",
      "15 HTML alone with a picture.eml",  // one LF among CR LF
      "32 Names, GB18030.eml"};            // four-byte characters are no part of page 936
  std::size_t sound = 0;
  for (const auto& path : test_support::MailFiles(samples)) {
    if (damaged.count(path.filename()) > 0 || path.parent_path().filename() == "Odd and damaged") {
      continue;
    }
    ++sound;
    EXPECT_EQ(NotesOf(test_support::ReadBytes(path)), std::vector<std::string>{}) << path;
  }
  EXPECT_GT(sound, 30U);
}

TEST(MimeNotes, ManyDamagedPartsAreCountedAndNotAllShown) {
  std::string mail = "Content-Type: multipart/mixed; boundary=b\n\n";
  for (int n = 0; n < 100'000; ++n) mail += "--b\nno header\n";
  mail::MimeMessage2 root;
  MimeNotes notes;
  ASSERT_TRUE(notes.Load(mail, root));
  EXPECT_EQ(notes.Of(*root.part(99'999)).size(), 2U);
  const std::string shown = MimeText(root, ".", notes);
  EXPECT_NE(shown.find("and 199951 more\n"), std::string::npos);
}

}  // namespace
}  // namespace client
