#include "mailboxd/web/WebPages.h"

#include "platform/Unicode.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

const std::string kHostile = "<script>alert(1)</script>\"'&\x01\xFF<!--";

class WebPages : public StoredMailbox {
 protected:
  // Stored in that folder, else in the inbox; the path of its page.
  std::string Add(const std::string& subject, const std::string& mime, std::int64_t folder = 0) {
    mailbox::NewItem item;
    item.info.folder = folder != 0 ? folder : Inbox().id;
    item.info.subject = subject;
    item.hasMime = !mime.empty();
    item.mime = mime;
    m_store.CreateItem(item);
    return PathOf(item);
  }
  static std::string PathOf(const mailbox::NewItem& item) {
    return "/item/" + std::to_string(item.info.id);
  }
  static std::string PathOf(const mailbox::FolderInfo& folder) {
    return "/folder/" + std::to_string(folder.id);
  }
  mailbox::WebReply Get(const std::string& path, const std::string& page = "") {
    mailbox::WebReply reply = mailbox::AnswerPage(m_store, path, {page});
    if (reply.disposition.empty()) {
      EXPECT_TRUE(platform::IsValidUtf8(reply.body)) << path;
    }
    return reply;
  }
  // A page with nothing in it that a browser would run, load or take for a tag of ours.
  void ExpectHarmless(const std::string& path) {
    const mailbox::WebReply reply = Get(path);
    EXPECT_EQ(reply.status, 200) << path;
    EXPECT_TRUE(Lacks(reply.body, {"<script", "<!--", "<img", "http:", "style=", "\x01"})) << path;
    EXPECT_TRUE(
        Holds(reply.body, {"&lt;script&gt;alert(1)&lt;/script&gt;&quot;&#39;&amp;\xEF\xBF\xBD"
                           "\xEF\xBF\xBD&lt;!--"}))
        << path;
  }
  // Each of the ends, put behind the path, leads to no page.
  void ExpectMissing(const std::string& path, std::initializer_list<const char*> ends) {
    for (const char* end : ends) {
      const mailbox::WebReply reply = Get(path + end);
      EXPECT_EQ(reply.status, 404) << path << end;
      EXPECT_TRUE(Holds(reply.body, {"Not found"}));
    }
  }
};

TEST_F(WebPages, NamesFromStrangersStayText) {
  const auto folder = m_store.CreateFolder(Inbox(), kHostile, "IPF.Note");
  mailbox::NewItem item;
  item.info.folder = folder->id;
  item.info.subject = kHostile;
  item.info.itemClass = kHostile;
  item.info.received = kHostile;
  item.info.from = mailbox::Address{kHostile, kHostile, "SMTP"};
  item.info.to = {*item.info.from};
  item.hasMime = true;
  item.mime = kHostile + ": " + kHostile + "\r\n " + kHostile + "\r\n\r\n</pre>" + kHostile;
  item.attachments.resize(1);
  item.attachments[0].info.name = item.attachments[0].info.contentType = kHostile;
  m_store.CreateItem(item);
  m_store.Mailbox(kHostile);
  ExpectHarmless("/");
  ExpectHarmless(PathOf(*folder));
  ExpectHarmless(PathOf(item));
  EXPECT_EQ(CountOf(Get(PathOf(item)).body, "</pre>"), 2u);  // body and source
  EXPECT_TRUE(Holds(Get(Add("\xE2\x80\xAEgpj.exe", "")).body, {"<h1>\xEF\xBF\xBDgpj.exe</h1>"}));
}

TEST_F(WebPages, AMailIsShownTakenApart) {
  const std::string mime =
      "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\r\nFrom: =?utf-8?Q?M=C3=BCller,_A?= <a@x>\r\n"
      "Content-Type: multipart/mixed; boundary=x\r\n\r\n"
      "--x\r\nContent-Type: multipart/alternative; boundary=y\r\n\r\n"
      "--y\r\nContent-Type: text/plain; charset=iso-8859-1\r\n\r\nplain caf\xE9\r\n"
      "--y\r\nContent-Type: text/html\r\n\r\n<b onclick=\"x\">bold</b>\r\n--y--\r\n"
      "--x\r\nContent-Type: application/pdf; name=\"=?utf-8?Q?Pl=C3=A4ne.pdf?=\"\r\n"
      "Content-Disposition: attachment\r\nContent-Transfer-Encoding: base64\r\n\r\nJVBERg==\r\n"
      "--x--\r\n";
  const std::string path = Add("s", mime);
  const std::string page = Get(path).body;
  EXPECT_TRUE(
      Holds(page, {"<th scope=\"row\">Subject</th><td>Grüße</td>",
                   "<th scope=\"row\">From</th><td>Müller, A &lt;a@x&gt;</td>", "plain café",
                   "<iframe sandbox title=\"Body\" src=\"" + path + "/body\">",
                   "&lt;b onclick=&quot;x&quot;&gt;bold",
                   path + "/part/1\">Pläne.pdf</a></td><td class=\"type\">application/pdf</td>"
                          "<td class=\"number\">4 B"}));
  EXPECT_TRUE(Lacks(page, {"<b "}));
  EXPECT_TRUE(Holds(Get(PathOf(Inbox())).body, {"\"with attachments\""}));
  const mailbox::WebReply file = Get(path + "/part/1");
  EXPECT_EQ(file.body, "%PDF");
  EXPECT_EQ(file.type, "application/pdf");
  EXPECT_EQ(file.disposition,
            "attachment; filename=\"Pl_ne.pdf\"; filename*=UTF-8''Pl%C3%A4ne.pdf");
  ExpectMissing(path, {"/part/2", "/part/0", "/part/", "/part/1/source", "/mail/1", "/mail/",
                       "/body/", "/part", "/mail"});
}

