#include "mailboxd/web/WebPages.h"

#include "mailboxd/Server.h"
#include "platform/Unicode.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

const std::string kHostile = "<script>alert(1)</script>\"'&\x01\xFF<!--";

class WebPages : public testing::Test {
 protected:
  mailbox::FolderInfo Inbox() {
    const std::int64_t box = m_store.Mailbox("ann@example.com");
    return *m_store.Folder(*m_store.FindWellKnown(box, "inbox"));
  }
  mailbox::NewItem Add(const std::string& subject, const std::string& mime, std::int64_t folder) {
    mailbox::NewItem item;
    item.info.folder = folder;
    item.info.subject = subject;
    item.hasMime = !mime.empty();
    item.mime = mime;
    m_store.CreateItem(item);
    return item;
  }
  mailbox::WebReply Get(const std::string& path, const std::string& page = "") {
    mailbox::WebReply reply = mailbox::AnswerPage(m_store, path, page);
    if (reply.disposition.empty()) {
      EXPECT_TRUE(platform::IsValidUtf8(reply.body)) << path;
    }
    return reply;
  }
  // A page with nothing in it that a browser would run, load or take for a tag of ours.
  void ExpectHarmless(const std::string& path) {
    const mailbox::WebReply reply = Get(path);
    EXPECT_EQ(reply.status, 200) << path;
    for (const char* part : {"<script", "<!--", "<img", "http:", "style=", "\x01"}) {
      EXPECT_EQ(reply.body.find(part), std::string::npos) << path << " holds " << part;
    }
    EXPECT_NE(reply.body.find("&lt;script&gt;alert(1)&lt;/script&gt;&quot;&#39;&amp;\xEF\xBF\xBD"
                              "\xEF\xBF\xBD&lt;!--"),
              std::string::npos)
        << path;
  }

  TempFolder m_folder;
  mailbox::Store m_store{m_folder.Path() + "/mailbox.db"};
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
  ExpectHarmless("/folder/" + std::to_string(folder->id));
  ExpectHarmless("/item/" + std::to_string(item.info.id));
  EXPECT_EQ(CountOf(Get("/item/" + std::to_string(item.info.id)).body, "</pre>"),
            2u);  // body and source
  const std::string turned = "/item/" + std::to_string(Add("\xE2\x80\xAEgpj.exe", "", 3).info.id);
  EXPECT_NE(Get(turned).body.find("<h1>\xEF\xBF\xBDgpj.exe</h1>"), std::string::npos);
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
  const std::string path = "/item/" + std::to_string(Add("s", mime, Inbox().id).info.id);
  const std::string page = Get(path).body;
  for (const std::string& part :
       {std::string("<th scope=\"row\">Subject</th><td>Gr\xC3\xBC\xC3\x9F"
                    "e</td>"),
        std::string("<th scope=\"row\">From</th><td>M\xC3\xBCller, A &lt;a@x&gt;</td>"),
        std::string("plain caf\xC3\xA9"),
        "<iframe sandbox title=\"Body\" src=\"" + path + "/body\">",
        std::string("&lt;b onclick=&quot;x&quot;&gt;bold"),
        path + "/part/1\">Pl\xC3\xA4ne.pdf</a></td><td class=\"type\">application/pdf</td>"
               "<td class=\"number\">4 B"}) {
    EXPECT_NE(page.find(part), std::string::npos) << part;
  }
  EXPECT_EQ(page.find("<b "), std::string::npos);
  EXPECT_NE(Get("/folder/" + std::to_string(Inbox().id)).body.find("\"with attachments\""),
            std::string::npos);
  const mailbox::WebReply file = Get(path + "/part/1");
  EXPECT_EQ(file.body, "%PDF");
  EXPECT_EQ(file.type, "application/pdf");
  EXPECT_EQ(file.disposition,
            "attachment; filename=\"Pl_ne.pdf\"; filename*=UTF-8''Pl%C3%A4ne.pdf");
  for (const char* bad : {"/part/2", "/part/0", "/part/", "/part/1/source", "/mail/1", "/mail/",
                          "/body/", "/part", "/mail"}) {
    EXPECT_EQ(Get(path + bad).status, 404) << bad;
  }
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
  const std::string path = "/item/" + std::to_string(Add("s", mime, Inbox().id).info.id);
  const mailbox::WebReply body = Get(path + "/body");
  EXPECT_NE(body.body.find("<img src=\"data:image/png;base64,UE5H\"><img src='cid:none@x'><img "
                           "src=cid:t@x><img src=http://remote.example/a.png>data:image/png"),
            std::string::npos)
      << body.body;
  const std::string policy = body.policy;
  EXPECT_TRUE(policy.starts_with("sandbox; default-src 'none'; "));
  for (const char* part : {"script", "http:", "allow-"}) {
    EXPECT_EQ(policy.find(part), std::string::npos) << part;
  }
  EXPECT_EQ(
      Get("/item/" + std::to_string(Add("s", "A: b\r\n\r\ntext", Inbox().id).info.id) + "/body")
          .status,
      404);
}

