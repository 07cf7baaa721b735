// Memory that runs out at any moment, once or for good: nothing leaves the public objects but their
// results, none of them says of a part that it is the whole, and what is still there works when
// there is memory again.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "mime/CkEmail.h"
#include "mime/CkFileAccess.h"
#include "mime/CkMime.h"
#include "tests/support/Shortage.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using test_support::Shortage;

constexpr const char* kMail =
    "From: =?utf-8?Q?M=C3=BCller=2C_A?= <a@b.example>, b@b.example\r\n"
    "To: a@b.example\r\nTo: c@d.example\r\nSubject: \xE4\r\nX-Unsent: 1\r\n"
    "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\nContent-Type: text/plain; charset=koi8-r\r\n\r\n\xF0\xD2\xC9\r\n"
    "begin 644 a.txt\r\n#0V%T\r\n`\r\nend\r\n"
    "--b\r\nContent-Type: text/html\r\n\r\n<p>\xE4</p>\r\n"
    "--b\r\nContent-Type: image/png; name=\"a long name of a picture of a cat on a mat and of "
    "another cat beside it.png\"\r\nContent-Disposition: attachment\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\niVBORw==\r\n--b--\r\n";

// A file in memory.
class MemoryFile {
 public:
  MemoryFile() : m_fd(memfd_create("tarny-test", 0)) {}
  ~MemoryFile() { close(m_fd); }
  std::string Path() const { return "/proc/self/fd/" + std::to_string(m_fd); }
  std::string Bytes() const { return test_support::ReadAll(Path()); }

 private:
  int m_fd;
};

class MemoryShortage : public testing::Test {
 protected:
  // Runs the work with memory that ends after 0, 1, 2, ... allocations, until it needs no more. The
  // check is made after each of them.
  static void AtEveryMoment(const std::function<void()>& work, const std::function<void()>& check) {
    for (const bool for_good : {false, true}) {
      for (long after = 0; Shortage::WasReached() || after == 0; ++after) {
        SCOPED_TRACE(after);
        bool thrown = false;
        {
          const Shortage shortage(after, for_good ? Shortage::kForGood : 1);
          try {
            work();
          } catch (...) {
            thrown = true;
          }
        }
        ASSERT_FALSE(thrown);
        check();
      }
    }
  }

  test_support::TemporaryFolder m_folder;
  const std::string m_in = m_folder.Write("in.eml", kMail);
  const MemoryFile m_file;
  const std::string m_out = m_file.Path();
};

TEST_F(MemoryShortage, LeavesEmailsWholeOrFails) {
  CkEmail kept;
  kept.put_Utf8(true);
  bool whole = false;
  const char* html = nullptr;
  const auto use = [&] {
    whole = kept.LoadEml(m_in.c_str());
    html = kept.getHtmlBody();
    kept.put_From("Last, First <a@b.example>, \xC3\xA4 <c@d.example>");
    whole = kept.get_LastMethodSuccess() && whole;
    kept.put_Subject("\xD0\x90");
    whole = kept.get_LastMethodSuccess() && whole;
    whole = kept.SaveEml(m_out.c_str()) && whole;
    (void)kept.lastErrorText();
  };
  use();
  const std::string saved = m_file.Bytes();
  AtEveryMoment(use, [&] {
    EXPECT_TRUE(!whole || m_file.Bytes() == saved) << m_file.Bytes();
    EXPECT_TRUE(html == nullptr || std::string_view(html) == "<p>\xC3\xA4</p>") << html;
  });
  EXPECT_TRUE(whole);
  AtEveryMoment([] { CkEmail().put_Subject("s"); }, [] {});
}

TEST_F(MemoryShortage, LeavesMessagesWholeOrFails) {
  CkMime kept;
  bool whole = false;
  CkByteData bytes;
  const auto use = [&] {
    bytes.clear();
    whole = kept.LoadMimeFile(m_in.c_str());
    const std::unique_ptr<CkMime> part(kept.GetPart(2));
    whole = part != nullptr && whole;
    whole = whole && part->SetHeaderField("Content-Transfer-Encoding", "binary");
    if (part != nullptr) (void)part->SaveBody(m_out.c_str());
    whole = kept.getMime() != nullptr && whole;
    whole = kept.GetMimeBytes(bytes) && whole;
    (void)CkFileAccess().WriteEntireFile(m_out.c_str(), bytes);
    (void)kept.lastErrorText();
  };
  use();
  const std::string written(bytes.bytes().view());
  AtEveryMoment(
      use, [&] { EXPECT_TRUE(!whole || bytes.bytes().view() == written) << bytes.bytes().view(); });
  EXPECT_TRUE(whole);
}

}  // namespace