TEST_F(WebPages, AnHtmlMailHasItsPlainTextBesideIt) {
  const std::string head = "Content-Type: text/html; charset=utf-8\r\n\r\n";
  const std::string html = "<style>p{}</style><p>caf&eacute;</p><ul><li>&lt;b&gt;</ul>";
  const std::string page = Get(Add("s", head + html + "<p>end")).body;
  EXPECT_TRUE(Holds(page, {"<summary>As plain text</summary>\n<div class=\"box\"><pre>\ncafé",
                           "\r\n    &lt;b&gt;\r\n", "end</pre>"}));
  EXPECT_TRUE(Holds(Get(Add("s", head + "<p>")).body, {"HTML source"}));
}

TEST_F(WebPages, AnHtmlBodyIsConfinedAndHasTheMailsOwnPictures) {
  const std::string html =
      "<script>alert(1)</script><img src=\"CID:p@x\"><img src='cid:none@x'><img src=cid:t@x>"
      "<img src=http://remote.example/a.png>cid:p@x";
  const std::string mime =
      "Content-Type: multipart/related; boundary=x\r\n\r\n--x\r\nContent-Type: text/html\r\n\r\n" +
      html +
      "\r\n--x\r\nContent-Type: image/png\r\nContent-ID: <p@x>\r\n\r\nPNG\r\n"
      "--x\r\nContent-Type: text/html\r\nContent-ID: <t@x>\r\n\r\n<p>\r\n--x--\r\n";
  const mailbox::WebReply body = Get(Add("s", mime) + "/body");
  EXPECT_TRUE(
      Holds(body.body, {"<img src=\"data:image/png;base64,UE5H\"><img src='cid:none@x'><img "
                        "src=cid:t@x><img src=http://remote.example/a.png>data:image/png"}));
  const std::string policy = body.policy;
  EXPECT_TRUE(policy.starts_with("sandbox; default-src 'none'; "));
  EXPECT_TRUE(Lacks(policy, {"script", "http:", "allow-"}));
  ExpectMissing(Add("s", "A: b\r\n\r\ntext"), {"/body"});
}

// Some clients call every picture a JPEG: its bytes say what it is.
TEST_F(WebPages, AnHtmlBodyHasThePicturesThatAreStoredBesideIt) {
  mailbox::NewItem item;
  item.info.folder = Inbox().id;
  item.info.bodyType = "HTML";
  item.info.body = "<img src=\"cid:p@x\"><img src=\"cid:t@x\">";
  item.attachments.resize(2);
  item.attachments[0].info.contentId = "p@x";
  item.attachments[0].info.contentType = "image/jpeg";
  item.attachments[0].content = "GIF89a";
  item.attachments[1].info.contentId = "t@x";
  item.attachments[1].content = "<script>";
  m_store.CreateItem(item);
  EXPECT_TRUE(Holds(Get(PathOf(item) + "/body").body,
                    {"<img src=\"data:image/gif;base64,R0lGODlh\"><img src=\"cid:t@x\">"}));
}

