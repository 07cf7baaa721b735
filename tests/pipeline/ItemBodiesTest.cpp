#include "pipeline/ItemBodies.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <map>

#include "body/ContactTextFile.h"
#include "charset/LibraryNarrow.h"
#include "tests/pipeline/ImportRun.h"

// Bodies, pictures and attachments of appointments, tasks and contacts.
namespace {

using ews::WellKnownFolderName;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct Kind {
  const char16_t* type;
  WellKnownFolderName target;
  const char* folder;
  const char16_t* lines;  // behind the subject, up to the body
  std::string image;
};
const Kind kAppointment{u"CALENDAR", WellKnownFolderName::Calendar, "calendar", u"\n\n\n\n\n\n",
                        "<2img"};
const Kind kTask{u"TASK", WellKnownFolderName::Tasks, "tasks", u"\n\n\n\n\n\n\n", "<1img"};
const Kind kContact{u"CONTACT", WellKnownFolderName::Contacts, "contacts", u"\n\n\n\n", "<3img"};

mailbox::ItemInfo Stored(ImportRun& run, const Kind& kind, const std::u16string& body) {
  EXPECT_EQ(run.Import(kind.target, std::u16string(kind.type) + u"\n\n\n\n\n\n\n\nSubject : s\n" +
                                        kind.lines + u"Body : " + body),
            1);
  EXPECT_EQ(run.error, "");
  return run.Last(kind.folder);
}

// "id type" by the attachment's name.
std::map<std::string, std::string> Attached(ImportRun& run, const mailbox::ItemInfo& item) {
  std::map<std::string, std::string> attached;
  for (const mailbox::AttachmentInfo& info : run.Store().Attachments(item.id)) {
    attached[info.name] = info.contentId + " " + info.contentType;
  }
  return attached;
}

// The n-th picture from 1 on is of the kind of its number, each with bytes of its own.
std::string RichText(int pictures, const std::vector<std::string>& kinds) {
  std::string rtf = "{\\rtf1 caf\\'e9";
  for (int n = 1; n <= pictures; ++n) {
    rtf += kinds[static_cast<size_t>(n) % kinds.size()] + fmt::format("{:04x}", n) + "}";
  }
  return rtf + "}";
}
const std::string kJpeg = "{\\pict\\jpegblip ffd8ffe0";
const std::string kPng = "{\\pict\\pngblip 89504e470d0a";

TEST(ItemBodies, EachOf120PicturesIsPairedWithItsLink) {
  for (const Kind& kind : {kAppointment, kTask, kContact}) {
    for (const bool safe : {false, true}) {
      SCOPED_TRACE(std::string(kind.folder) + (safe ? " safe" : ""));
      ImportRun run(safe);
      run.folder.WriteWork("ch2111.rtf", RichText(120, {kJpeg}));
      const mailbox::ItemInfo item = Stored(run, kind, u"");
      EXPECT_EQ(item.bodyType, "HTML");
      EXPECT_THAT(item.body, HasSubstr("caf&#233;"));
      EXPECT_THAT(item.body, Not(HasSubstr("file://")));
      const auto attached = Attached(run, item);
      EXPECT_EQ(attached.size(), 120u);
      for (int n = 1; n <= 120; ++n) {
        const std::string name = fmt::format("HTMLFile_{}.jpg", n);
        const std::string id = name + "@01C77B50.1E294610";
        EXPECT_THAT(item.body, HasSubstr("<img src=\"cid:" + id + "\""));
        EXPECT_EQ(attached.count(name) ? attached.at(name) : "", id + " image/jpeg") << name;
      }
      const std::string trace = run.Trace();
      EXPECT_THAT(trace, HasSubstr(kind.image + "\r\n\r\n" + kind.image + "\r\n\r\n"));
      EXPECT_THAT(trace, HasSubstr(kind.image + "\r\n\r\nbreak <" + kind.image[1]));
    }
  }
}

// From the hundredth on pictures count as .jpg, and a photo moves each id by one attachment.
TEST(ItemBodies, PicturesThatAreNotPairedAreToldApartWithTheSafeSwitch) {
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    run.folder.WriteWork("ch2111.rtf", RichText(101, {kPng}));
    const mailbox::ItemInfo item = Stored(run, kAppointment, u"");
    EXPECT_EQ(Attached(run, item).size(), safe ? 101u : 99u);
    const std::string hundredth = safe ? "cid:HTMLFile_100.png@" : "\"HTMLFile_100.png\"";
    EXPECT_THAT(item.body, HasSubstr(hundredth));

    run.folder.WriteWork("ch2111.rtf", RichText(2, {kPng}));
    run.folder.WriteWork("ContactPhoto.jpg", "no picture");
    const mailbox::ItemInfo contact = Stored(run, kContact, u"");
    EXPECT_THAT(contact.body, HasSubstr("cid:HTMLFile_2.png@01C77B50.1E294610"));
    const std::string photo = safe ? "ContactPhoto.jpg " : "HTMLFile_1.png@01C77B50.1E294610 ";
    const std::string first = safe ? "HTMLFile_1.png@" : "HTMLFile_2.png@";
    auto attached = Attached(run, contact);
    EXPECT_THAT(attached["ContactPhoto.jpg"], HasSubstr(photo));
    EXPECT_THAT(attached["HTMLFile_1.png"], HasSubstr(first));
    EXPECT_THAT(attached["HTMLFile_2.png"], HasSubstr(safe ? "HTMLFile_2.png@" : " "));
  }
}

