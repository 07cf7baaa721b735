#include "mailboxd/store/MailContent.h"

#include <array>

#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/MailFiles.h"

using namespace mailbox_test;

namespace {

// What a mailbox shows of a mail that was saved as MIME content.
class MailContent : public LocalMailbox {
 protected:
  // What an attachment holds: a file's content, or the MIME content of a mail.
  std::string Bytes(const std::string& id) {
    const std::string answer = Ask(GetAttachment(
        id, Tag("m:AttachmentShape", "<t:IncludeMimeContent>true</t:IncludeMimeContent>")));
    EXPECT_EQ(Code(answer), "NoError");
    return BytesIn(answer);
  }
  // Each as "name (type, bytes)", mails with "mail" in front and inline ones with a star; each is
  // fetched as well.
  std::string Attachments(std::string item) {
    std::string list;
    constexpr std::string_view kEnd = "Attachment>";
    for (size_t at = item.find(kEnd); at != std::string::npos; at = item.find(kEnd)) {
      const bool mail = std::string_view(item).substr(0, at).ends_with("<t:Item");
      item.erase(0, at + kEnd.size());
      const size_t end = item.find(kEnd);
      const std::string one = item.substr(0, end);
      item.erase(0, end + kEnd.size());
      const std::string size = Find(one, "<t:Size>([0-9]*)<");
      list += (list.empty() ? "" : ", ") + std::string(mail ? "mail " : "") +
              Find(one, "<t:Name>([^<]*)<") + " (" + Find(one, "<t:ContentType>([^<]*)<") + ", " +
              size + ")" + (Find(one, "<t:IsInline>(true)<").empty() ? "" : "*");
      EXPECT_EQ(std::to_string(Bytes(Find(one, "Id=\"([^\"]*)\"")).size()), size);
    }
    return list;
  }
};

struct Sample {
  const char* file;
  const char* subject;
  const char* from;
  bool hasAttachments;
  const char* attachments;
};
constexpr std::array<Sample, 16> kSamples = {{
    {"02 Figures with a picture", "Containers January to May", "Jürgen Brandt", false,
     "chart.png (image/png, 392)*"},
    {"03 Damaged in transit", "Møte på torsdag", "Håkon Sørlie", true,
     "dagsorden.txt (text/plain, 33)"},
    {"Projects/05 Offer with attachments", "Our offer 2024-117", "Yard &amp; Sons, Sales", true,
     "offer-2024-117.pdf (application/pdf, 599), Positionen – Größe M.csv (text/csv, 98)"},
    {"Projects/06 Forwarded without an id", "Fwd: Crane rails", "Ingrid Halvorsen", true,
     "mail Crane rails.eml (message/rfc822, 352)"},
    {"Letters & cards/08 From Yokohama", "打ち合わせの資料", "田中美咲", false, ""},
    {"Letters & cards/25 Ferry, windows-1251",
     "Расписание паромов на июль и август, включая праздничные дни и ночные рейсы",
     "Ольга Смирнова", false, ""},
    {"Harbour office/14 Newsletter with two pictures", "The new light", "Harbour news", false,
     "light.png (image/png, 147)*, flag.gif (image/gif, 47)*"},
    {"Harbour office/15 HTML alone with a picture", "How it looks today", "Tom Okafor", false,
     "ATT00001.png (image/png, 270)*"},
    {"Harbour office/16 Invitation", "Invitation: Crane inspection", "Ingrid Halvorsen", false,
     "ATT00001.ics (text/calendar, 372)*"},
    {"Attachments/17 Many kinds", "Everything you asked for", "Tom Okafor", true,
     "empty.zip (application/zip, 22), tom.vcf (text/vcard, 97), all bytes.bin "
     "(application/octet-stream, 256), tides.csv (text/csv, 27), empty.dat "
     "(application/octet-stream, 0)"},
    {"Attachments/19 Forwarded twice", "Fwd: Fwd: Rope broken", "Tom Okafor", true,
     "mail Fwd Rope broken.eml (message/rfc822, 726)"},
    {"Attachments/20 Delivery report", "Undelivered mail", "Mail system", false,
     "ATT00001.txt (message/delivery-status, 154)*, ATT00002.txt (text/rfc822-headers, 69)*"},
    {"Attachments/21 Uuencoded in the text", "Tide table", "Tom Okafor", true,
     "tide.txt (application/octet-stream, 17)"},
    {"Attachments/22 Signed", "Signed order", "Ingrid Halvorsen", true,
     "signature.asc (application/pgp-signature, 90)"},
    {"Odd and damaged/40 Boundary that never ends", "Cut", "Tom Okafor", true,
     "cut.png (image/png, 8), ATT00001.txt (text/plain, 9)*"},
    {"Odd and damaged/41 Raw bytes in the subject", "Crème brûlée à 3 € et bad=ZZy", "José", false,
     ""},
}};

TEST_F(MailContent, OfSamplesIsShownAsAReaderWouldShowIt) {
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.file);
    const std::string id = SaveMail(
        test_support::ReadBytes(std::string(TARNY_SOURCE "/samples/mail/") + sample.file + ".eml"));
    const std::string shown = Show(id);
    EXPECT_EQ(Find(shown, "<t:Subject>([^<]*)<"), sample.subject);
    EXPECT_EQ(Find(shown, "<t:From><t:Mailbox><t:Name>([^<]*)<"), sample.from);
    EXPECT_EQ(Find(shown, "<t:HasAttachments>([^<]*)<"), sample.hasAttachments ? "true" : "false");
    EXPECT_EQ(Attachments(shown), sample.attachments);
  }
}

