// `tarny` as a program: what its subcommands for one mail show, and what all of them refuse.

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/client/commands/TarnyRun.h"

namespace {

using client_test::Result;
using client_test::Tarny;
using testing::HasSubstr;

const std::string kMail =
    "From: J\xF6rg <j@a.example>\n"
    "To: bob@b.example\n"
    "To: Cy <cy@c.example>\n"
    "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe=1B[2J?=\n"
    "Content-Type: multipart/mixed; boundary=b\n"
    "\n"
    "--b\n"
    "Content-Type: multipart/alternative; boundary=a\n"
    "\n"
    "--a\n"
    "Content-Type: text/plain; charset=iso-8859-1\n"
    "\n"
    "Hall\xF6\x1B[2J\n"
    "--a\n"
    "Content-Type: text/html; charset=iso-8859-1\n"
    "\n"
    "<p>Hall\xF6\n"
    "--a--\n"
    "--b\n"
    "Content-Type: application/pdf; name=offer.pdf\n"
    "Content-Disposition: attachment\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "JVBERi0=\n"
    "--b--\n";

TEST(EmailCommand, ShowsWhatAReaderOfMailShows) {
  const Result result = Tarny("email INPUT", kMail);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("a guess; tarny mime tells: "));  // a raw byte in the header
  EXPECT_EQ(result.out,
            "Subject: Gr\u00fc\u00dfe\u241b[2J\n"
            "From:    J\xC3\xB6rg <j@a.example>\n"
            "To:      bob@b.example, Cy <cy@c.example>\n"
            "Attachments:\n"
            "  offer.pdf  application/pdf, 5 bytes\n"
            "\n"
            "Hall\xC3\xB6\xE2\x90\x9B[2J\n");
  EXPECT_EQ(Tarny("email INPUT --html", kMail).out, "<p>Hall\xC3\xB6");
  const auto json = nlohmann::json::parse(Tarny("email --json INPUT", kMail).out);
  EXPECT_EQ(json["attachments"][0]["sha256"].get<std::string>().size(), 64U);
}

