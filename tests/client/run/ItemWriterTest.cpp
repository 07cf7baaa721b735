#include "client/run/ItemWriter.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "charset/LibraryNarrow.h"
#include "client/run/ItemProps.h"
#include "client/sources/ContentHash.h"
#include "tests/client/WideText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using test_support::ReadAll;
using test_support::TemporaryFolder;

TEST(ItemWriter, TheDescriptorHasItsLinesInTheirPlaces) {
  EXPECT_EQ(DescriptorText({"<a@b>", "2024-03-31 13:05:00", false, {}}),
            "EMAIL\r\n"
            "\n"
            "Creation Date : 2024-03-31 13:05:00\r\n"
            "TRUE\r\n"
            "\r\n\r\n\r\n\r\n\r\n"
            "MessageID : <a@b>\r\n");
}

TEST(ItemWriter, SubjectAndAddressesOfTheHeaderAreDecodedLines) {
  const mail::MailHeader header(
      "From: =?utf-8?Q?Ott,_J=C3=BCrgen?= <j@x.example>, second@x.example\r\n"
      "To: \"A; B\" <a@x.example>, name only, \"odd;local\"@x.example\r\n"
      "Cc: b@x.example\r\nTo: \"C \\\"K\\\"\" <c@x.example>, \"a To : b\" <d@x.example>\r\n"
      "Subject: =?iso-8859-1?Q?Gr=FC=DFe?=\r\n\r\n");
  EXPECT_EQ(DescriptorText({"k", "", true, AddressingOf(header)}),
            "EMAIL\r\n\n\r\nFALSE\r\n"
            "From : \"Ott, J\xC3\xBCrgen\" <j@x.example>\r\n"
            "To : a@x.example;\"C \\\"K\\\"\" <c@x.example>;d@x.example\r\n"
            "CC : b@x.example\r\n\r\n"
            "Subject : Gr\u00fc\u00dfe\r\nMessageID : k\r\n");
  const mail::MailHeader odd("Subject: Re: Subject : x\r\n\r\n");
  EXPECT_EQ(DescriptorText({"k", "", true, AddressingOf(odd)}),
            DescriptorText({"k", "", true, {}}));
}

TEST(ItemWriter, TheFilesReplaceThoseOfTheItemBefore) {
  const TemporaryFolder folder;
  const std::string work = folder.File("Temp");
  EmptyWorkFolder(work);
  folder.Write("Temp/Html/left.png", "x");
  folder.Write("Temp/EmlFile.Eml", "old");
  EmptyWorkFolder(work);
  EXPECT_TRUE(std::filesystem::is_empty(work));
  WriteMail(work, {"<\xC3\xA4@b>", "", true, {}}, "Subject: x\r\n\r\n");
  EXPECT_EQ(ReadAll(work + "/EmlFile.Eml"), "Subject: x\r\n\r\n");
  const std::string descriptor = ReadAll(work + "/11comtextjj.t");
  EXPECT_TRUE(descriptor.starts_with(std::string("E\0M\0A\0I\0L\0\r\0\n\0\n\0", 16)));
  EXPECT_NE(descriptor.find(std::string("<\0\xE4\0@\0", 6)), std::string::npos);
}

TEST(ItemWriter, AWorkFolderThatCannotBeUsedIsAnError) {
  const TemporaryFolder folder;
  folder.Write("Temp", "a file in its place");
  EXPECT_THROW(EmptyWorkFolder(folder.File("Temp")), WriteError);
  EXPECT_THROW(WriteMail(folder.File("none"), {"k", "", true, {}}, "x"), WriteError);
}

