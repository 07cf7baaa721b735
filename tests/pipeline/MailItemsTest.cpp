#include <fcntl.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "charset/LibraryNarrow.h"
#include "ews/Settings.h"
#include "ews/SoapWriter.h"
#include "pipeline/BodySource.h"
#include "platform/UniqueFd.h"
#include "target/CTarnyOutlookHandler.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/pipeline/TempRunFolder.h"
#include "tests/support/Shortage.h"

namespace {

class MailItems : public Scripted {
 protected:
  template <typename Collection>
  static std::vector<CString> Addresses(const Collection& collection) {
    std::vector<CString> addresses;
    for (const auto& address : collection) addresses.push_back(address.Address());
    return addresses;
  }
  std::vector<CString> Recipients(const CString& text) {
    ews::EmailAddressCollection collection;
    handler.SaveRecipients(text, collection);
    return Addresses(collection);
  }
  std::vector<CString> Attendees(const CString& text) {
    ews::AttendeeCollection collection;
    handler.SaveAttendees(text, collection);
    return Addresses(collection);
  }
  // A mail that is made of the work files.
  ews::EmailMessage Filled() {
    ews::EmailMessage mail{nullptr};
    EXPECT_EQ(handler.SaveEmailItem(mail, GetCurrPath(), &info), 1);
    return mail;
  }
  static std::string MimeOf(const ews::EmailMessage& mail) {
    const ews::MimeContent& mime = mail.GetMimeContent();
    EXPECT_TRUE(mime.IsSet());
    return {reinterpret_cast<const char*>(mime.Content().get()), mime.Length()};
  }
  // The error that an import of that result tells.
  std::string Import(int result = 0) {
    CString error;
    EXPECT_EQ(handler.ImportItem(GetCurrPath(), error, u"run.txt"), result);
    return error.ToUtf8();
  }

  // The first loss that the trace tells.
  std::string Told() {
    const std::string trace = folder.Trace(), label = "\nThe item goes without: ";
    const std::size_t at = trace.find(label);
    if (at == std::string::npos) return "";
    return trace.substr(at + label.size(), trace.find('\r', at) - at - label.size());
  }