constexpr std::string_view kMail =
    "Subject: s\r\nContent-Type: multipart/mixed; boundary=x\r\n\r\n"
    "--x\r\n\r\nna\xEFve\r\n"
    "--x\r\nContent-Type: text/plain; charset=iso-8859-1; name=\"list.txt\"\r\n"
    "Content-Disposition: inline; filename=\"list.txt\"\r\n\r\ncaf\xE9\r\n"
    "--x\r\nContent-Type: message/rfc822\r\n\r\n"
    "Subject: inner\r\nContent-Type: multipart/mixed; boundary=y\r\n\r\n"
    "--y\r\n\r\ntext\r\n--y\r\nContent-Type: image/png\r\nContent-ID: <p@x>\r\n\r\nP\r\n--y--\r\n"
    "--x--\r\n";

TEST_F(MailContent, AttachmentsHoldTheBytesOfTheirFiles) {
  const std::string id = SaveMail(kMail);
  const std::string shown = Show(id);
  EXPECT_TRUE(Holds(shown, {"<t:Body BodyType=\"Text\">naïve<"}));
  EXPECT_EQ(Attachments(shown), "list.txt (text/plain, 4), mail inner (message/rfc822, 133)");
  const std::string list = AttachmentId(shown);
  const std::string mail = Find(shown, "AttachmentId Id=\"[^]*AttachmentId Id=\"([^\"]*)\"");
  EXPECT_EQ(Bytes(list), "caf\xE9");
  EXPECT_EQ(Bytes(mail), kMail.substr(kMail.find("Subject: inner"), 133));
  const mailbox::PartId part = *mailbox::ReadPartId(mail);
  for (const std::vector<size_t>& path :
       {std::vector<size_t>{2}, {0, 0}, {1, 1}, {1, 0, 0}, {1, 1, 0}}) {
    EXPECT_EQ(Code(Ask(GetAttachment(mailbox::MakePartId({part.item, path})))),
              "ErrorItemNotFound");
  }
  EXPECT_EQ(Code(Ask(GetAttachment(id))), "ErrorInvalidIdMalformed");
  m_store.DeleteItem(part.item);
  EXPECT_EQ(Code(Ask(GetAttachment(mail))), "ErrorItemNotFound");
}

