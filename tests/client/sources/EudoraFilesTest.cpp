#include "client/sources/EudoraFiles.h"

#include <filesystem>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/LogNull.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailLayout.h"
#include "tests/client/sources/SentItem.h"
#include "tests/client/sources/StoreTexts.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Mbox;
using client_test::MissingOf;
using client_test::Sent;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Eudora, FilesBesideItsMailboxesComeBackIntoTheirMails) {
  const std::string from = "From ???@??? Tue Mar 05 10:00:00 2019\r\n";
  const std::string text = "\r\nattachment converted: <no path>\r\n";
  const std::string lines =
      "Attachment Converted: \"c:\\eudora\\attach\\OFFER.doc\"\r\n"
      "Attachment converted: Macintosh HD:K\xF6ln.x (TEXT/ttxt) (0001234A)\r\n"
      "Embedded Content: logo.gif: 00000001,1a2b3c4d,00000000,00000000\r\n"
      "Attachment Converted: ..\\..\\In.mbx\r\nAttachment Converted: ..\r\n"
      "Attachment Converted: \"C:\\Attach\\link\"\r\nAttachment Converted: /dev/zero\r\n"
      "Attachment Converted: gone.doc\r\nAttachment Converted: offer.doc\r\n";
  const std::string head =
      "X-Attachments: C:\\a.doc;\r\nContent-Type: Text/Plain;\r\n format=flowed\r\n";
  const TemporaryFolder folder;
  folder.Write("Kunden.fol/Alt.mbx", from + head + "Subject: x\r\n\r\nt\xE4xt\r\n" + lines);
  folder.Write("ATTACH/offer.doc", "doc");
  folder.Write("ATTACH/K\xC3\xB6ln.x", std::string(60, 'x'));
  folder.Write("Embedded/Logo.gif", "gif");
  std::filesystem::create_symlink("/etc/passwd", folder.File("ATTACH/link"));
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 1u);
  const LoadedItem item = Sent(plan.entries[0]);
  EXPECT_THAT(MissingOf(item),
              ElementsAre("In.mbx: not in the source", "link: Too many levels of symbolic links",
                          "zero: not in the source", "gone.doc: not in the source"));
  const std::size_t begin = item.bytes.find("=_");
  ASSERT_NE(begin, std::string::npos);
  const std::string boundary = item.bytes.substr(begin, 34);
  const auto part = [&](const std::string& fields, const std::string& body) {
    return "--" + boundary + "\r\nContent-Type: " + fields +
           "\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment; filename" +
           body;
  };
  EXPECT_EQ(item.bytes,
            "X-Attachments: C:\\a.doc;\r\nSubject: x\r\nMIME-Version: 1.0\r\n"
            "Content-Type: multipart/mixed; boundary=\"" +
                boundary + "\"\r\n\r\n--" + boundary +
                "\r\nContent-Type: Text/Plain;\r\n format=flowed\r\n\r\nt\xE4xt\r\n" + lines +
                "\r\n" +
                part("application/msword; name=\"offer.doc\"", "=\"offer.doc\"\r\n\r\nZG9j\r\n") +
                part("application/octet-stream; name*=UTF-8''K%C3%B6ln.x",
                     "*=UTF-8''K%C3%B6ln."
                     "x\r\n\r\neHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4"
                     "eHh4eHh4\r\neHh4\r\n") +
                part("image/gif; name=\"Logo.gif\"", "=\"Logo.gif\"\r\n\r\nZ2lm\r\n") + "--" +
                boundary + "--\r\n");

  // One whose parts were put away is text; what a sender names counts where nothing came of it; and
  // a list of files is as good as its owner's disk.
  std::string many;
  for (int i = 0; i < 10000; ++i) many += "Attachment Converted: " + std::to_string(i) + "\r\n";
  const std::string old =
      from + "Subject: x\r\nX-Attachments: C:\\offer.doc; D:\\b c.txt ;\r\n" +
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n<x-html>\xE4</x-html>\r\n";
  folder.Write("Kunden.fol/Alt.mbx", old + from + "Subject: y\r\n\r\n" + many);
  std::filesystem::create_directory(folder.File("Attach"));
  folder.Write("Attach/9", "");
  std::filesystem::resize_file(folder.File("Attach/9"), FilesBeside::kMostBytes + 1);
  const Plan later = MakePlan({folder.File("Kunden.fol/Alt.mbx")});
  ASSERT_EQ(later.entries.size(), 2u);
  const LoadedItem html = Sent(later.entries[0]);
  EXPECT_THAT(MissingOf(html), ElementsAre("b c.txt: not in the source"));
  EXPECT_THAT(html.bytes, testing::HasSubstr("\r\nContent-Type: text/html; charset=windows-1252\r\n"
                                             "Content-Transfer-Encoding: 8bit\r\n\r\n<x-html>"));
  const std::vector<std::string> missing = MissingOf(Sent(later.entries[1]));
  EXPECT_EQ(missing.size(), kMostEudoraFiles + 1);
  EXPECT_EQ(missing.back(), "and all others: more than a mail can have");
  EXPECT_EQ(missing[9], "9: too large");
  std::filesystem::remove_all(folder.File("ATTACH"));
  EXPECT_EQ(Sent(MakePlan({folder.File("Kunden.fol/Alt.mbx")}).entries[0]).hash, html.hash);

  // Anybody's mail may quote such a line.
  folder.Write("Old.mbox", Mbox() + lines);
  EXPECT_THAT(MissingOf(Sent(MakePlan({folder.File("Old.mbox")}).entries[0])), IsEmpty());
}

