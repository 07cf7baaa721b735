#include <fstream>
#include <map>
#include <sstream>

#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

// Requests captured from an independent client, where they are present.
class SampleRequest : public LocalMailbox {
 protected:
  static std::string Folder() { return test_support::SchemaValidator::Folder() + "/samples"; }
  static std::string Read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }
};

TEST_F(SampleRequest, EachIsAnsweredInTheSchema) {
  if (!std::filesystem::is_directory(Folder())) GTEST_SKIP() << "the samples are not here";
  const std::string inbox = mailbox::MakeId(
      mailbox::IdKind::kFolder, *m_store.FindWellKnown(m_store.Mailbox(m_login), "inbox"));
  std::map<std::string, std::string> codes;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
    if (entry.path().string().ends_with(".request.xml")) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::string item;
  for (const auto& file : files) {
    const std::string name = file.filename().string();
    std::string request = std::regex_replace(Read(file), std::regex("AAMkFolderInbox="), inbox);
    request = std::regex_replace(request, std::regex("AAMkItem[^\"]*"), item);
    const std::string answer = Ask(request);
    if (name.starts_with("14")) item = ItemId(answer);
    codes[name.substr(0, 2)] = Code(answer);
  }
  for (const char* number : {"01", "02", "03", "04", "05", "10", "11", "12", "13", "14", "15", "16",
                             "17", "50", "51", "70", "71", "72", "74"}) {
    EXPECT_EQ(codes[number], "NoError") << number;
  }
  EXPECT_EQ(codes["08"], "ErrorInvalidIdMalformed");
  EXPECT_EQ(codes["18"], "ErrorFolderSavePropertyError");
  EXPECT_EQ(codes["28"], "ErrorMessageDispositionRequired");  // of a meeting, sent for a message
}

}  // namespace
