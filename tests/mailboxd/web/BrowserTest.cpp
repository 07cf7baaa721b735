#include <cstdlib>
#include <string>
#include <vector>

#include "mailboxd/store/ItemFields.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"
#include "tests/mailboxd/web/Browser.h"
#include "tests/support/MailFiles.h"

using namespace mailbox_test;

namespace {

// A picture of one pixel.
constexpr char kPicture[] =
    "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJg"
    "gg==";

struct Seen {
  std::string page;        // as the browser has it in the end
  std::string complaints;  // what its policy kept it from
};

Seen Look(const std::string& url) {
  const TempFolder folder;
  const std::string command =
      "timeout 240 chromium --headless --no-sandbox --disable-gpu --user-data-dir=" +
      folder.File("profile") + " --enable-logging=stderr --window-size=360,800 --dump-dom '" + url +
      "' > " + folder.File("page") + " 2> " + folder.File("log");
  EXPECT_EQ(std::system(command.c_str()), 0) << test_support::ReadBytes(folder.File("log"));
  const std::string log = test_support::ReadBytes(folder.File("log"));
  std::string complaints;
  for (const char* const word : {"Content Security Policy", "Refused to", "ERR_"}) {
    if (log.find(word) != std::string::npos) complaints += log;
  }
  return {test_support::ReadBytes(folder.File("page")), complaints};
}

class Pages : public testing::Test {
 protected:
  void SetUp() override {
    if (!Browser::IsThere()) GTEST_SKIP() << "chromium is not installed";
    Save("inbox",
         Tag("t:Message", "<t:Subject>" + std::string(120, 'w') + " and more words</t:Subject>"));
    Save("inbox", Tag("t:Message", "<t:Subject>Hello</t:Subject><t:IsRead>true</t:IsRead>"));
    Save("calendar", Tag("t:CalendarItem",
                         "<t:Subject>Review</t:Subject>"
                         "<t:Start>2024-02-29T10:00:00Z</t:Start>"));
    Save("contacts", Tag("t:Contact", Tag("t:Attachments", Tag("t:FileAttachment",
                                                               "<t:Name>ContactPhoto.jpg</t:Name>" +
                                                                   Tag("t:Content", kPicture))) +
                                          "<t:DisplayName>Marie Curie</t:DisplayName>"));
    Save("tasks", Tag("t:Task", "<t:Subject>Write</t:Subject>"));
    m_paths = {"/", FolderPath("inbox"), FolderPath("calendar") + "?month=2024-02",
               FolderPath("contacts"), FolderPath("tasks")};
    for (int item = 1; item <= 5; ++item) m_paths.push_back("/item/" + std::to_string(item));
  }
  void Save(const std::string& folder, const std::string& item) {
    const Reply reply = Send({m_server->EwsUrl(), CreateItem(WellKnown(folder), item, kQuietly)});
    EXPECT_EQ(Code(reply.body), "NoError") << reply.body;
  }
  std::string FolderPath(const std::string& name) {
    mailbox::Store& store = m_server->Mailboxes();
    const auto mailbox = store.Mailbox("user@example.com");
    return "/folder/" + std::to_string(*store.FindWellKnown(mailbox, name));
  }