// "related inline NAME: ": in what, how it is to be shown, and the fields by which a text may.
std::vector<std::string> PartsOf(const LoadedItem& item) {
  mail::LogNull log;
  const auto mail = mail::buildEmail(item.bytes, /*bUtf8=*/true, log, mail::BuildFor::kReader);
  std::vector<std::string> parts;
  for (const mail::ShownNode& node : mail::layOut(*mail, log)) {
    const mail::Email2& part = *node.objPlaced.pNode;
    const std::string_view above = node.objPlaced.pParent->type().view();
    parts.push_back(fmt::format("{} {} {}: {}{}", above.substr(above.find('/') + 1),
                                part.disposition().view(), mail::fileNameOf(part),
                                part.header().valueOf("content-id"),
                                part.header().valueOf("content-location")));
  }
  return parts;
}

// What a name does not tell stays a file; so does all that a text which is no page says.
TEST(Eudora, PicturesStandWithThePageThatShowsThem) {
  const std::string from = "From ???@??? Tue Mar 05 10:00:00 2019\r\nSubject: x\r\n";
  const std::string page =
      "<x-html><body BACKGROUND=Paper.JPG><img\r\n src='CID:Logo.gif@01C5A2B3' "
      "alt=\"photo.png\">\r\n"
      "<img alt=\"photo.png\" src=\"cid:a%401\"><img src=\"file:///C|/Embedded/my%20map.gif\">"
      "<img src=\"http://x.example/web.gif\"><img src=\"//x.example/web.gif\">"
      "<img src=\"cid:two.gif@1\"><img src=\"cid:two.gif@2\"><img src=\"cid:list.doc\">"
      "<img src=\"cid:%0D%0AX:%20odd.gif\" alt=odd.gif><img src=\"C:\\Embedded\\odd.gif\"><img "
      "src=\"cid:</x-html>\r\n";
  std::string lines = "Attachment Converted: \"C:\\Attach\\list.doc\"\r\n";
  const TemporaryFolder folder;
  for (const char* const name : {"logo.gif", "paper.jpg", "photo.png", "My Map.gif", "web.gif",
                                 "two.gif", "odd.gif", "list.doc"}) {
    lines += fmt::format("Embedded Content: {}: 00000001,1a2b3c4d,00000000,00000000\r\n", name);
    folder.Write(std::string("Embedded/") + name, name);
  }
  folder.Write("In.mbx", from + "Content-Type: multipart/related; boundary=b\r\n\r\n" + page +
                             lines + from + "Content-Type: text/plain\r\n\r\n" + page + lines);
  const Plan plan = MakePlan({folder.File("In.mbx")});
  ASSERT_EQ(plan.entries.size(), 2u);
  EXPECT_THAT(PartsOf(Sent(plan.entries[0])),
              ElementsAre("related  : ", "related inline logo.gif: <Logo.gif@01C5A2B3>",
                          "related inline paper.jpg: Paper.JPG", "related inline photo.png: <a@1>",
                          "related inline My Map.gif: file:///C|/Embedded/my%20map.gif",
                          "mixed attachment list.doc: ", "mixed attachment web.gif: ",
                          "mixed attachment two.gif: ", "mixed attachment odd.gif: "));
  EXPECT_THAT(PartsOf(Sent(plan.entries[1])),
              ElementsAre("mixed  : ", "mixed attachment list.doc: ", "mixed attachment logo.gif: ",
                          "mixed attachment paper.jpg: ", "mixed attachment photo.png: ",
                          "mixed attachment My Map.gif: ", "mixed attachment web.gif: ",
                          "mixed attachment two.gif: ", "mixed attachment odd.gif: "));
}

}  // namespace
}  // namespace client