  TempRunFolder folder;
  CTarnyOutlookHandler handler;
  ST_EML_INFO info;
};

using Texts = std::vector<CString>;

TEST_F(MailItems, RecipientsEndAtAnEmptyEntry) {
  EXPECT_EQ(Recipients(u""), Texts{});
  EXPECT_EQ(Recipients(u" a@x ;b@x"), (Texts{u"a@x", u"b@x"}));
  EXPECT_EQ(Recipients(u"a@x;;b@x"), (Texts{u"a@x"}));
  EXPECT_EQ(Recipients(u";a@x"), Texts{});
}

TEST_F(MailItems, AttendeesComeAsTheLoopGivesThem) {
  EXPECT_EQ(Attendees(u""), Texts{});
  EXPECT_EQ(Attendees(u"a"), (Texts{u"a"}));
  EXPECT_EQ(Attendees(u"a;b;c;"), (Texts{u"a", u"b", u"c", u"c"}));
  EXPECT_EQ(Attendees(u"a;b;c"), (Texts{u"a", u"b", u"b"}));
  EXPECT_EQ(Attendees(u"a;b;"), (Texts{u"a", u"b", u"b"}));
  EXPECT_EQ(Attendees(u"aaaa;b;c;"), (Texts{u"aaaa", u"aaaa"}));
}

TEST_F(MailItems, SafeListsLoseNobodyAndDoubleNobody) {
  ews::Settings().bSafe = true;
  EXPECT_EQ(Recipients(u" ; ;"), Texts{});
  EXPECT_EQ(Attendees(u" ; ;"), Texts{});
  const Texts all{u"aaaa@x", u"b@x", u"c@x"};
  EXPECT_EQ(Recipients(u";aaaa@x;; b@x ;c@x"), all);
  // A name in quotes may hold a ";", but a quote that is none hides nobody.
  EXPECT_EQ(Recipients(uR"("A; \"B" <aaaa@x>; "\";" <b@x>;c@x)"), all);
  EXPECT_EQ(Recipients(uR"("aaaa@x;"b@x";c@x;")"), (Texts{u"\"aaaa@x", u"\"b@x\"", u"c@x", u"\""}));
  EXPECT_EQ(Attendees(u";aaaa@x;; b@x ;c@x"), all);
}

TEST_F(MailItems, AddressCleanUpFollowsTheFlag) {
  EXPECT_EQ(handler.GetEmailAddress(u"\"A\" <a@x>"), u"\"A\" <a@x>");
  EXPECT_EQ(handler.ReplaceUnicodeCharacters(u"a\x01"), u"a\x01");
  handler.SetFlag(1);
  EXPECT_EQ(handler.GetEmailAddress(u"\"A\" <a@x>"), u" <a@x>");
  EXPECT_EQ(handler.GetEmailAddress(u"a@x"), u"a@x");
  EXPECT_EQ(Recipients(u"\"A\x01\" <a@x>"), Texts{u"a@x"});
  EXPECT_NE(Attendees(u"\"A\x01\" <a@x>"), Texts{u"a@x"});
  ews::Settings().bSafe = true;
  EXPECT_EQ(Attendees(u"\"A\x01\" <a@x>"), Texts{u"a@x"});
  EXPECT_EQ(handler.ReplaceUnicodeCharacters(u"\x10\x90\x13\x11\x01\x02"), u"\x02");
}

TEST_F(MailItems, EmlGoesWholeAndTheAttachmentListIsNotRead) {
  const std::string eml("a\0b\xFF\r\n", 6);
  folder.WriteWork("EmlFile.Eml", eml);
  folder.WriteWork("a.txt", "a");
  folder.WriteWork("11comtextjjAttach.t", u"a.txt\n");
  ews::EmailMessage mail = Filled();
  EXPECT_EQ(MimeOf(mail), eml);
  EXPECT_EQ(mail.GetMimeContent().CharacterSet(), u"ASCII");
  EXPECT_EQ(mail.Attachments().Count(), 0);
  // So does a file that the work path itself names.
  folder.WriteWork("one.eml", "Subject: 1\r\n\r\n");
  ews::EmailMessage named{nullptr};
  ASSERT_EQ(handler.SaveEmailItem(named, GetCurrPath() + u"one.eml", &info), 1);
  EXPECT_EQ(MimeOf(named), "Subject: 1\r\n\r\n");
  EXPECT_EQ(named.GetMimeContent().CharacterSet(), u"us-ascii");
}

TEST_F(MailItems, RtfThatGivesNoTextGivesWayToTheNextBodyOnlyWithTheSafeSwitch) {
  const struct {
    std::string blocked;  // there, and no file to open; "" for none
    std::string rtf;
  } rows[] = {{"ch2111.rtf", ""},
              {"Html/HTMLFile.html", "{\\rtf1 text}"},
              {"Html/HTMLFile.html.eml", "{\\rtf1 text}"},
              {"", ""},  // it is read, and shows nothing
              {"", "{\\rtf1\\ansi \\par\\~\\par}"}};
  folder.WriteWork("GARImage.html", "<p>page</p>");
  for (const auto& [blocked, rtf] : rows) {
    SCOPED_TRACE(blocked + rtf);
    folder.WriteWork("ch2111.rtf", rtf);
    if (!blocked.empty()) {
      std::filesystem::remove(folder.Work(blocked));
      folder.WriteWork(blocked + "/in", "");
    }
    for (const bool safe : {false, true}) {
      ews::Settings().bSafe = safe;
      const ews::EmailMessage filled = Filled();
      EXPECT_EQ(filled.GetMimeContent().IsSet(), !safe && blocked.empty());
      EXPECT_EQ(filled.Body().has_value(), safe);
    }
    for (const char* name : {"ch2111.rtf", "Html"}) std::filesystem::remove_all(folder.Work(name));
  }
  folder.WriteWork("ch2111.rtf", "{\\rtf1 {\\pict\\pngblip 89504e}}");
  EXPECT_TRUE(Filled().GetMimeContent().IsSet());
}

// As a program locks a file that it writes: whoever opens it is turned away.
class FileLock {
 public:
  explicit FileLock(const std::string& path) : m_file(open(path.c_str(), O_WRONLY | O_CLOEXEC)) {
    (void)signal(SIGIO, SIG_IGN);  // tells the holder that somebody came
    EXPECT_EQ(fcntl(m_file.Get(), F_SETLEASE, F_WRLCK), 0);
  }

 private:
  platform::UniqueFd m_file;
};

// Whatever lies there under a body's name, the mail is saved with its attachments, and the trace
// has the steps of its body.
TEST_F(MailItems, NoBodyFileKeepsAMailFromBeingSaved) {
  const std::string rtf = "{\\rtf1 a{\\pict\\pngblip 89504e";
  const std::string garbled = std::string("\xFF\xFE\0\xD8<a", 6) + std::string(70000, '\xDF');
  const std::string page = "<img src=\"file:///etc/hostname\"><img src=\"../../x.png\">";
  const std::string steps[] = {
      " Imagech111.html\r\n* RETURN Imagech111.html\r\n",
      " IN \\EmlFile.Eml\r\n*OUT \\EmlFile.Eml\r\n Before SaveAttachment\r\n",
      " IN \\ch2111.rtf\r\nBefore HrsConvertFile\r\n*After HrsConvertFile\r\n*OUT \\ch2111.rtf\r\n",
      " IN \\TextFile1.txt\r\n*Save file \\TextFile1.txt\r\n OUT \\TextFile1.txt\r\n",
      "Save fileGARImage.html\r\n Before SaveAttachment\r\n"};
  folder.WriteWork("a.txt", "a");
  folder.WriteWork("11comtextjjAttach.t", u"a.txt\n");
  folder.WriteWork("2ImageAttchment.txt", u"a.txt\n");
  for (size_t n = 0; n < kBodyFiles.size(); ++n) {
    const bool mime = kBodyFiles[n].eSource == BodySource::kMime;  // brings its own attachments
    const bool rich = kBodyFiles[n].eSource == BodySource::kRichText;
    std::string name = CString(kBodyFiles[n].pszFile).ToUtf8();
    name.erase(0, name.rfind('\\') + 1);
    for (const std::string& bytes :
         {std::string(), garbled, page, rtf, std::string("folder"), std::string("locked")}) {
      for (const bool safe : {false, true}) {
        SCOPED_TRACE(name + (safe ? " safe: " : ": ") + bytes.substr(0, 20));
        std::optional<FileLock> lock;
        folder.WriteWork(bytes == "folder" ? name + "/in" : name, bytes);
        if (bytes == "locked") lock.emplace(folder.Work(name));
        const bool shut = bytes == "folder" || bytes == "locked";
        folder.BeginTrace(handler.m_objLogManager);
        ews::Settings().bSafe = safe;
        ews::EmailMessage filled{nullptr};
        if (mime && safe && (shut || bytes.empty())) {
          EXPECT_THROW(handler.SaveEmailItem(filled, GetCurrPath(), &info), std::runtime_error);
        } else {
          EXPECT_EQ(handler.SaveEmailItem(filled, GetCurrPath(), &info), 1);
        }
        EXPECT_EQ(filled.Attachments().Count(), mime ? 0 : 1);
        EXPECT_TRUE(!safe || !filled.Body() || ews::IsXmlText(filled.Body()->Text()));
        std::string trace = folder.Trace();
        std::erase(trace, '\0');
        EXPECT_THAT(trace,
                    testing::AllOf(testing::HasSubstr(steps[n].substr(0, steps[n].find('*'))),
                                   testing::HasSubstr(steps[n].substr(steps[n].rfind('*') + 1))));
        EXPECT_EQ(trace.find("In Catch Last Error Code = ") != std::string::npos, shut && rich);
        EXPECT_EQ(trace.find(" (the body cannot be read)") != std::string::npos,
                  safe && shut && !mime && !rich);
        std::filesystem::remove_all(folder.Work(name));
      }
    }
  }
  folder.WriteWork("EmlFile.Eml", "");  // of no use where there is a body of its own
  folder.WriteWork("Imagech111.html", "<p>page</p>");
  EXPECT_FALSE(Filled().GetMimeContent().IsSet());
}

// Two hundred megabytes are all there.
TEST_F(MailItems, AHugeBodyIsTakenWhole) {
  constexpr std::uintmax_t kBytes = 200'000'000;
  ews::Settings().bSafe = true;
  folder.WriteWork("TextFile1.txt", u"first\r\n");
  std::filesystem::resize_file(folder.Work("TextFile1.txt"), kBytes);  // a sparse one, of NULs
  const ews::EmailMessage mail = Filled();
  ASSERT_TRUE(mail.Body().has_value());
  EXPECT_EQ(mail.Body()->Text().GetLength(), static_cast<int>(kBytes / 2) + 2);  // and a line's end
}

// A text is read by what its bytes show only with the safe switch.
TEST_F(MailItems, TextInNarrowBytesIsReadableOnlyWithTheSafeSwitch) {
  mail::installLibraryNarrow();
  const std::string text =
      "Gr\xFC\xDF"
      "e,\r\nbis morgen\tum 9\r\n";
  for (const char* name : {"TextFile1.txt", "GARImage.html"}) {
    folder.WriteWork(name, text);
    for (const bool safe : {false, true}) {
      ews::Settings().bSafe = safe;
      ews::EmailMessage filled = Filled();
      ASSERT_TRUE(filled.Body().has_value());
      EXPECT_EQ(filled.Body()->Text() == u"Gr\u00FC\u00DFe,\r\nbis morgen\tum 9\r\n", safe) << name;
    }
    std::filesystem::remove(folder.Work(name));
  }
}

// What was prepared and does not go with a mail is told, and what stands in for it is taken.
TEST_F(MailItems, SafeMailsTellWhatTheyGoWithout) {
  mail::installLibraryNarrow();
  const std::string meta = "<meta charset=", names = test_support::WideBytes(u"a.txt\r\ngone.txt");
  const struct {
    std::string file, bytes;
    std::string told;  // behind the label; empty for nothing
    int attachments = 0;
    CString body = u"<p>page</p>";
  } rows[] = {
      {"11comtextjjAttach.t", names, "gone.txt (there is no such file)", 1},
      {"11comtextjjAttach.t", "\xFF\xFE" + names, "gone.txt (there is no such file)", 1},
      {"11comtextjjAttach.t", "\xEF\xBB\xBFgr\xC3\xBC\xC3\x9F.txt\r\n", "", 1},
      {"11comtextjjAttach.t", "a.txt\n\ngr\xFC\xDF.txt", "", 2},
      {"11comtextjjAttach.t", "", ""},
      {"11comtextjjAttach.t/in", "", "the files of a list (the list cannot be read)"},
      {"TextFile1.txt", "", "TextFile1.txt (the body is empty)"},
      {"TextFile1.txt/in", "", "TextFile1.txt (the body cannot be read)"},
      {"ch2111.rtf/in", "", "ch2111.rtf (it gives no body; the next one is taken)"},
      {"Imagech111.html", "<img src=\"gone.png\" a>",
       "gone.png (the picture of its page is not attached)", 0, u"<img src=\"gone.png\" a>"},
      {"GARImage.html", meta + "koi8-r>\xC1\xC2\xD7\xC7", "", 0, u"<meta charset=koi8-r>абвг"},
      {"GARImage.html", meta + "windows-1251>\xE0\xE1\xE2\xE3", "", 0,
       u"<meta charset=windows-1251>абвг"},
      {"GARImage.html", test_support::WideBytes(u"<p>абвг</p>"), "", 0, u"<p>абвг</p>"},
  };
  ews::Settings().bSafe = true;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file + ": " + row.bytes);
    std::filesystem::remove_all(folder.Work(""));
    for (const char* name : {"GARImage.html", "a.txt", "grüß.txt"})
      folder.WriteWork(name, "<p>page</p>");
    folder.WriteWork(row.file, row.bytes);
    folder.BeginTrace(handler.m_objLogManager);
    ews::EmailMessage filled = Filled();
    EXPECT_EQ(Told(), row.told);
    ASSERT_TRUE(filled.Body().has_value());
    EXPECT_EQ(filled.Body()->Text(), row.body);
    EXPECT_EQ(filled.Attachments().Count(), row.attachments);
  }
}