TEST_F(WebPages, MailsInsideMailsHavePagesOfTheirOwn) {
  const std::string inner =
      "Subject: second\r\nContent-Type: multipart/mixed; boundary=y\r\n\r\n--y\r\n\r\ntext 2\r\n"
      "--y\r\nContent-Type: message/rfc822\r\n\r\nSubject: third\r\n\r\ntext 3\r\n--y--\r\n";
  const std::string mime =
      "Content-Type: multipart/mixed; boundary=x\r\n\r\n--x\r\n\r\ntext 1\r\n--x\r\n"
      "Content-Type: message/rfc822\r\n\r\n" +
      inner + "--x--\r\n";
  const std::string path = Add("first", mime);
  const std::string link = "href=\"" + path + "/mail/1";
  EXPECT_TRUE(Holds(Get(path).body, {link + "\">second</a>"}));
  EXPECT_TRUE(Holds(Get(path + "/mail/1").body, {link + ".1\">third</a>"}));
  EXPECT_TRUE(Holds(Get(path + "/mail/1.1").body, {"text 3", link + "\">"}));
  EXPECT_EQ(Get(path + "/mail/1/part/1").body, "Subject: third\r\n\r\ntext 3");
  EXPECT_EQ(Get(path + "/mail/1.1/source").body, "Subject: third\r\n\r\ntext 3");
  ExpectMissing(path, {"/mail/1.", "/mail/.1", "/mail/1.2", "/mail/1.1.1", "/mail/1/mail/1"});
}

TEST_F(WebPages, FilesAreSavedUnderHarmlessNamesAndTypes) {
  mailbox::NewItem item;
  item.info.folder = Inbox().id;
  const struct {
    std::string name;
    std::string type;
    std::string header;
    std::string sent;
  } rows[] = {
      {"a b.txt", "text/plain", "filename=\"a b.txt\"", "text/plain"},
      {"../..\\c:\"d\"\r\nX: y", "a/b\r\nX: y", "filename=\"_.._c__d___X_ y\"",
       "application/octet-stream"},
      {"\xE2\x80\xAEgpj.exe", "text/html", "filename=\"gpj.exe\"", "text/html"},
      {"100%.txt", "text/", "filename=\"100_.txt\"; filename*=UTF-8''100%25.txt",
       "application/octet-stream"},
      {"\xF0\x9F\x9A\xA2", "image/png", "filename=\"_\"; filename*=UTF-8''%F0%9F%9A%A2",
       "image/png"},
      {std::string(300, 'x') + ".pdf", "application/pdf",
       "filename=\"" + std::string(56, 'x') + ".pdf\"", "application/pdf"},
      {" .. ", "", "filename=\"attachment\"", "application/octet-stream"},
  };
  for (const auto& row : rows) {
    mailbox::NewAttachment one;
    one.info.name = row.name;
    one.info.contentType = row.type;
    one.content = "bytes";
    item.attachments.push_back(one);
  }
  m_store.CreateItem(item);
  const std::string page = Get(PathOf(item)).body;
  for (size_t i = 0; i < item.attachments.size(); ++i) {
    const std::string path = "/attachment/" + std::to_string(item.attachments[i].info.id);
    EXPECT_TRUE(Holds(page, {"href=\"" + path + "\""}));
    const mailbox::WebReply file = Get(path);
    EXPECT_EQ(file.disposition, "attachment; " + rows[i].header);
    EXPECT_EQ(file.type, rows[i].sent);
    EXPECT_EQ(file.body, "bytes");
    EXPECT_STREQ(file.policy, mailbox::kFilePolicy);
  }
}

TEST_F(WebPages, TheTreeCountsItemsAndLeavesOutWhatIsNoFolderToPeople) {
  const auto deep = m_store.CreateFolder(*m_store.CreateFolder(Inbox(), "Projects", "IPF.Note"),
                                         "Harbour", "IPF.Note");
  for (int i = 0; i < 7; ++i) Add("x", "", deep->id);
  const std::string page = Get("/").body;
  EXPECT_EQ(Find(page, PathOf(*deep) + "\">Harbour</a></td><td class=\"number\">([^<]*)<"), "7");
  EXPECT_LT(page.find(">Projects<"), page.find(">Harbour<"));
  EXPECT_LT(page.find(">Harbour<"), page.find(">Drafts<"));
  EXPECT_TRUE(Lacks(page, {"Finder", "Deletions"}));
}

TEST_F(WebPages, LargeFoldersComeNewestFirstInPages) {
  const std::string path = PathOf(Inbox());
  EXPECT_EQ(Get(path).status, 200);
  for (int i = 1; i <= mailbox::kItemsPerPage; ++i) Add("n" + std::to_string(i) + ".", "");
  EXPECT_TRUE(Lacks(Get(path).body, {"Page 1"}));
  EXPECT_EQ(Get(path, "2").status, 404);
  Add("n101.", "");
  const std::string first = Get(path, "1").body;
  EXPECT_EQ(CountOf(first, "href=\"/item/"), 100u);
  EXPECT_LT(first.find(">n101.<"), first.find(">n2.<"));
  EXPECT_TRUE(Lacks(first, {">n1.<"}));
  EXPECT_TRUE(Holds(first, {path + "?page=2\""}));
  const std::string second = Get(path, "2").body;
  EXPECT_EQ(CountOf(second, "href=\"/item/"), 1u);
  EXPECT_TRUE(Holds(second, {">n1.<"}));
  for (const char* page : {"0", "-1", "3", "x", "1x", "99999999999999999999"}) {
    EXPECT_EQ(Get(path, page).status, 404) << page;
  }
}