TEST(EmailCommand, ShowsWhatStandsInOddPlaces) {
  const std::string bare = "Subject: x\nContent-Type: text\nContent-Transfer-Encoding: ";
  const struct {
    std::string mail;
    const char* out;
  } cases[] = {
      {"Subject: x\n\nAs of old:\nbegin 644 a.txt\n#0V%T\n`\nend\n",
       "Subject: x\nAttachments:\n  a.txt  application/octet-stream, 3 bytes\n\nAs of old:\n"},
      {"Content-Type: multipart/report; boundary=b\n\n--b\n\nIt failed.\n--b\n"
       "Content-Type: text/plain\n\nSecond text\n--b\nContent-Type: message/delivery-status\n\n"
       "Status: 5.0.0\n--b--\n",
       "Attachments:\n  (no name)  message/delivery-status, 13 bytes\n\n"
       "It failed.\nSecond text\n"},
      // without a charset: windows-1252 under an encoding too, iso-2022-jp by its escapes
      {bare + "quoted-printable\n\nGr=FC=DFe =80\n", "Subject: x\n\nGr\u00fc\u00dfe \u20ac\n"},
      {bare + "7bit\n\n\x1B$B$\"\x1B(B\n", "Subject: x\n\n\xE3\x81\x82\n"},
      // an address list can be read again
      {"From: =?utf-8?Q?J=C3=B6rg_Ott?= <j@a.example>\n"
       "To: \"Ott, Jo\" <o@a.example>, =?utf-8?Q?a<b>_\"c\"?= <b@a.example>, d@a.example\n\nx\n",
       "From:    J\u00f6rg Ott <j@a.example>\n"
       "To:      \"Ott, Jo\" <o@a.example>, \"a<b> \\\"c\\\"\" <b@a.example>, d@a.example\n\nx\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(Tarny("email INPUT", c.mail).out, c.out);
  EXPECT_EQ(Tarny("email INPUT", cases[4].mail).err, "");
}

TEST(Output, ThatCannotBeWrittenIsNoSuccess) {
  for (const std::string command : {"--version", "email INPUT", "mailbox --help"}) {
    const Result result = Tarny(command + " > /dev/full || exit 1; true", kMail);
    EXPECT_EQ(result.exitCode, 1) << command;
  }
}

TEST(MimeCommand, ShowsTheTreeAndWhatIsDamaged) {
  const Result result = Tarny("mime INPUT", kMail);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out,
            ".    multipart/mixed\n"
            "0      multipart/alternative\n"
            "0.0      text/plain           10 bytes, iso-8859-1\n"
            "0.1      text/html            9 bytes, iso-8859-1\n"
            "1      application/pdf        5 bytes, base64, attachment, \"offer.pdf\"\n"
            "\n"
            "Notes:\n"
            ".    its header has bytes of no named charset: a guess\n");
}

TEST(MimeCommand, FitsATerminalAndDrivesNone) {
  const Result result =
      Tarny("mime INPUT",
            "Content-Type: application/x-something; name=\"one two three four five six seven eight "
            "\xE6\x97\xA5\xE6\x9C\xAC\x1B[2J\"\nContent-Disposition: attachment\n\nx\n");
  EXPECT_EQ(result.out,
            ".  application/x-something  2 bytes, attachment, \"one two three four five six\n"
            "                            seven eight \xE6\x97\xA5\xE6\x9C\xAC\xE2\x90\x9B[2J\"\n");
}

TEST(MimeCommand, JsonHasEveryParameterAndTheNotes) {
  const std::string mail =
      "Content-Type: text/calendar; Method=REQUEST; charset=UTF-8; DelSp=\"yes\"; x-a*1=\"b "
      "c\";\r\n"
      " x-a*0*=utf-8'en'%C3%A9%20; x-empty; x-dup=1; x-dup=2\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\n!QUJD\r\n";
  const auto json = nlohmann::ordered_json::parse(Tarny("mime INPUT --json", mail).out);
  EXPECT_EQ(
      json["params"].dump(),
      "{\"method\":\"REQUEST\",\"charset\":\"UTF-8\",\"delsp\":\"yes\",\"x-a\":\"\xC3\xA9 b c\","
      "\"x-empty\":\"\",\"x-dup\":\"1\"}");
  EXPECT_EQ(json["notes"].dump(), "[\"base64 with 1 foreign byte passed over\"]");
}

TEST(MimeCommand, WritesTheMessageOrAPartOfItOutAgain) {
  EXPECT_EQ(Tarny("mime INPUT --part 1 --body", kMail).out, "%PDF-");
  EXPECT_EQ(Tarny("mime INPUT --part 0.1 --body", kMail).out, "<p>Hall\xC3\xB6");
  EXPECT_THAT(Tarny("mime INPUT --bytes", kMail).out, HasSubstr("\r\n<p>Hall\xF6\r\n--a--"));
  EXPECT_THAT(Tarny("mime INPUT --rewrite", kMail).out, HasSubstr("<p>Hall\xC3\xB6\r\n--a--"));
  const auto json = nlohmann::json::parse(Tarny("mime INPUT --json --part 0", kMail).out);
  EXPECT_EQ(json["path"], "0");
  EXPECT_EQ(json["parts"][1]["path"], "0.1");
}

TEST(Commands, TellWhatIsWrong) {
  const struct {
    const char* arguments;
    int exitCode;
    const char* err;
  } cases[] = {
      {"email /nowhere", 1, "tarny email: cannot read /nowhere: No such file or directory\n"},
      {"mime /nowhere", 1, "tarny mime: cannot read /nowhere: "},
      {"mime /dev/null", 1, "cannot read /dev/null: it is no regular file"},
      {"item /nowhere", 1, "tarny item: cannot read /nowhere/"},
      {"ledger /nowhere", 1, "tarny ledger: cannot read /nowhere: "},
      {"ledger INPUT", 1, "file is not a database"},
      {"mailbox ls --data /nowhere", 1, "tarny mailbox: cannot read /nowhere/"},
      {"migrate /nowhere --to local:x --run x", 1, "tarny migrate: cannot read /nowhere: "},
      {"migrate $(dirname INPUT) --to https://x/ --run x --user u --password-file /nowhere", 1,
       "tarny migrate: cannot read /nowhere: "},
      {"mime INPUT --part 0.7", 1, "there is no part '0.7'"},
      {"mime INPUT --part x", 1, "there is no part 'x'"},
      {"mime INPUT --json --body", 2, "exclude each other"},
      {"mime INPUT --rewrite --bytes", 2, "exclude each other"},
      {"email INPUT --json --html", 2, "--html"},
      {"email", 2, "FILE"},
  };
  for (const auto& c : cases) {
    const Result result = Tarny(c.arguments, kMail);
    EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments;
    EXPECT_THAT(result.err, HasSubstr(c.err)) << c.arguments;
    EXPECT_EQ(result.out, "") << c.arguments;
  }
  EXPECT_THAT(Tarny("email --html INPUT", "Subject: x\n\nplain\n").err, HasSubstr("no HTML text"));
  for (const char* command : {"email INPUT", "mime INPUT", "mime --json INPUT"}) {
    const Result empty = Tarny(command, "");
    EXPECT_EQ(empty.exitCode, 1) << command;
    EXPECT_THAT(empty.err, HasSubstr(": it is empty\n")) << command;
  }
  EXPECT_THAT(Tarny("--version", "").out, testing::MatchesRegex("tarny [0-9.]+\n"));
}

}  // namespace
