#include "mime/CkMime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/MailFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using test_support::ReadBytes;
using test_support::TemporaryFolder;
using testing::HasSubstr;

constexpr const char* kPicture =
    "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n"
    "--b\r\nContent-Type: text/plain; charset=koi8-r\r\n\r\n\xF0\xD2\xC9\r\n"
    "--b\r\nContent-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n\r\niVBORw==\r\n"
    "--b--\r\n";

class CkMimeTest : public testing::Test {
 protected:
  CkMimeTest() { EXPECT_TRUE(m_mime.LoadMimeFile(m_folder.Write("a.eml", kPicture).c_str())); }

  std::unique_ptr<CkMime> Part(int index) { return std::unique_ptr<CkMime>(m_mime.GetPart(index)); }
  static std::string BytesOf(CkMime& mime) {
    CkByteData bytes;
    EXPECT_TRUE(mime.GetMimeBytes(bytes));
    return std::string(bytes.bytes().view());
  }

  TemporaryFolder m_folder;
  CkMime m_mime;
};

TEST_F(CkMimeTest, WritesBinaryBodiesRawAsBytesAndAsBase64InText) {
  const std::unique_ptr<CkMime> picture = Part(1);
  ASSERT_NE(picture, nullptr);
  EXPECT_TRUE(picture->SetHeaderField(" Content-Transfer-Encoding ", " binary"));
  EXPECT_EQ(BytesOf(*picture),
            "Content-Type: image/png\r\nContent-Transfer-Encoding: binary\r\n\r\n\x89PNG");
  EXPECT_STREQ(picture->getMime(),
               "Content-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n\r\niVBORw==\r\n");
  EXPECT_TRUE(picture->SetHeaderField("Content-Transfer-Encoding", " "));
  EXPECT_THAT(picture->getMime(), HasSubstr("base64"));
  EXPECT_EQ(BytesOf(*picture), "Content-Type: image/png\r\n\r\n\x89PNG");
  EXPECT_THAT(BytesOf(m_mime), HasSubstr("image/png\r\n\r\n\x89PNG\r\n--b--"))
      << "a part is a view of the one tree";
}

TEST_F(CkMimeTest, GivesTextByTheCharsetOfItsBodyInTheFormOfTheFlag) {
  m_mime.put_Utf8(true);
  EXPECT_THAT(m_mime.getMime(), HasSubstr("\r\n\r\nПри\r\n"));
  EXPECT_TRUE(Part(0)->get_Utf8());
  m_mime.put_Utf8(false);
  EXPECT_EQ(std::string(m_mime.getMime()).find("При"), std::string::npos);
}

TEST_F(CkMimeTest, SavesABodyInItsCharset) {
  const std::string path = m_folder.File("body");
  EXPECT_TRUE(Part(0)->SaveBody(path.c_str()));
  EXPECT_EQ(ReadBytes(path), "\xF0\xD2\xC9");
  EXPECT_TRUE(Part(1)->SaveBody(path.c_str()));
  EXPECT_EQ(ReadBytes(path), "\x89PNG");
  EXPECT_FALSE(Part(1)->SaveBody(m_folder.File("no/such/folder").c_str()));
}

TEST_F(CkMimeTest, TellsWhyAPartIsNotThere) {
  EXPECT_EQ(m_mime.GetPart(2), nullptr);
  EXPECT_FALSE(m_mime.get_LastMethodSuccess());
  for (const char* line : {"GetPart:", "Failed to get MIME message part", "num_parts: 2",
                           "requested_part_index: 2", "Failed."}) {
    EXPECT_THAT(m_mime.lastErrorText(), HasSubstr(line));
  }
  EXPECT_EQ(m_mime.GetPart(-1), nullptr);
  EXPECT_NE(Part(1), nullptr);
  EXPECT_TRUE(m_mime.get_LastMethodSuccess());
}

TEST_F(CkMimeTest, PartsLoseTheirEntityWhenTheMessageIsLoadedAgain) {
  const std::unique_ptr<CkMime> part = Part(0);
  EXPECT_TRUE(m_mime.LoadMimeFile(m_folder.File("a.eml").c_str()));
  EXPECT_EQ(BytesOf(*part), "\r\n\r\n");
  EXPECT_THAT(part->lastErrorText(),
              HasSubstr("Internal MIME part no longer exists within the MIME document."));
  EXPECT_TRUE(part->SetHeaderField("Subject", "fresh"));
  EXPECT_EQ(BytesOf(*part), "Subject: fresh\r\n\r\n");
  EXPECT_NE(Part(1), nullptr);
}

TEST_F(CkMimeTest, ATreeLivesAsLongAsAPartOfItAndAPartLoadsForItself) {
  auto whole = std::make_unique<CkMime>();
  ASSERT_TRUE(whole->LoadMimeFile(m_folder.File("a.eml").c_str()));
  const std::unique_ptr<CkMime> part(whole->GetPart(1));
  const std::unique_ptr<CkMime> other(whole->GetPart(0));
  EXPECT_TRUE(other->LoadMimeFile(m_folder.File("a.eml").c_str()));
  whole.reset();
  EXPECT_THAT(BytesOf(*part), HasSubstr("iVBORw=="));
}

TEST_F(CkMimeTest, FailsOnAFileThatIsNotThereAndKeepsTheMessage) {
  EXPECT_FALSE(m_mime.LoadMimeFile(m_folder.File("none.eml").c_str()));
  EXPECT_FALSE(m_mime.get_LastMethodSuccess());
  EXPECT_NE(Part(1), nullptr);
}

TEST(CkMultiByteBase, KeepsTenTextsInTurn) {
  CkMime mime;
  EXPECT_TRUE(mime.get_LastMethodSuccess());
  const char* const first = mime.getMime();
  for (std::size_t n = 1; n < CkMultiByteBase::kResultSlots; ++n) {
    EXPECT_NE(mime.getMime(), first);
  }
  EXPECT_STREQ(first, "\r\n\r\n");
  mime.SetHeaderField("A", "b");
  EXPECT_STREQ(mime.getMime(), "A: b\r\n\r\n");
  EXPECT_STREQ(first, "A: b\r\n\r\n") << "the eleventh text lies where the first one was";
}

}  // namespace