TEST_F(WebPages, SourceIsCutAtItsBoundAndCanBeHadWhole) {
  const std::string head = "Subject: s\r\nX-Folded: one\r\n two\r\n\r\n";
  // The bound falls between the two bytes of a character.
  const std::string filled = head + std::string(mailbox::kSourceShown - head.size() - 1, 'x');
  const std::string mime = filled + "\xC3\xA9\x80 end";
  const std::string path = Add("s", mime);
  const std::string page = Get(path).body;
  EXPECT_TRUE(Holds(page, {"<th scope=\"row\">X-Folded</th><td>one two</td>",
                           "The first " + std::to_string(mailbox::kSourceShown - 1) + " of " +
                               std::to_string(mime.size()) + " bytes"}));
  EXPECT_EQ(page.find("\xEF\xBF\xBD", page.find("<summary>Source")), std::string::npos);
  const mailbox::WebReply whole = Get(path + "/source");
  EXPECT_EQ(whole.body, mime);
  EXPECT_EQ(whole.type, "message/rfc822");
  EXPECT_EQ(whole.disposition, "attachment; filename=\"s.eml\"");
  EXPECT_TRUE(Lacks(Get(Add("s", filled)).body, {"The first "}));
}

TEST_F(WebPages, UnknownIdsAreNotFound) {
  const std::string inbox = PathOf(Inbox());
  ExpectMissing(
      "", {"/folder/", "/folder/999", "/folder/-1", "/folder/1'", "/item/1", "/item/1/source",
           "/item/source", "/item//source", "/item/1/source/source", "/item/99999999999999999999",
           "/attachment/1", "/attachment/", "/item/1/2/3/4/5/6/7/8/9/10"});
  ExpectMissing(inbox, {"/", "x"});
}

Reply Fetch(const std::string& url, const std::string& login, const std::string& host = "") {
  return Send({url, "", login.empty() ? "" : Basic(login), host});
}

TEST(WebPagesOverHttp, AnOwnedMailboxAsksForItsLogin) {
  RunningServer server(OwnedBy("ann@example.com"));
  server->Mailboxes().Mailbox("ann@example.com");
  for (const char* path : {"/", "/folder/1", "/item/1", "/item/1/source", "/attachment/1"}) {
    for (const char* login : {"", "ann@example.com:wrong", "eve@example.com:secret"}) {
      const Reply refused = Fetch(server->Url() + path, login);
      EXPECT_EQ(refused.status, 401) << path << login;
      EXPECT_TRUE(Holds(refused.headers, {"WWW-Authenticate: Basic"}));
      EXPECT_TRUE(Lacks(refused.body, {"ann@"}));
    }
  }
  const Reply page = Fetch(server->Url() + "/", "ann@example.com:secret");
  EXPECT_EQ(page.status, 200);
  EXPECT_TRUE(Holds(page.body, {"ann@example.com"}));
  EXPECT_TRUE(Holds(page.headers, {"Content-Security-Policy: default-src 'none';"}));
  EXPECT_EQ(Fetch(server->Url() + "/item/1", "ann@example.com:secret").status, 404);
}

TEST(WebPagesOverHttp, AnOpenMailboxAnswersUnderNamesOfThisMachineOnly) {
  RunningServer server;
  const std::string url = server->Url() + "/";
  for (const char* host : {"", "LocalHost:8443", "[::1]", "[::1]:8443", "127.0.0.1"}) {
    EXPECT_EQ(Fetch(url, "", host).status, 200) << host;
  }
  for (const char* host : {"rebound.example", "localhost.rebound.example:1", "127.0.0.1.example"}) {
    EXPECT_EQ(Fetch(url, "", host).status, 403) << host;
  }
  mailbox::NewItem item;
  item.info.folder = 1;
  server->Mailboxes().Mailbox("ann@example.com");
  server->Mailboxes().CreateItem(item);
  const Reply empty = Fetch(url + "item/" + std::to_string(item.info.id) + "/source", "");
  EXPECT_EQ(empty.status, 200);
  EXPECT_TRUE(
      Holds(empty.headers, {"Content-Disposition: attachment;", "Content-Security-Policy: sandbox;",
                            "X-Content-Type-Options: nosniff"}));
  EXPECT_TRUE(Holds(Fetch(url + "style.css", "").headers, {"Content-Type: text/css"}));
  EXPECT_EQ(empty.body, "");
}

}  // namespace