TEST_F(MailContent, AnAttachedMailIsAnItemWithAttachmentsOfItsOwn) {
  const std::string shown = Show(SaveMail(kMail));
  const std::string id = Find(shown, "<t:ItemAttachment><t:AttachmentId Id=\"([^\"]*)\"");
  const std::string mail = Ask(GetAttachment(id));
  EXPECT_TRUE(Holds(
      mail, {"<t:Name>inner</t:Name>", "<t:IsInline>false</t:IsInline><t:Message><t:ItemClass>",
             "<t:Subject>inner<", "<t:Body BodyType=\"Text\">text<", "<t:IsDraft>false<",
             "<t:HasAttachments>true<"}));
  EXPECT_TRUE(Lacks(mail, {"<t:ItemId", "MimeContent"}));
  const size_t open = mail.find("<t:Attachments>");
  EXPECT_EQ(Attachments(mail.substr(open, mail.find("</t:Attachments>") - open)),
            "ATT00001.png (image/png, 1)");
}

TEST_F(MailContent, TheBodyIsHtmlUnlessTextIsAskedFor) {
  const std::string id = SaveMail(
      "Content-Type: multipart/alternative; boundary=x\r\n\r\n--x\r\nContent-Type: "
      "text/plain\r\n\r\nplain\r\n--x\r\nContent-Type: text/html\r\n\r\n<b>\r\n--x--\r\n");
  const auto body = [&](const std::string& type) {
    return Find(Show(id, Tag("t:BodyType", type)), "<t:Body BodyType=([^/]*)</t:Body>");
  };
  EXPECT_EQ(body("Text"), "\"Text\">plain");
  EXPECT_EQ(body("Best"), "\"HTML\">&lt;b&gt;");
}

TEST_F(MailContent, MailsWithinMailsAreItemsUpToADepthAndFilesBeyond) {
  std::string mime = "Subject: last\r\n\r\nx";
  for (int i = 0; i < 100; ++i) {
    mime = "Subject: s" + std::to_string(i) + "\r\nContent-Type: message/rfc822\r\n\r\n" + mime;
  }
  std::string answer = Show(SaveMail(mime));
  size_t depth = 0;
  for (; answer.find("<t:ItemAttachment>") != std::string::npos; ++depth) {
    const size_t inside = answer.rfind("<t:ItemAttachment>");
    answer = Ask(GetAttachment(AttachmentId(answer.substr(inside))));
    answer.erase(0, answer.find("<t:Message>"));
  }
  EXPECT_EQ(depth, mailbox::PartId::kDeepest - 1);
  EXPECT_TRUE(Holds(answer, {"<t:FileAttachment>"}));
  EXPECT_TRUE(Bytes(AttachmentId(answer)).ends_with("last\r\n\r\nx"));
}

TEST_F(MailContent, FilesAreLookedForOnceWhenAListAsks) {
  const auto known = [&](const std::string& id) {
    mailbox::IdKind kind{};
    return m_store.Item(*mailbox::ReadId(id, &kind))->mailHasFiles;
  };
  const std::string with = SaveMail(kMail);
  const std::string without = SaveMail("Subject: s\r\n\r\nx");
  const std::string bare = ItemId(Save("<t:Subject/>"));
  EXPECT_EQ(known(with), std::nullopt);
  EXPECT_EQ(known(bare), false);
  const std::string list = FindItem(WellKnown("inbox"), kDefault);
  const std::string first = Ask(list);
  EXPECT_EQ(CountOf(first, "<t:HasAttachments>true<"), 1u);
  EXPECT_EQ(known(with), true);
  EXPECT_EQ(known(without), false);
  EXPECT_EQ(Ask(list), first);  // change keys among it
}

TEST_F(MailContent, LeavesOutPartsThatAreEmptyAndNoFiles) {
  const mailbox::MailContent content(
      "Content-Type: multipart/mixed; boundary=x\r\n\r\n--x\r\nA: b\r\n\r\n\r\n"
      "--x\r\nContent-Type: text/plain\r\n\r\n\r\n--x\r\n\r\nlast\r\n"
      "--x\r\nContent-Disposition: attachment; filename=e\r\n\r\n\r\n--x--\r\n");
  EXPECT_EQ(content.Text(), "last");
  ASSERT_EQ(content.Attachments().size(), 1u);
  EXPECT_EQ(content.Attachments()[0].name, "e");
  EXPECT_EQ(mailbox::MailContent("Subject: s\r\n").Attachments().size(), 0u);
}

}  // namespace
