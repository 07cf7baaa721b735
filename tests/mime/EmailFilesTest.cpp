// Mails as files, with what a reader of mail must see beside them, and every mail written and
// loaded again.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "client/EmailJson.h"
#include "mime/base/LogNull.h"
#include "mime/email/EmailBodies.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailWriter.h"
#include "platform/NarrowText.h"
#include "tests/support/MailFiles.h"

namespace {

using nlohmann::ordered_json;

class EmailFiles : public testing::Test {
 protected:
  EmailFiles() : m_page(platform::AnsiCodePage()) { platform::SetAnsiCodePage(1252); }
  ~EmailFiles() override { platform::SetAnsiCodePage(m_page); }

 private:
  unsigned m_page;
};

ordered_json Cleaned(const ordered_json& json) {
  return ordered_json::parse(json.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
}

struct Memory : mail::EmailOutput {
  bool write(std::string_view bytes) override {
    text.append(bytes);
    return true;
  }
  std::string text;
};

std::string Written(mail::Email2& email) {
  mail::LogNull log;
  Memory output;
  EXPECT_TRUE(mail::EmailWriter(output, mail::EmailWriter::Transport::k8bit, log).write(email));
  return output.text;
}

std::string Html(const mail::Email2& email) {
  mail::LogNull log;
  mail::StringBuffer html;
  return mail::htmlBodyOf(email, html, log) ? std::string(html.view()) : "(none)";
}

mail::OwnedPtr<mail::Email2> Load(const std::string& bytes) {
  mail::LogNull log;
  return mail::buildEmail(bytes, /*bUtf8=*/false, log);
}

TEST_F(EmailFiles, ComeOutAsTheFileBesideSays) {
  const auto files = test_support::MailFiles(test_support::MailFolder() / "email");
  ASSERT_GE(files.size(), 49U);
  for (const auto& path : files) {
    std::filesystem::path expected = path;
    expected.replace_extension(".json");
    const auto wanted = ordered_json::parse(test_support::ReadBytes(expected));
    const auto email = Load(test_support::ReadBytes(path));
    ASSERT_NE(email, nullptr) << path;
    const ordered_json got = Cleaned(client::EmailJson(*email));
    EXPECT_EQ(got, wanted) << path << "\n" << ordered_json::diff(wanted, got).dump(1);
  }
}

// Mails that a second writing changes again, with the reason.
const std::map<std::string, const char*> kNotSteady = {
    {"crcrlf.eml", "CR CR in what was no line end makes the next loading mend all line ends"},
    {"cr-cr-lf.eml", "the same"},
    {"crlf-cr-crlf.eml", "the same"},
    {"boundary-of-dashes.eml", "its delimiters and closing delimiters are alike"},
    {"part-without-anything.eml", "what is written of it is too small for a part"},
    {"text-that-reads-as-a-word.eml", "it is written as it stands, and is an encoded word then"},
};

// Over the mails of all folders: what was written shows the same, and is written the same again.
TEST_F(EmailFiles, WrittenAndLoadedAgainShowTheSame) {
  for (const auto& path : test_support::MailFiles(test_support::MailFolder())) {
    SCOPED_TRACE(path);
    const auto email = Load(test_support::ReadBytes(path));
    ASSERT_NE(email, nullptr);
    const std::string written = Written(*email);
    const auto again = Load(written);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(Cleaned(client::EmailJson(*again)), Cleaned(client::EmailJson(*email))) << written;
    EXPECT_EQ(Html(*again), Html(*email));
    EXPECT_EQ(Written(*again) != written, kNotSteady.contains(path.filename())) << written;
  }
}

}  // namespace