TEST_F(WebPages, MailsInsideMailsHavePagesOfTheirOwn) {
  const std::string inner =
      "Subject: second\r\nContent-Type: multipart/mixed; boundary=y\r\n\r\n--y\r\n\r\ntext 2\r\n"
      "--y\r\nContent-Type: message/rfc822\r\n\r\nSubject: third\r\n\r\ntext 3\r\n--y--\r\n";
  const std::string mime =
      "Content-Type: multipart/mixed; boundary=x\r\n\r\n--x\r\n\r\ntext 1\r\n--x\r\n"
      "Content-Type: message/rfc822\r\n\r\n" +
      inner + "--x--\r\n";
  const std::string path = "/item/" + std::to_string(Add("first", mime, Inbox().id).info.id);
  const std::string top = Get(path).body;
  EXPECT_NE(top.find("href=\"" + path + "/mail/1\">second</a>"), std::string::npos) << top;
  EXPECT_NE(Get(path + "/mail/1").body.find("href=\"" + path + "/mail/1.1\">third</a>"),
            std::string::npos);
  const std::string third = Get(path + "/mail/1.1").body;
  EXPECT_NE(third.find("text 3"), std::string::npos);
  EXPECT_NE(third.find("href=\"" + path + "/mail/1\">"), std::string::npos);
  EXPECT_EQ(Get(path + "/mail/1/part/1").body, "Subject: third\r\n\r\ntext 3");
  EXPECT_EQ(Get(path + "/mail/1.1/source").body, "Subject: third\r\n\r\ntext 3");
  for (const char* bad : {"/mail/1.", "/mail/.1", "/mail/1.2", "/mail/1.1.1", "/mail/1/mail/1"}) {
    EXPECT_EQ(Get(path + bad).status, 404) << bad;
  }
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
  const std::string page = Get("/item/" + std::to_string(item.info.id)).body;
  for (size_t i = 0; i < item.attachments.size(); ++i) {
    const std::string path = "/attachment/" + std::to_string(item.attachments[i].info.id);
    EXPECT_NE(page.find("href=\"" + path + "\""), std::string::npos);
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
  const std::string link = "/folder/" + std::to_string(deep->id);
  EXPECT_EQ(Find(page, link + "\">Harbour</a></td><td class=\"number\">([^<]*)<"), "7");
  EXPECT_LT(page.find(">Projects<"), page.find(">Harbour<"));
  EXPECT_LT(page.find(">Harbour<"), page.find(">Drafts<"));
  EXPECT_EQ(page.find("Finder"), std::string::npos);
  EXPECT_EQ(page.find("Deletions"), std::string::npos);
}

TEST_F(WebPages, LargeFoldersComeNewestFirstInPages) {
  const std::int64_t inbox = Inbox().id;
  const std::string path = "/folder/" + std::to_string(inbox);
  EXPECT_EQ(Get(path).status, 200);
  for (int i = 1; i <= mailbox::kItemsPerPage; ++i) Add("n" + std::to_string(i) + ".", "", inbox);
  EXPECT_EQ(Get(path).body.find("Page 1"), std::string::npos);
  EXPECT_EQ(Get(path, "2").status, 404);
  Add("n101.", "", inbox);
  const std::string first = Get(path, "1").body;
  EXPECT_EQ(CountOf(first, "href=\"/item/"), 100u);
  EXPECT_LT(first.find(">n101.<"), first.find(">n2.<"));
  EXPECT_EQ(first.find(">n1.<"), std::string::npos);
  EXPECT_NE(first.find(path + "?page=2\""), std::string::npos);
  const std::string second = Get(path, "2").body;
  EXPECT_EQ(CountOf(second, "href=\"/item/"), 1u);
  EXPECT_NE(second.find(">n1.<"), std::string::npos);
  for (const char* page : {"0", "-1", "3", "x", "1x", "99999999999999999999"}) {
    EXPECT_EQ(Get(path, page).status, 404) << page;
  }
}

TEST_F(WebPages, SourceIsCutAtItsBoundAndCanBeHadWhole) {
  const std::string head = "Subject: s\r\nX-Folded: one\r\n two\r\n\r\n";
  // The bound falls between the two bytes of a character.
  const std::string filled = head + std::string(mailbox::kSourceShown - head.size() - 1, 'x');
  const std::string mime = filled + "\xC3\xA9\x80 end";
  const auto item = Add("s", mime, Inbox().id);
  const std::string path = "/item/" + std::to_string(item.info.id);
  const std::string page = Get(path).body;
  EXPECT_NE(page.find("<th scope=\"row\">X-Folded</th><td>one two</td>"), std::string::npos);
  EXPECT_NE(page.find("The first " + std::to_string(mailbox::kSourceShown - 1) + " of " +
                      std::to_string(mime.size()) + " bytes"),
            std::string::npos);
  EXPECT_EQ(page.find("\xEF\xBF\xBD", page.find("<summary>Source")), std::string::npos);
  const mailbox::WebReply whole = Get(path + "/source");
  EXPECT_EQ(whole.body, mime);
  EXPECT_EQ(whole.type, "message/rfc822");
  EXPECT_EQ(whole.disposition, "attachment; filename=\"s.eml\"");
  const auto small = Add("s", filled, Inbox().id);
  EXPECT_EQ(Get("/item/" + std::to_string(small.info.id)).body.find("The first "),
            std::string::npos);
}

TEST_F(WebPages, UnknownIdsAreNotFound) {
  const std::string inbox = std::to_string(Inbox().id);
  for (const char* path :
       {"/folder/", "/folder/999", "/folder/-1", "/folder/1'", "/item/1", "/item/1/source",
        "/item/source", "/item//source", "/item/1/source/source", "/item/99999999999999999999",
        "/attachment/1", "/attachment/", "/item/1/2/3/4/5/6/7/8/9/10"}) {
    const mailbox::WebReply reply = Get(path);
    EXPECT_EQ(reply.status, 404) << path;
    EXPECT_NE(reply.body.find("Not found"), std::string::npos);
  }
  EXPECT_EQ(Get("/folder/" + inbox + "/").status, 404);
  EXPECT_EQ(Get("/folder/0" + inbox + "x").status, 404);
}

Reply Fetch(const std::string& url, const std::string& login, const std::string& host = "") {
  return Send({url, "", login.empty() ? "" : "Basic " + platform::Base64Encode(login), host});
}

TEST(WebPagesOverHttp, AnOwnedMailboxAsksForItsLogin) {
  const TempFolder folder;
  mailbox::ServerOptions options;
  options.dataFolder = folder.Path();
  options.user = "ann@example.com";
  options.password = "secret";
  mailbox::Server server(options);
  server.Start();
  server.Mailboxes().Mailbox("ann@example.com");
  for (const char* path : {"/", "/folder/1", "/item/1", "/item/1/source", "/attachment/1"}) {
    for (const char* login : {"", "ann@example.com:wrong", "eve@example.com:secret"}) {
      const Reply refused = Fetch(server.Url() + path, login);
      EXPECT_EQ(refused.status, 401) << path << login;
      EXPECT_NE(refused.headers.find("WWW-Authenticate: Basic"), std::string::npos);
      EXPECT_EQ(refused.body.find("ann@"), std::string::npos);
    }
  }
  const Reply page = Fetch(server.Url() + "/", "ann@example.com:secret");
  EXPECT_EQ(page.status, 200);
  EXPECT_NE(page.body.find("ann@example.com"), std::string::npos);
  EXPECT_NE(page.headers.find("Content-Security-Policy: default-src 'none';"), std::string::npos);
  EXPECT_EQ(Fetch(server.Url() + "/item/1", "ann@example.com:secret").status, 404);
}

TEST(WebPagesOverHttp, AnOpenMailboxAnswersUnderNamesOfThisMachineOnly) {
  const TempFolder folder;
  mailbox::ServerOptions options;
  options.dataFolder = folder.Path();
  mailbox::Server server(options);
  server.Start();
  const std::string url = server.Url() + "/";
  for (const char* host : {"", "LocalHost:8443", "[::1]", "[::1]:8443", "127.0.0.1"}) {
    EXPECT_EQ(Fetch(url, "", host).status, 200) << host;
  }
  for (const char* host : {"rebound.example", "localhost.rebound.example:1", "127.0.0.1.example"}) {
    EXPECT_EQ(Fetch(url, "", host).status, 403) << host;
  }
  mailbox::NewItem item;
  item.info.folder = 1;
  server.Mailboxes().Mailbox("ann@example.com");
  server.Mailboxes().CreateItem(item);
  const Reply empty = Fetch(url + "item/" + std::to_string(item.info.id) + "/source", "");
  EXPECT_EQ(empty.status, 200);
  EXPECT_NE(empty.headers.find("Content-Disposition: attachment;"), std::string::npos);
  EXPECT_NE(empty.headers.find("Content-Security-Policy: sandbox;"), std::string::npos);
  EXPECT_NE(empty.headers.find("X-Content-Type-Options: nosniff"), std::string::npos);
  EXPECT_NE(Fetch(url + "style.css", "").headers.find("Content-Type: text/css"), std::string::npos);
  EXPECT_EQ(empty.body, "");
}

}  // namespace
