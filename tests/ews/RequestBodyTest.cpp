#include "ews/RequestBody.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include "ews/ServiceException.h"
#include "platform/Paths.h"

namespace {

// The plain way to do it, as a judge.
std::string NaiveBase64(const std::string& bytes) {
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    unsigned group = 0;
    const size_t n = std::min<size_t>(3, bytes.size() - i);
    for (size_t k = 0; k < 3; ++k) {
      group = group << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    }
    for (size_t k = 0; k < 4; ++k) text += k <= n ? kAlphabet[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

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

class TempFile {
 public:
  explicit TempFile(const std::string& bytes)
      : m_path(std::filesystem::temp_directory_path() /
               ("request-body-" + std::to_string(getpid()))) {
    std::ofstream(m_path, std::ios::binary) << bytes;
  }
  ~TempFile() { std::filesystem::remove(m_path); }
  const std::filesystem::path& Path() const { return m_path; }
  CString WindowsPath() const { return platform::ToWindowsPath(m_path.string()); }

 private:
  std::filesystem::path m_path;
};

TEST(RequestBody, ReadsTheSameInBuffersOfAnySize) {
  // The last one is more than a file's inner buffer holds.
  for (const size_t length : {0u, 1u, 2u, 3u, 4u, 5u, 100u, 1000u, 50001u}) {
    const std::string bytes = RandomBytes(length, 1);
    const TempFile file(bytes);
    ews::RequestBody body;
    body.AddText("<a>");
    body.AddText("&amp;");
    body.AddBase64(Shared(bytes), bytes.size());
    body.AddBase64File(file.WindowsPath());
    body.AddText("</a>");
    const std::string expected = "<a>&amp;" + NaiveBase64(bytes) + NaiveBase64(bytes) + "</a>";
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

TEST(RequestBody, AFileThatShrankOrIsGoneFailsInsteadOfFillingUp) {
  const TempFile file(std::string(100, 'x'));
  ews::RequestBody body;
  body.AddBase64File(file.WindowsPath());
  std::filesystem::resize_file(file.Path(), 50);
  EXPECT_THROW(ReadAll(body, 1000), ews::ServiceException);
  body.Rewind();
  std::filesystem::remove(file.Path());
  EXPECT_THROW(ReadAll(body, 1000), ews::ServiceException);
  EXPECT_THROW(ews::RequestBody().AddBase64File(file.WindowsPath()), ews::ServiceException);
  EXPECT_THROW(ews::RequestBody().AddBase64File(u"\\"), ews::ServiceException);
}

}  // namespace