// The page names a file, which is none in a mailbox.
TEST_F(MailItems, AnImagePageShowsItsAttachmentOnlyWithTheSafeSwitch) {
  const std::string name = "Bild \u56FE 1.png\r\n";
  const struct {
    bool safe;
    std::string listed;  // in both lists' bytes
    std::string paged;
  } rows[] = {{false, test_support::WideBytes(u"Bild \u56FE 1.png\r\n"), ""},
              {true, test_support::WideBytes(u"Bild \u56FE 1.png\r\n"), ""},
              {true, name, ""},
              {true, "pics\\" + name, ""},
              {true, "pics\\" + name, "PICS\\BILD \u56FE 1.PNG"}};
  folder.WriteWork("other.txt", "x");
  folder.WriteWork("Bild \u56FE 1.png", "p");
  folder.WriteWork("pics/Bild \u56FE 1.png", "p");
  for (const auto& [safe, listed, paged] : rows) {
    SCOPED_TRACE(listed + paged);
    ews::Settings().bSafe = safe;
    folder.WriteWork("ImageAttchment.txt", paged.empty() ? listed : paged);
    const bool wide = listed.find('\0') != std::string::npos;
    folder.WriteWork("2ImageAttchment.txt",
                     (wide ? test_support::WideBytes(u"other.txt\r\n") : "other.txt\r\n") + listed);
    EXPECT_TRUE(handler.ConvertImageToHTML(u""));
    ews::EmailMessage filled = Filled();
    ASSERT_EQ(filled.Attachments().Count(), 2);
    ASSERT_TRUE(filled.Body().has_value());
    const std::string id = filled.Attachments()[1].ContentId().ToUtf8();
    EXPECT_EQ(id, safe ? "Picture_2@01C77B50.1E294610" : "");
    EXPECT_EQ(filled.Body()->Text().ToUtf8().find("<img src=\"cid:" + id + "\" height=") !=
                  std::string::npos,
              safe);
  }
}