TEST(ItemBodies, TheFirstBodyThatIsThereIsTaken) {
  const std::string page = test_support::WideBytes(u"x<HTML>file");
  const std::string text = test_support::WideBytes(u"plain file");
  const std::string kPage = "the converter's";
  const struct {
    std::vector<std::pair<std::string, std::string>> files;
    std::string record;  // of an appointment and a task: type and text
    std::string contact;
    std::string safeRecord = {};  // where it is another one
    std::string safeContact = {};
  } rows[] = {
      {{}, " ", " "},
      {{{"TextFile1.eml", text}}, "Text a<HTML>b", "Text plain file"},
      {{{"ch111.html", page}}, "HTML <HTML>b</HTML>", "HTML <HTML>file</HTML>"},
      {{{"TextFile1.eml", text}, {"ch111.html", page}}, "Text a<HTML>b", "Text plain file"},
      // Rich text that is a folder, or none at all, gives no page.
      {{{"ch2111.rtf/", ""}, {"TextFile1.eml", text}},
       "Text a<HTML>b",
       "Text a<HTML>b",
       "Text a<HTML>b",
       "Text plain file"},
      {{{"ch2111.rtf/", ""}, {"ch111.html", page}},
       " ",
       " ",
       "HTML <HTML>b</HTML>",
       "HTML <HTML>file</HTML>"},
      // One that shows nothing is a page all the same.
      {{{"ch2111.rtf", "{\\rtf1 \\par}"}, {"TextFile1.eml", text}},
       kPage,
       kPage,
       "Text a<HTML>b",
       "Text plain file"},
  };
  for (const auto& row : rows) {
    for (const Kind& kind : {kAppointment, kTask, kContact}) {
      for (const bool safe : {false, true}) {
        ImportRun run(safe);
        for (const auto& [name, bytes] : row.files) {
          if (name.ends_with('/')) {
            std::filesystem::create_directory(run.folder.Work(name));
          } else {
            run.folder.WriteWork(name, bytes);
          }
        }
        const mailbox::ItemInfo item = Stored(run, kind, u"a<HTML>b");
        const bool isContact = std::string(kind.folder) == "contacts";
        const std::string& plain = isContact ? row.contact : row.record;
        const std::string& other = isContact ? row.safeContact : row.safeRecord;
        const std::string& expected = safe && !other.empty() ? other : plain;
        const std::string body = item.bodyType + " " + item.body;
        SCOPED_TRACE(kind.folder + std::string(safe ? " safe" : ""));
        if (expected == kPage) {
          EXPECT_THAT(body, testing::StartsWith("HTML \n\n\n<"));
        } else {
          EXPECT_EQ(body, expected);
        }
      }
    }
  }
}

