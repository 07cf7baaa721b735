#include "ews/RequestBody.h"

#include <filesystem>
#include <random>

#include <gtest/gtest.h>

#include "ews/ServiceException.h"
#include "platform/Paths.h"
#include "tests/support/NaiveCoding.h"
#include "tests/support/TemporaryFolder.h"

namespace {

std::string RandomBytes(size_t length, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(length, '\0');
  for (char& ch : bytes) ch = static_cast<char>(random());
  return bytes;
}

std::shared_ptr<const unsigned char[]> Shared(const std::string& bytes) {
  std::shared_ptr<unsigned char[]> copy(new unsigned char[bytes.size() + 1]);
  std::copy(bytes.begin(), bytes.end(), copy.get());
  return copy;
}

std::string ReadAll(ews::RequestBody& body, size_t bufferSize) {
  std::string all;
  std::string buffer(bufferSize, '\0');
  while (const size_t n = body.Read(buffer)) all.append(buffer, 0, n);
  return all;
}

class RequestBody : public testing::Test {
 protected:
  CString MakeFile(const std::string& bytes) {
    return platform::ToWindowsPath(m_folder.Write("body", bytes));
  }
  test_support::TemporaryFolder m_folder;
};

TEST_F(RequestBody, ReadsTheSameInBuffersOfAnySize) {
  // The last one is more than a file's inner buffer holds.
  for (const size_t length : {0u, 1u, 2u, 3u, 4u, 5u, 100u, 1000u, 50001u}) {
    const std::string bytes = RandomBytes(length, 1);
    const CString file = MakeFile(bytes);
    ews::RequestBody body;
    body.AddText("<a>");
    body.AddText("&amp;");
    body.AddBase64(Shared(bytes), bytes.size());
    body.AddBase64File(file);
    body.AddText("</a>");
    const std::string expected = "<a>&amp;" + naive::Base64(bytes) + naive::Base64(bytes) + "</a>";
    EXPECT_EQ(body.Length(), expected.size());
    for (const size_t bufferSize : {1u, 2u, 3u, 4u, 5u, 7u, 64u, 333u, 5000u}) {
      char three[3];
      body.Rewind();
      ASSERT_EQ(body.Read(three), 3u);  // a start over may come in the middle of a group
      body.Rewind();
      ASSERT_EQ(ReadAll(body, bufferSize), expected) << length << " in " << bufferSize;
    }
  }
}

TEST_F(RequestBody, AFileThatShrankOrIsGoneFailsInsteadOfFillingUp) {
  const CString file = MakeFile(std::string(100, 'x'));
  ews::RequestBody body;
  body.AddBase64File(file);
  std::filesystem::resize_file(m_folder.File("body"), 50);
  EXPECT_THROW(ReadAll(body, 1000), ews::ServiceException);
  body.Rewind();
  std::filesystem::remove(m_folder.File("body"));
  EXPECT_THROW(ReadAll(body, 1000), ews::ServiceException);
  EXPECT_THROW(ews::RequestBody().AddBase64File(file), ews::ServiceException);
  EXPECT_THROW(ews::RequestBody().AddBase64File(u"\\"), ews::ServiceException);
}

}  // namespace