// Pictures by the dozen, of every form: each is a part, in place of its link.
TEST_F(MailItems, RtfBecomesTheMimeWithAllItsPictures) {
  constexpr int kPictures = 120;
  const std::string kinds[] = {"{\\pict\\pngblip 89504e470d0a", "{\\pict\\jpegblip ffd8ffe0",
                               "{\\pict\\emfblip 01000000"};
  std::string rtf = "{\\rtf1 caf\\'e9";
  for (int n = 0; n < kPictures; ++n) rtf += kinds[n % 3] + fmt::format("{:04x}", n) + "}";
  folder.WriteWork("ch2111.rtf", rtf + "}");
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = safe;
    const ews::EmailMessage mail = Filled();
    EXPECT_EQ(mail.GetMimeContent().CharacterSet(), u"ASCII");
    const std::string mime = MimeOf(mail);
    int parts = 0;
    for (size_t at = 0; (at = mime.find("\r\nContent-ID: <", at)) != std::string::npos; ++at) {
      ++parts;
    }
    EXPECT_EQ(parts, kPictures);
    EXPECT_THAT(mime, testing::HasSubstr("caf&#233;"));
    EXPECT_THAT(mime, testing::Not(testing::HasSubstr("file://")));
  }
}

// Whatever goes wrong has its own lines in the trace, by which support people find the place.
TEST_F(MailItems, EachFailureHasItsLinesInTheTrace) {
  const std::string lost = "The file EmlFile.Eml could not be read.";
  const struct {
    bool newFolder;
    bool safe;
    bool tooLarge;  // EmlFile.Eml; else it is a folder where `safe` is on, and a mail where not
    std::string error;
    std::string lines;
  } rows[] = {
      {false, true, false, lost, "ImportItem_Catch1 \r\n"},
      {true, true, false, lost, " Catch3 \r\n" + lost + "\r\n"},
      {true, false, false, "It is full.", " Catch4 \r\nIt is full.\r\n"},
      {false, false, false, "It is full.", " Catch2 \r\nIt is full.\r\n"},
      {false, false, true, "It is full.",
       " IN \\EmlFile.Eml\r\nCatch_1_SaveEmailItem\r\n Before SaveAttachment\r\n"},
  };
  folder.WriteWork("11comtextjj.t", u"EMAIL\n");
  handler.m_objWebAccess.m_pService = ServiceAt();
  handler.m_objWebAccess.m_fldCurrent = handler.m_objWebAccess.m_fldNewFolder =
      ews::WellKnownFolderName::Inbox;
  const std::string eml = folder.Work("EmlFile.Eml");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.lines);
    std::filesystem::remove(eml);
    if (row.safe) {
      std::filesystem::create_directory(eml);
    } else {
      folder.WriteWork("EmlFile.Eml", "Subject: 1\r\n\r\n");
    }
    if (row.tooLarge) std::filesystem::resize_file(eml, std::uintmax_t{1} << 31);  // a sparse one
    m_transport.Push(answers::Error("CreateItem", "ErrorQuotaExceeded", "It is full."));
    folder.BeginTrace(handler.m_objLogManager);
    ews::Settings().bSafe = row.safe;
    handler.m_bNewFolderMode = row.newFolder;
    EXPECT_EQ(Import(), row.error);
    EXPECT_EQ(test_support::ReadAll(folder.File("run.txt")), row.error + "\r\r\n");
    EXPECT_THAT(folder.Trace(), testing::HasSubstr(row.lines));
    for (const char* log : {"run.txt", "trace.txt"}) std::filesystem::remove(folder.File(log));
  }
}

