#include <map>

#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/MailFiles.h"

using namespace mailbox_test;

namespace {

using SampleRequest = LocalMailbox;

// Requests captured from an independent client, where they are present.
TEST_F(SampleRequest, EachIsAnsweredInTheSchema) {
  const std::string folder = test_support::SchemaValidator::Folder() + "/samples";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "the samples are not here";
  const std::int64_t box = m_store.Mailbox(m_login);
  const auto folderFor = [&](const std::string& request) {
    std::string name = "inbox";
    if (request.find("<t:CalendarItem>") != std::string::npos) name = "calendar";
    if (request.find("<t:Task>") != std::string::npos) name = "tasks";
    for (const char* const of : {"<t:Contact>", "<t:Contact/>", "<t:DistributionList>"}) {
      if (request.find(of) != std::string::npos) name = "contacts";
    }
    return mailbox::MakeId(mailbox::IdKind::kFolder, *m_store.FindWellKnown(box, name));
  };
  std::map<std::string, std::string> codes;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().string().ends_with(".request.xml")) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::string item;
  for (const auto& file : files) {
    const std::string name = file.filename().string();
    std::string request = test_support::ReadBytes(file);
    request = std::regex_replace(request, std::regex("AAMkFolderInbox="), folderFor(request));
    request = std::regex_replace(request, std::regex("AAMkItem[^\"]*"), item);
    request = std::regex_replace(request, std::regex(" ChangeKey=\"[^\"]*\""), "");
    const std::string answer = Ask(request);
    if (name.starts_with("14") || name.starts_with("27")) item = ItemId(answer);
    codes[name.substr(0, 2)] = Code(answer);
  }
  for (const char* number : {"01", "02", "03", "04", "05", "10", "11", "12", "13", "14", "15", "16",
                             "17", "20", "21", "22", "23", "24", "25", "26", "27", "28", "30", "31",
                             "32", "40", "41", "42", "43", "50", "51", "70", "71", "72", "74"}) {
    EXPECT_EQ(codes[number], "NoError") << number;
  }
  EXPECT_EQ(codes["08"], "ErrorInvalidIdMalformed");
  EXPECT_EQ(codes["18"], "ErrorFolderSavePropertyError");
}

}  // namespace
