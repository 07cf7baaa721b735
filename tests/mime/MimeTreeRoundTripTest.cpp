#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <sstream>
#include <string>

#include "client/MimeJson.h"
#include "mime/base/LogNull.h"
#include "mime/tree/MimeInput.h"
#include "tests/support/MailFiles.h"

namespace {

using mail::MimeMessage2;

std::string Json(const MimeMessage2& root) {
  return client::MimeJson(root).dump(1, ' ', false,
                                     nlohmann::ordered_json::error_handler_t::replace);
}

std::string Bytes(MimeMessage2& root) {
  mail::LogNull log;
  mail::DataBuffer out;
  root.getMimeBytes(out, log);
  return std::string(out.view());
}

std::string Text(MimeMessage2& root) {
  mail::LogNull log;
  mail::XString out;
  root.getMimeText(out, log);
  return std::string(out.utf8().view());
}

using Writing = std::string (*)(MimeMessage2&);

// What the round trip of one writing changes: "", "tree", or "bytes" of the second writing.
std::string WhatChanges(MimeMessage2& root, Writing write, bool utf8, std::string* detail) {
  mail::LogNull log;
  const std::string first = write(root);
  MimeMessage2 again;
  EXPECT_TRUE(again.loadMimeComplete(first, {.bUtf8 = utf8}, log));
  *detail = first + "\n--- loaded\n" + Json(root) + "\n--- loaded again\n" + Json(again);
  if (write == Bytes ? Json(root) != Json(again) : false) return "tree";
  if (write == Text) {
    // Binary bodies come as base64, which is then the encoding of the tree.
    MimeMessage2 third;
    EXPECT_TRUE(third.loadMimeComplete(write(again), {.bUtf8 = true}, log));
    if (Json(again) != Json(third)) return "tree";
  }
  return write(again) == first ? "" : "bytes";
}

// "PATH WRITING WHAT REASON" lines; writing is bytes or text.
std::map<std::string, std::string> Exceptions() {
  std::map<std::string, std::string> rows;
  std::istringstream in(test_support::ReadBytes(test_support::MailFolder() / "roundtrip.txt"));
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string path, writing, what;
    fields >> path >> writing >> what;
    rows[path + " " + writing] = what;
  }
  return rows;
}

TEST(MimeTreeRoundTrip, GivesTheSameTreeAndThenTheSameBytes) {
  const auto exceptions = Exceptions();
  std::set<std::string> used;
  for (const auto& path : test_support::MailFiles(test_support::MailFolder())) {
    const std::string name = path.lexically_relative(test_support::MailFolder()).string();
    MimeMessage2 root;
    mail::LogNull log;
    ASSERT_TRUE(mail::loadMimeInput(root, test_support::ReadBytes(path), log));
    for (const bool text : {false, true}) {
      const std::string key = name + (text ? " text" : " bytes");
      std::string detail;
      const std::string what = WhatChanges(root, text ? Text : Bytes, text, &detail);
      const auto exception = exceptions.find(key);
      EXPECT_EQ(what, exception != exceptions.end() ? exception->second : "") << key << "\n"
                                                                              << detail;
      if (exception != exceptions.end()) used.insert(key);
    }
  }
  EXPECT_EQ(used.size(), exceptions.size()) << "a row names a mail that is not there";
}

// Mails as mailers make them, in every mixture of type, charset and encoding.
class Composer {
 public:
  explicit Composer(unsigned seed) : m_random(seed) {}

  std::string Entity(std::size_t depth) {
    const bool parted = depth < 4 && m_random() % 3 == 0;
    return parted ? Multipart(depth) : Leaf();
  }

 private:
  template <std::size_t N>
  std::string Pick(const char* const (&choices)[N]) {
    return choices[m_random() % N];
  }

  std::string Multipart(std::size_t depth) {
    const std::string boundary = "=_" + std::to_string(depth) + Pick({"", "-", "--", " x", "y"}) +
                                 std::to_string(m_random() % 10);
    std::string text = "Content-Type: multipart/" + Pick({"mixed", "alternative", "related"}) +
                       "; boundary=\"" + boundary + "\"\r\n" + Pick({"", "Subject: x\r\n"}) +
                       "\r\n" + Pick({"", "preamble\r\n"});
    for (unsigned n = 0; n <= m_random() % 3; ++n) {
      text += "--" + boundary + "\r\n" + Entity(depth + 1) + "\r\n";
    }
    return text + "--" + boundary + "--\r\n";
  }

  std::string Leaf() {
    std::string text =
        "Content-Type: " +
        Pick({"text/plain", "text/html", "text/csv", "image/png", "application/pdf"}) +
        Pick({"", "; charset=utf-8", "; charset=iso-8859-1", "; charset=koi8-r",
              "; charset=shift_jis", "; charset=us-ascii",
              "; charset=windows-1250; format=flowed"}) +
        "\r\n" +
        Pick({"", "Content-Transfer-Encoding: base64\r\n",
              "Content-Transfer-Encoding: quoted-printable\r\n",
              "Content-Transfer-Encoding: 8bit\r\n", "Content-Transfer-Encoding: binary\r\n"}) +
        Pick({"", "Content-Disposition: attachment; filename=\"a.bin\"\r\n", "X-A: b\r\n"}) +
        "\r\n";
    for (unsigned n = 0; n < m_random() % 6; ++n) {
      text += Pick({"plain text", "caf=C3=A9", "caf\xE9", "caf\xC3\xA9", "QUJD", "\r\n", "\n",
                    "\x93q\x94", "<p>", ".", "\r\nFrom x", " ", "=\r\n", "\x1B$B$\"\x1B(B",
                    "\x82\xA0"});
    }
    return text;
  }

  std::mt19937 m_random;
};

TEST(MimeTreeRoundTrip, HoldsForGeneratedMails) {
  std::size_t parts = 0;
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    const std::string text = Composer(seed).Entity(0);
    MimeMessage2 root;
    mail::LogNull log;
    ASSERT_TRUE(root.loadMimeComplete(text, {}, log));
    parts += root.partCount();
    std::string detail;
    ASSERT_EQ(WhatChanges(root, Bytes, false, &detail), "") << "seed " << seed << "\n"
                                                            << text << "\n--- written\n"
                                                            << detail;
  }
  EXPECT_GT(parts, 1000U);
}

}  // namespace
