#include <cstdlib>

#include "mailboxd/store/ItemFields.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"
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
      "timeout 60 chromium --headless --no-sandbox --disable-gpu --user-data-dir=" +
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

TEST(Browser, ShowsCalendarAndContactsWithoutARefusal) {
  if (std::system("command -v chromium > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "chromium is not installed";
  }
  RunningServer server;
  const auto save = [&](const std::string& folder, const std::string& item) {
    const Reply reply =
        Send({server->EwsUrl(),
              CreateItem(WellKnown(folder), item, " SendMeetingInvitations=\"SendToNone\"")});
    EXPECT_EQ(Code(reply.body), "NoError") << reply.body;
  };
  save("calendar", Tag("t:CalendarItem",
                       "<t:Subject>Review</t:Subject>"
                       "<t:Start>2024-02-29T10:00:00Z</t:Start>"));
  save("contacts", Tag("t:Contact", Tag("t:Attachments", Tag("t:FileAttachment",
                                                             "<t:Name>ContactPhoto.jpg</t:Name>" +
                                                                 Tag("t:Content", kPicture))) +
                                        "<t:DisplayName>Marie Curie</t:DisplayName>"));
  mailbox::Store& store = server->Mailboxes();
  const std::int64_t calendar = *store.FindWellKnown(store.Mailbox("user@example.com"), "calendar");
  const Seen month = Look(server->Url() + "/folder/" + std::to_string(calendar) + "?month=2024-02");
  EXPECT_TRUE(Holds(month.page, {"<time datetime=\"2024-02-29\">29</time>", ">Review</a>"}));
  EXPECT_EQ(month.complaints, "");
  const Seen person = Look(server->Url() + "/item/2");
  EXPECT_TRUE(Holds(person.page, {"alt=\"Photo of Marie Curie\" src=\"data:image/png;base64,"}));
  EXPECT_EQ(person.complaints, "");
}

}  // namespace