TEST(ItemBodies, APageGetsTheTagThatItLacks) {
  EXPECT_EQ(WithPageTags(u"a"), u"a");
  EXPECT_EQ(WithPageTags(u"<html>a"), u"<html>a");
  EXPECT_EQ(WithPageTags(u"a<HTML>b"), u"<HTML>b</HTML>");
  EXPECT_EQ(WithPageTags(u"a</HTML>b"), u"<HTML>a</HTML>");
  EXPECT_EQ(WithPageTags(u"<HTML>a</HTML>b"), u"<HTML>a</HTML>");
  EXPECT_EQ(WithPageTags(u"ab<HTML>c</HTML>defg"), u"<HTML>c</HTML>de");  // two stand in front
  EXPECT_EQ(WithPageTags(u"</HTML>abcd<HTML>e"), u"<HTML>e");
}

TEST(ItemBodies, AttachmentsComeFromTheListAndSafeTakesNoneFromOutside) {
  for (const Kind& kind : {kAppointment, kTask, kContact}) {
    for (const bool safe : {false, true}) {
      ImportRun run(safe);
      run.folder.WriteWork("a.txt", "a");
      run.folder.Write("secret.txt", "s");
      run.folder.WriteWork("11comtextjjAttach.t",
                           std::u16string(u"a.txt\r\n\nnone.txt\n..\\secret.txt"));
      const auto attached = Attached(run, Stored(run, kind, u""));
      EXPECT_EQ(attached.count("a.txt"), 1u);
      EXPECT_EQ(attached.size(), safe ? 1u : 2u) << kind.folder;
    }
  }
}

TEST(ItemBodies, APhotoThatCannotBeReadCostsTheContactOnlyWithoutTheSafeSwitch) {
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    std::filesystem::create_directory(run.folder.Work("ContactPhoto.jpg"));
    EXPECT_EQ(run.Import(WellKnownFolderName::Contacts, u"CONTACT\n\n\n\n\n\n\n\n\n\n\n\n\n"), 1);
    EXPECT_EQ(run.Items(run.WellKnown("contacts")).size(), safe ? 1u : 0u);
    EXPECT_THAT(run.Trace(), HasSubstr("SaveContactItem_Attachment_catch"));
  }
}

// In whatever charset a driving program wrote them.
TEST(ItemBodies, AContactsFilesAreReadByTheirBytesWithTheSafeSwitch) {
  const struct {
    const char* file;
    std::string bytes;
    std::string body;
  } rows[] = {
      {"TextFile1.eml", "Gr\xFC\xDF\x65,\r\nbis morgen\tum 9", "Text Grüße,\r\nbis morgen\tum 9"},
      {"TextFile1.eml", "абв — 5 € и точка", "Text абв — 5 € и точка"},
      {"TextFile1.eml", "\xFF\xFE" + test_support::WideBytes(u"a€b"), "Text a€b"},
      {"TextFile1.eml", std::string(70'000, 'a') + "\xE4",
       "Text " + std::string(70'000, 'a') + "ä"},
      {"ch111.html", "<HTML><meta charset=koi8-r>\xC1\xC2\xD7</HTML>",
       "HTML <HTML><meta charset=koi8-r>абв</HTML>"},
      {"ch111.html", "<HTML>абв</HTML>", "HTML <HTML>абв</HTML>"},
  };
  for (const auto& row : rows) {
    ImportRun run;
    mail::installLibraryNarrow();
    ews::Settings().bSafe = true;
    run.folder.WriteWork(row.file, row.bytes);
    const mailbox::ItemInfo item = Stored(run, kContact, u"");
    EXPECT_EQ(item.bodyType + " " + item.body, row.body);
  }
}

TEST(ItemBodies, ALargeContactTextIsNarrowAndASmallOneWide) {
  TempRunFolder folder;
  const CString path = GetCurrPath() + u"text";
  folder.WriteWork("text", std::string(65534, 'a') + "\n" + std::string(1, '\0'));
  EXPECT_EQ(ReadRtfSrting(path).GetLength(), 32767);
  EXPECT_EQ(ReadRtfSrting(path)[0], u'\x6161');
  std::string narrow(65537 + 4, 'b');
  narrow[10] = '\0';
  folder.WriteWork("text", narrow);
  EXPECT_EQ(ReadRtfSrting(path), CString(u'b', 10 + 5));  // a block ends at its NUL
  EXPECT_EQ(ReadRtfSrting(path + u"none"), u"");
}

}  // namespace