TEST(ItemWriter, BareLineFeedsBecomeCrLfOnlyWhereThereIsNoCrLfAtAll) {
  EXPECT_EQ(MimeBytes("A: b\n\nx\ny"), "A: b\r\n\r\nx\r\ny");
  EXPECT_EQ(MimeBytes("A: b\n\r\nx\n"), "A: b\n\r\nx\n");
  EXPECT_EQ(MimeBytes("A: b\r\rx"), "A: b\r\rx");
  EXPECT_EQ(MimeBytes("From me Mon\nA: b\n\nFrom x\n"), "A: b\r\n\r\nFrom x\r\n");
  EXPECT_EQ(MimeBytes("From me\r\n\r\nA: b\r\n\r\n"), "A: b\r\n\r\n");
  EXPECT_EQ(MimeBytes("From me\rA: b\r\rx"), "A: b\r\rx");
  EXPECT_EQ(MimeBytes("From me Mon\n>From a Sun remote from b\n>From b\nA: b\n\n>From x"),
            "A: b\r\n\r\n>From x");
  EXPECT_EQ(MimeBytes("From: me\r\n"), "From: me\r\n");
}

// As a Thunderbird puts them into mail that has LF: it is the same mail with them and without.
TEST(ItemWriter, NotesOfItsStoreDoNotDecideTheLineEndsOfAMail) {
  const std::string notes =
      "X-Mozilla-Status: 0001\r\nX-Mozilla-Keys: a\r\n b\r\nX-Account-Key: x\n";
  const std::string sent = MimeBytes("From - Mon\r\n" + notes + "A: b\n\nx\r\ry\n");
  EXPECT_EQ(sent, notes.substr(0, notes.size() - 1) + "\r\nA: b\r\n\r\nx\r\ry\r\n");
  EXPECT_EQ(ContentHash(sent), ContentHash(MimeBytes("A: b\n\nx\r\ry\n")));
  const std::string mixed = notes + "A: b\n\nx\r\ny\n";
  EXPECT_EQ(MimeBytes(mixed), mixed);
}

TEST(ItemWriter, AMailInUtf16IsSentAsUtf8ThatSaysSo) {
  const auto mail = [](const std::string& end) {
    const std::string text =
        "Subject: Gr\u00fc\u00dfe" + end + "Content-Type: multipart/mixed; boundary=b" + end + end +
        "--b" + end + "Content-Type: text/plain; charset=iso-8859-1" + end + end +
        "\xC3\xA9\xE2\x82\xAC" + end + "--b" + end + "Content-Type: text/plain; charset=koi8-r" +
        end + "Content-Transfer-Encoding: base64" + end + end + "wQ==" + end + "--b--" + end;
    return "\xFF\xFE" + client_test::Wide(text);
  };
  mail::installLibraryNarrow();
  for (const char* end : {"\r\n", "\n"}) {
    EXPECT_EQ(
        MimeBytes(mail(end)),
        "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: "
        "8bit\r\n\r\n\xC3\xA9\xE2\x82\xAC\r\n"
        "--b\r\nContent-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: "
        "base64\r\n\r\nwQ==\r\n\r\n--b--\r\n");
  }
}

TEST(ItemProps, TheKeyJoinsWhatAPreparedItemBrings) {
  const TemporaryFolder folder;
  const auto with = [&](const std::string& bytes) {
    folder.Write("ItemProps.json", bytes);
    WriteItemProps(folder.Path(), "<a@x> \xC3\xA9");
    return nlohmann::json::parse(ReadAll(folder.File("ItemProps.json")));
  };
  const nlohmann::json alone = {{"key", "<a@x> \xC3\xA9"}};
  WriteItemProps(folder.Path(), "<a@x> \xC3\xA9");
  EXPECT_EQ(nlohmann::json::parse(ReadAll(folder.File("ItemProps.json"))), alone);
  const nlohmann::json joined = with(R"({"key": "theirs", "categories": ["Red"]})");
  EXPECT_EQ(joined["key"], alone["key"]);
  EXPECT_EQ(joined["categories"], nlohmann::json::array({"Red"}));
  for (const std::string& odd :
       {std::string("[1, 2]"), std::string("{\"a\": "), std::string(2 << 20, ' ')}) {
    EXPECT_EQ(with(odd), alone);
  }
  const std::string deep = "{\"a\": " + std::string(100'000, '[') + std::string(100'000, ']') + "}";
  EXPECT_EQ(with(deep)["key"], alone["key"]);
}

}  // namespace
}  // namespace client
