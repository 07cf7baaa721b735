// Mails as files, with what a reader of mail must see beside them, and every mail written and
// loaded again.

#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

#include "client/show/EmailJson.h"
#include "mime/email/EmailBodies.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/MailFiles.h"

namespace {

using nlohmann::ordered_json;
using test_support::LoadEmail;
using test_support::silent;
using test_support::Written;

ordered_json Cleaned(const ordered_json& json) {
  return ordered_json::parse(json.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
}

std::string Html(const mail::Email2& email) {
  mail::StringBuffer html;
  return mail::htmlBodyOf(email, html, silent) ? std::string(html.view()) : "(none)";
}

TEST(EmailFiles, ComeOutAsTheFileBesideSays) {
  const auto files = test_support::MailFiles(test_support::MailFolder() / "email");
  ASSERT_GE(files.size(), 49U);
  for (const auto& path : files) {
    std::filesystem::path expected = path;
    expected.replace_extension(".json");
    const auto wanted = ordered_json::parse(test_support::ReadBytes(expected));
    const auto email = LoadEmail(test_support::ReadBytes(path));
    ASSERT_NE(email, nullptr) << path;
    const ordered_json got = Cleaned(client::EmailJson(*email));
    EXPECT_EQ(got, wanted) << path << "\n" << ordered_json::diff(wanted, got).dump(1);
  }
}

// Over the mails of all folders: what was written shows the same, and is written the same again,
// but for the mails of which roundtrip.txt says that their bytes change.
TEST(EmailFiles, WrittenAndLoadedAgainShowTheSame) {
  auto exceptions = test_support::RoundTripExceptions();
  for (const auto& path : test_support::MailFiles(test_support::MailFolder())) {
    SCOPED_TRACE(path);
    const std::string name = path.lexically_relative(test_support::MailFolder()).string();
    const auto email = LoadEmail(test_support::ReadBytes(path));
    ASSERT_NE(email, nullptr);
    const std::string written = Written(*email);
    const auto again = LoadEmail(written);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(Cleaned(client::EmailJson(*again)), Cleaned(client::EmailJson(*email))) << written;
    EXPECT_EQ(Html(*again), Html(*email));
    EXPECT_EQ(Written(*again) == written, exceptions.erase(name + " email") == 0) << written;
  }
  std::erase_if(exceptions, [](const auto& row) { return !row.first.ends_with(" email"); });
  EXPECT_TRUE(exceptions.empty()) << exceptions.begin()->first << " names a mail that is not there";
}

}  // namespace