// Memory that runs out in the middle of a mail costs what it was needed for; each handler that
// stands behind another takes what that one could not, and tells so.
TEST_F(MailItems, EachHandlerOfTheMailTakesMemoryThatRunsOut) {
  struct Row {
    std::string line;
    int refusals;  // in a row: a handler needs memory for its own line
    bool rich;
    int result;
    int attachments;
    std::string behind;  // the line that follows
  };
  folder.WriteWork("11comtextjjAttach.t", u"a.txt");
  folder.WriteWork("a.txt", "a");
  for (const Row& row : {
           Row{" INSIDE catch \\ch2111.rtf", 1, true, 1, 1, " OUT \\ch2111.rtf"},
           Row{"Catch_1_SaveEmailItem", 1, false, 1, 1, " Before SaveAttachment"},
           Row{"Catch_2_SaveEmailItem", 2, false, 1, 0, ""},
           Row{"Catch_3_SaveEmailItem", 3, false, 0, 0, ""},
       }) {
    SCOPED_TRACE(row.line);
    std::filesystem::remove(folder.Work("ch2111.rtf"));
    if (row.rich) folder.WriteWork("ch2111.rtf", "{\\rtf1 text}");
    bool fired = false;
    for (long before = 0; !fired && (before == 0 || test_support::Shortage::WasReached());
         ++before) {
      folder.BeginTrace(handler.m_objLogManager);
      handler.m_objLogManager.WriteLog(u"");  // so that it is open
      ews::EmailMessage filled{nullptr};
      ST_EML_INFO record;
      record.strSubject = u"a subject";
      const CString path = GetCurrPath();
      std::optional<int> result;
      try {
        const test_support::Shortage shortage(before, row.refusals);
        result = handler.SaveEmailItem(filled, path, &record);
      } catch (const std::bad_alloc&) {  // outside of all handlers
      }
      if (folder.Trace().find("\n" + row.line + "\r\n") == std::string::npos) continue;
      fired = true;
      EXPECT_EQ(result, row.result);
      EXPECT_EQ(filled.Attachments().Count(), row.attachments);
      EXPECT_THAT(folder.Trace(), testing::HasSubstr(row.line + "\r\n" + row.behind));
    }
    EXPECT_TRUE(fired);
  }
}

