#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "client/show/MimeJson.h"
#include "mime/tree/MimeInput.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/MailFiles.h"

namespace {

using nlohmann::ordered_json;
using test_support::silent;

// The mails of the folder repaired/ are loaded as mail objects load them; the others as files.
ordered_json TreeOf(const std::filesystem::path& path) {
  const std::string bytes = test_support::ReadBytes(path);
  mail::MimeMessage2 root;
  const bool repair = path.parent_path().filename() == "repaired";
  EXPECT_TRUE(repair ? root.loadMimeComplete(bytes, {.bRepair = true}, silent)
                     : mail::loadMimeInput(root, bytes, silent));
  const std::string text =
      client::MimeJson(root).dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  return ordered_json::parse(text);
}

TEST(MimeTreeFiles, ComeOutAsTheFileBesideSays) {
  const auto files = test_support::MailFiles(test_support::MailFolder() / "tree");
  ASSERT_GT(files.size(), 80U);
  for (const auto& path : files) {
    std::filesystem::path expected = path;
    expected.replace_extension(".json");
    const ordered_json wanted = ordered_json::parse(test_support::ReadBytes(expected));
    const ordered_json got = TreeOf(path);
    EXPECT_EQ(got, wanted) << path << "\n"
                           << ordered_json::diff(wanted, got).dump(1) << "\n(-> got)";
  }
}

}  // namespace