  RunningServer m_server;
  std::vector<std::string> m_paths;
};

TEST_F(Pages, ShowCalendarAndContactsWithoutARefusal) {
  const Seen month = Look(m_server->Url() + m_paths[2]);
  EXPECT_TRUE(Holds(month.page, {"<time datetime=\"2024-02-29\">29</time>", ">Review</a>"}));
  EXPECT_EQ(month.complaints, "");
  const Seen person = Look(m_server->Url() + "/item/4");
  EXPECT_TRUE(Holds(person.page, {"alt=\"Photo of Marie Curie\" src=\"data:image/png;base64,"}));
  EXPECT_EQ(person.complaints, "");
}

// From the mailboxes to an item and to its folder's search, by the keys Tab and Enter.
TEST_F(Pages, AreGoneThroughByKeyboardAndShowWhereOneIs) {
  Browser browser;
  const auto tabTo = [&](const std::string& text) {
    for (int i = 0; i < 60; ++i) {
      browser.PressTab();
      EXPECT_NE(browser.Value("getComputedStyle(document.activeElement).outlineStyle"), "none");
      const auto label = browser.Value(
          "document.activeElement.textContent.trim() || document.activeElement.placeholder");
      if (label.is_string() && label.get<std::string>().find(text) != std::string::npos)
        return true;
    }
    return false;
  };
  browser.Open(m_server->Url() + "/");
  ASSERT_TRUE(tabTo("Inbox"));
  browser.PressEnter();
  browser.AwaitPage();
  EXPECT_EQ(browser.Value("location.pathname"), m_paths[1]);
  ASSERT_TRUE(tabTo("Hello"));
  browser.PressEnter();
  browser.AwaitPage();
  EXPECT_EQ(browser.Value("document.querySelector('h1').textContent"), "Hello");
  ASSERT_TRUE(tabTo("Inbox"));
  browser.PressEnter();
  browser.AwaitPage();
  ASSERT_TRUE(tabTo("Subject or person"));
  for (const char c : std::string("hell")) browser.Press({c}, c - 'a' + 'A', {c});
  browser.PressEnter();
  browser.AwaitPage();
  EXPECT_EQ(browser.Value("document.querySelector('[role=status]').textContent"), "1 item found");
}

TEST_F(Pages, FitANarrowWindow) {
  Browser browser;
  browser.Call("Emulation.setDeviceMetricsOverride",
               {{"width", 320}, {"height", 640}, {"deviceScaleFactor", 1}, {"mobile", false}});
  for (const std::string& path : m_paths) {
    browser.Open(m_server->Url() + path);
    EXPECT_EQ(browser.Value("innerWidth"), 320);
    EXPECT_LE(browser.Value("document.documentElement.scrollWidth").get<int>(), 320) << path;
    EXPECT_EQ(browser.Value("[...document.querySelectorAll('.box')].filter("
                            "box => box.scrollWidth > box.clientWidth).length"),
              0)
        << path;
  }
}

// Each text against what lies behind it, as a reader with weak eyes needs it: 4.5 to 1.
constexpr char kFaint[] = R"js((() => {
  const part = c => (c /= 255) <= .03928 ? c / 12.92 : ((c + .055) / 1.055) ** 2.4;
  const numbers = colour => colour.match(/[\d.]+/g).map(Number);
  const light = ([r, g, b]) => .2126 * part(r) + .7152 * part(g) + .0722 * part(b);
  const behind = e => {
    for (; e; e = e.parentElement) {
      const colour = numbers(getComputedStyle(e).backgroundColor);
      if (colour.length == 3 || colour[3] > 0) return colour;
    }
    return [255, 255, 255];
  };
  const faint = [];
  for (const e of document.body.querySelectorAll('*')) {
    if (![...e.childNodes].some(n => n.nodeType == 3 && n.data.trim())) continue;
    const pair = [light(numbers(getComputedStyle(e).color)), light(behind(e))].sort((a, b) => b - a);
    if ((pair[0] + .05) / (pair[1] + .05) < 4.5) faint.push(e.tagName + ' ' + e.textContent);
  }
  return faint.join('; ');
})())js";

TEST_F(Pages, AreReadableInLightAndDark) {
  Browser browser;
  for (const char* const scheme : {"light", "dark"}) {
    browser.Call("Emulation.setEmulatedMedia",
                 {{"features", {{{"name", "prefers-color-scheme"}, {"value", scheme}}}}});
    for (const std::string& path : m_paths) {
      browser.Open(m_server->Url() + path);
      EXPECT_EQ(browser.Value(kFaint), "") << scheme << path;
    }
    const auto ground = browser.Value("getComputedStyle(document.body).backgroundColor");
    EXPECT_EQ(ground, scheme == std::string("dark") ? "rgb(19, 23, 28)" : "rgb(245, 247, 250)");
  }
}

}  // namespace