// The ladder that a mail takes which the server calls too large, by its lines in the trace.
TEST_F(MailItems, AMailThatIsTooLargeIsSentOnceMoreWithoutItsMime) {
  const std::string tooLarge = "The message exceeds the maximum supported size.";
  const std::string refused = " Catch2 \r\n" + tooLarge + "\r\n Find Can not \r\n";
  const std::string sent = "Catch SaveEmailItem out \r\nCatch Email Save in \r\n";
  const struct {
    std::string eml;
    std::string second;  // what the server says to the second form; "-" where none is to leave
    std::string error;
    std::string lines;
  } rows[] = {
      {"Content-Type: text/html\r\n\r\n<p>page</p>", "", tooLarge,
       sent + "Catch Email Save out \r\n"},
      {"Content-Type: text/html\r\n\r\n<p>page</p>", "It is full.", "It is full.",
       sent + " 2_Catch2 \r\nIt is full.\r\n"},
      {"", "-", tooLarge, refused},
  };
  folder.WriteWork("11comtextjj.t", u"EMAIL\n\n\n\n\n\n\n\nSubject : s\nMessageID : 1\n");
  handler.m_objWebAccess.m_pService = ServiceAt();
  handler.m_objWebAccess.m_fldCurrent = ews::WellKnownFolderName::Inbox;
  handler.SetAllowDuplicates(false);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.lines);
    folder.BeginTrace(handler.m_objLogManager);
    std::filesystem::remove(folder.Work("TextFile1.txt"));
    if (!row.eml.empty()) folder.WriteWork("EmlFile.Eml", row.eml);
    m_transport.Push(answers::Error("CreateItem", "ErrorMessageSizeExceeded", tooLarge));
    if (row.second.empty()) m_transport.Push(answers::Item("I="));
    if (row.second.size() > 1) {
      m_transport.Push(answers::Error("CreateItem", "ErrorQuotaExceeded", row.second));
    }
    EXPECT_EQ(Import(), row.error);
    const std::string log = tooLarge + "\r\r\n";
    EXPECT_EQ(test_support::ReadAll(folder.File("run.txt")),
              row.error == tooLarge ? log : log + row.error + "\r\r\n");
    EXPECT_THAT(folder.Trace(), testing::HasSubstr(refused));
    EXPECT_THAT(folder.Trace(), testing::HasSubstr(row.lines));
    EXPECT_FALSE(std::filesystem::exists(folder.Work("EmlFile.Eml")));
    EXPECT_EQ(handler.CheckIfDublicateItemPresent(u"1"), row.second.empty());
    handler.m_pSqlHandler->ExecuteQuery(u"DELETE FROM MAILBOXINFO");
    for (const char* name : {"run.txt", "trace.txt"}) std::filesystem::remove(folder.File(name));
  }
  folder.BeginTrace(handler.m_objLogManager);
  for (const bool safe : {false, true}) {  // refused before the server knew what it was
    ews::Settings().bSafe = safe;
    folder.WriteWork("EmlFile.Eml",
                     "From: a@x\r\nDate: Mon, 4 Mar 2024 10:12:41 +0200\r\n\r\ntext");
    m_transport.Push("", 413);
    if (safe) {  // a small one once more as it is
      m_transport.Push("", 413);
      m_transport.Push(answers::Item("I="));
    }
    EXPECT_THAT(Import(), testing::HasSubstr("413"));
    EXPECT_EQ(std::filesystem::exists(folder.Work("EmlFile.Eml")), !safe);
    EXPECT_EQ(handler.CheckIfDublicateItemPresent(u"1"), safe);
  }
  EXPECT_THAT(LastBody(), testing::AllOf(testing::HasSubstr("a@x"), testing::HasSubstr("text"),
                                         testing::HasSubstr("2024-03-04T08:12:41Z")));
  EXPECT_THAT(folder.Trace(), testing::Not(testing::HasSubstr("has no text")));
  folder.WriteWork("EmlFile.Eml", "\r\nthe mail's own");
  folder.WriteWork("Imagech111.html", "<p>page</p>");  // which is what was too large
  for (const int status : {413, 413}) m_transport.Push("", status);
  m_transport.Push(answers::Item("I="));
  handler.m_pSqlHandler->ExecuteQuery(u"DELETE FROM MAILBOXINFO");
  Import();
  EXPECT_THAT(LastBody(), testing::AllOf(testing::HasSubstr("the mail's own"),
                                         testing::Not(testing::HasSubstr("page"))));
  folder.WriteWork("11comtextjj.t", u"EMAIL\n");
  folder.WriteWork("EmlFile.Eml", "Content-Type: application/pdf\r\n\r\nx");
  std::filesystem::remove(folder.Work("TextFile1.txt"));
  for (const int status : {413, 413}) m_transport.Push("", status);
  m_transport.Push(answers::Item("I="));
  Import();
  EXPECT_THAT(folder.Trace(), testing::HasSubstr("\r\nThe reduced mail has no text\r\n"));
  folder.WriteWork("EmlFile.Eml", "\r\ntext");
  for (int i = 0; i < 2; ++i) {
    m_transport.Push(answers::Error("CreateItem", "ErrorMessageSizeExceeded", tooLarge));
  }
  EXPECT_THAT(Import(), testing::EndsWith("; it was tried as text alone, and that is too "
                                          "large, too"));
}

