// Memory that runs out at any moment, once or for good: nothing leaves the public objects but their
// results, and what is still there works when there is memory again.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "mime/CkEmail.h"
#include "mime/CkFileAccess.h"
#include "mime/CkMime.h"
#include "mime/base/Reallocate.h"
#include "tests/support/TemporaryFolder.h"

namespace {

// Of this thread, while a Shortage lives: allocations until one is refused.
thread_local bool t_active = false;
thread_local long t_left = 0;
thread_local bool t_for_good = false;

bool Refuses() {
  if (!t_active || --t_left >= 0) return false;
  if (!t_for_good) t_active = false;
  return true;
}

void* Allocate(std::size_t bytes) { return Refuses() ? nullptr : std::malloc(bytes + 1); }
void* AllocateOrThrow(std::size_t bytes) {
  if (void* const block = Allocate(bytes)) return block;
  throw std::bad_alloc();
}
void* AllocateAgain(void* block, std::size_t bytes) {
  return Refuses() ? nullptr : std::realloc(block, bytes);
}

class Shortage {
 public:
  Shortage(long after, bool for_good) : m_before(mail::SetReallocate(AllocateAgain)) {
    t_left = after;
    t_for_good = for_good;
    t_active = true;
  }
  ~Shortage() {
    t_active = false;
    mail::SetReallocate(m_before);
  }

 private:
  mail::ReallocateFunction m_before;
};

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

class MemoryShortage : public testing::Test {
 protected:
  // Runs the work with memory that ends after 0, 1, 2, ... allocations, until it needs no more.
  template <class Work>
  static void AtEveryMoment(Work work) {
    for (const bool for_good : {false, true}) {
      for (long after = 0;; ++after) {
        bool thrown = false;
        bool short_of_memory = false;
        {
          const Shortage shortage(after, for_good);
          try {
            work();
          } catch (...) {
            thrown = true;
          }
          short_of_memory = t_left < 0;
        }
        ASSERT_FALSE(thrown) << after << for_good;
        if (!short_of_memory) break;
      }
    }
  }

  test_support::TemporaryFolder m_folder;
  const std::string m_in = m_folder.Write("in.eml", kMail);
  const char* const m_out = "/dev/null";
};

TEST_F(MemoryShortage, LeavesEmails) {
  CkEmail kept;
  kept.put_Utf8(true);
  const auto use = [&](CkEmail& email) {
    (void)email.LoadEml(m_in.c_str());
    (void)email.HasHtmlBody();
    (void)email.getHtmlBody();
    email.put_From("Last, First <a@b.example>, \xC3\xA4 <c@d.example>");
    email.put_Subject("\xD0\x90");
    (void)email.SaveEml(m_out);
    (void)email.lastErrorText();
  };
  AtEveryMoment([&] { use(kept); });
  AtEveryMoment([] { CkEmail().put_Subject("s"); });
  ASSERT_TRUE(kept.LoadEml(m_in.c_str()));
  EXPECT_STREQ(kept.getHtmlBody(), "<p>\xC3\xA4</p>");
  EXPECT_TRUE(kept.get_LastMethodSuccess());
}

TEST_F(MemoryShortage, LeavesMessages) {
  CkMime kept;
  const auto use = [&](CkMime& mime) {
    (void)mime.LoadMimeFile(m_in.c_str());
    const std::unique_ptr<CkMime> part(mime.GetPart(2));
    if (part != nullptr) (void)part->SetHeaderField("Content-Transfer-Encoding", "binary");
    (void)mime.getMime();
    CkByteData bytes;
    (void)mime.GetMimeBytes(bytes);
    if (part != nullptr) (void)part->SaveBody(m_out);
    (void)CkFileAccess().WriteEntireFile(m_out, bytes);
    (void)mime.lastErrorText();
  };
  AtEveryMoment([&] { use(kept); });
  AtEveryMoment([] { (void)CkMime().getMime(); });
  ASSERT_TRUE(kept.LoadMimeFile(m_in.c_str()));
  EXPECT_NE(std::unique_ptr<CkMime>(kept.GetPart(2)), nullptr);
}

}  // namespace

void* operator new(std::size_t bytes) { return AllocateOrThrow(bytes); }
void* operator new[](std::size_t bytes) { return AllocateOrThrow(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