TEST_F(MailItems, SafeTellsWhyThereIsNoFolderAndNoLedgerRowComesOfIt) {
  ews::Settings().bSafe = true;
  handler.m_objWebAccess.m_pService = ServiceAt();
  folder.WriteWork("11comtextjj.t", u"EMAIL\n\n\n\n\n\n\n\n\nMessageID : 1\n");
  const auto refuse = [&] {  // in words that mean something else of an item
    m_transport.Push(answers::Error("FindFolder", "ErrorX", "index is out of range"));
  };
  refuse();
  handler.CreateFolderInStore(u"A\\", 0, ews::WellKnownFolderName::MsgFolderRoot, false);
  refuse();
  EXPECT_EQ(Import(), "The folder could not be made: index is out of range");
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(u"1"));
  m_transport.PushAll({answers::Found({{"7", "A"}}), answers::Item("I=")});
  Import(/*result=*/1);
  EXPECT_THAT(LastBody(), testing::HasSubstr("<t:FolderId Id=\"7\"/>"));
}

TEST_F(MailItems, AnImportThatFailsTellsWhyInTheStatusLog) {
  const std::string reason = ews::kNoService;  // before a logon
  const struct {
    std::u16string type;
    bool safe;
    bool isTold;
  } rows[] = {{u"EMAIL", false, true},   {u"CALENDAR", false, true},   {u"TASK", false, true},
              {u"CONTACT", false, true}, {u"DIST_LIST", false, false}, {u"DIST_LIST", true, true}};
  for (const auto& row : rows) {
    folder.WriteWork("11comtextjj.t", row.type + u"\n");
    ews::Settings().bSafe = row.safe;
    EXPECT_EQ(Import(row.isTold ? 0 : 1), row.isTold ? reason : "");
    EXPECT_EQ(test_support::ReadAll(folder.File("run.txt")), row.isTold ? reason + "\r\r\n" : "");
    std::filesystem::remove(folder.File("run.txt"));
  }
}

TEST_F(MailItems, SafeAttachmentsStayInTheWorkFolder) {
  folder.Write("secret.txt", "s");
  folder.WriteWork("in.txt", "i");
  std::filesystem::create_symlink(folder.File("secret.txt"), folder.Work("link.txt"));
  for (const char* list : {"11comtextjjAttach.t", "2ImageAttchment.txt"}) {
    folder.WriteWork(list, u"in.txt\r\n..\\secret.txt\r\nlink.txt\r\n\r\n");
  }
  const auto both = [&](ews::EmailMessage& filled) {
    handler.SaveAttachment(filled);
    handler.SaveImageAttachment(filled, u"2ImageAttchment.txt");
  };
  ews::EmailMessage all{nullptr};
  both(all);
  EXPECT_EQ(all.Attachments().Count(), 6);
  ews::EmailMessage confined{nullptr};
  ews::Settings().bSafe = true;
  both(confined);
  ASSERT_EQ(confined.Attachments().Count(), 2);
  EXPECT_EQ(confined.Attachments()[0].Name(), u"in.txt");
  EXPECT_EQ(confined.Attachments()[1].Name(), u"in.txt");
}

}  // namespace
