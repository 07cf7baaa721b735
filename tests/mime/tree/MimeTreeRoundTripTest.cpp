#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "mime/tree/MimeInput.h"
#include "mime/tree/MimeWriting.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/MailFiles.h"

namespace {

using mail::MimeMessage2;
using test_support::BytesOf;
using test_support::LoadedMime;
using test_support::silent;

// Everything that a tree holds, an entity a paragraph; recursion as deep as the tree.
void Show(const MimeMessage2& entity, const std::string& path, std::string& out) {
  out += fmt::format("{} {} charset {} {} {} {}\n", path, entity.contentType().view(),
                     entity.charset().getCodePage(), entity.disposition().view(),
                     entity.boundary().view(), entity.isUndivided() ? "undivided" : "");
  for (std::size_t n = 0; n < entity.header().getCount(); ++n) {
    const mail::MimeField& field = *entity.header().at(n);
    out.append(field.name().view()).append(": ").append(field.value().view()).append("\n");
  }
  out.append("[").append(entity.body().view()).append("]\n");
  for (std::size_t n = 0; n < entity.partCount(); ++n) {
    Show(*entity.part(n), path + "." + std::to_string(n), out);
  }
}

std::string Shown(const MimeMessage2& root) {
  std::string out;
  Show(root, "", out);
  return out;
}

std::string Text(MimeMessage2& root) {
  mail::XString out;
  root.getMimeText(out, silent);
  return std::string(out.utf8().view());
}

// Binary bodies come out of a text as base64, and that is then the encoding of their entity.
void ExpectBase64(MimeMessage2& before, MimeMessage2& after) {
  auto arrBefore = mail::entitiesOf(before);
  auto arrAfter = mail::entitiesOf(after);
  for (std::size_t n = 0; n < std::min(arrBefore.size(), arrAfter.size()); ++n) {
    const std::string_view old = arrBefore[n]->encoding().view();
    const bool mayChange = old.empty() || mail::equalsNoCase(old, "binary");
    if (!mayChange || arrAfter[n]->encoding().view() != "base64") continue;
    for (MimeMessage2* entity : {arrBefore[n], arrAfter[n]}) {
      entity->setEncoding("", silent);
    }
  }
}

enum class Writing { kBytes, kText };
constexpr std::array<std::pair<Writing, const char*>, 2> kWritings = {
    {{Writing::kBytes, "bytes"}, {Writing::kText, "text"}}};

std::string Written(MimeMessage2& root, Writing writing) {
  return writing == Writing::kText ? Text(root) : BytesOf(root);
}

// What a writing changes: "", "tree", or "bytes" of a second writing. The tree is spoilt for more.
std::string WhatChanges(MimeMessage2& root, Writing writing, std::string* detail) {
  const bool text = writing == Writing::kText;
  const std::string before = text ? BytesOf(root) : "";
  const std::string first = Written(root, writing);
  EXPECT_TRUE(!text || BytesOf(root) == before) << "encodings were not switched back\n" << before;
  // As mail objects take a text: one of 7 bits is not known to be UTF-8.
  const bool utf8 = text && !mail::byte_search::is7bit(first);
  LoadedMime again(first, {.bUtf8 = utf8});
  const std::string second = Written(again, writing);
  if (text) ExpectBase64(root, again);
  *detail = "--- loaded\n" + Shown(root) + "\n--- written\n" + first + "\n--- loaded again\n" +
            Shown(again);
  if (Shown(root) != Shown(again)) return "tree";
  return second == first ? "" : "bytes";
}

TEST(MimeTreeRoundTrip, GivesTheSameTreeAndThenTheSameBytes) {
  auto exceptions = test_support::RoundTripExceptions();
  for (const auto& path : test_support::MailFiles(test_support::MailFolder())) {
    const std::string name = path.lexically_relative(test_support::MailFolder()).string();
    for (const auto& [writing, word] : kWritings) {
      MimeMessage2 root;
      ASSERT_TRUE(mail::loadMimeInput(root, test_support::ReadBytes(path), silent));
      std::string detail;
      const std::string what = WhatChanges(root, writing, &detail);
      const auto row = exceptions.find(name + " " + word);
      EXPECT_EQ(what, row != exceptions.end() ? row->second : "") << name << "\n" << detail;
      if (row != exceptions.end()) exceptions.erase(row);
    }
  }
  std::erase_if(exceptions, [](const auto& row) { return row.first.ends_with(" email"); });
  EXPECT_TRUE(exceptions.empty()) << exceptions.begin()->first << " names a mail that is not there";
}

// One way to write a leaf; the parts of it are words of lost.tsv.
struct Leaf {
  const char* type;
  const char* charset;
  const char* encoding;
  const char* disposition;
  const char* body;
  std::string_view bytes;

  std::array<const char*, 6> Words(const char* writing) const {
    return {writing, type, charset, encoding, disposition, body};
  }
  std::string Text() const {
    std::string text = "X: y\r\n";
    const std::string parameter = *charset != '\0' ? std::string("; charset=") + charset : "";
    if (*type != '\0') text += std::string("Content-Type: ") + type + parameter + "\r\n";
    const std::string_view field = "Content-Transfer-Encoding: ";
    const bool twice = std::string_view(encoding) == "empty+8bit";
    if (twice) text.append(field).append("\r\n");
    if (*encoding != '\0') text.append(field).append(twice ? "8bit" : encoding).append("\r\n");
    if (*disposition != '\0') text += std::string("Content-Disposition: ") + disposition + "\r\n";
    return text.append("\r\n").append(bytes);
  }
};

// Every mixture of them.
const std::vector<Leaf>& Leaves() {
  using namespace std::string_view_literals;
  static constexpr std::array<std::pair<const char*, std::string_view>, 16> kBodies = {{
      {"empty", ""},
      {"ascii", "plain\r\ntext=\n."},
      {"latin1", "caf\xE9"},
      {"utf8", "caf\xC3\xA9"},
      {"windows", "\x93q\x94"},
      {"sjis", "\x82\xA0"},
      {"katakana", "\x1B(I1\x1B(B"},
      {"kanji", "\x1B$B$\"\x1B(B"},
      {"nul", "a\0b"sv},
      {"utf16", "a\0\xE9\0"sv},
      {"qp-utf8", "caf=C3=A9"},
      {"qp-8bit", "=E9=82=A0"},
      {"base64-ascii", "QUJD"},
      {"base64-8bit", "6YKg"},
      {"uu-ascii", "begin 644 a\r\n#0V%T\r\n`\r\nend\r\n"},
      {"uu-8bit", "begin 644 a\r\n\"YK<`\r\n`\r\nend\r\n"},
  }};
  static const std::vector<Leaf> leaves = [] {
    std::vector<Leaf> made;
    for (const char* type : {"", "text/plain", "text/html", "application/xml", "application/json",
                             "image/png", "message/rfc822", "multipart/mixed"}) {
      for (const char* charset : {"", "utf-8", "iso-8859-1", "us-ascii", "windows-1250", "koi8-r",
                                  "shift_jis", "iso-2022-jp", "utf-16", "x-unknown"}) {
        if (*type == '\0' && *charset != '\0') continue;
        for (const char* encoding : {"", "7bit", "8bit", "binary", "\"BINARY\" (c)", "empty+8bit",
                                     "base64", "quoted-printable", "uuencode"}) {
          for (const char* disposition : {"", "attachment"}) {
            for (const auto& [body, bytes] : kBodies) {
              made.push_back({type, charset, encoding, disposition, body, bytes});
            }
          }
        }
      }
    }
    return made;
  }();
  return leaves;
}

// Rows of lost.tsv. A cell is "*", or words between commas; "none" stands for none. The last tells
// what is lost.
using Losses = std::vector<std::vector<std::string>>;

Losses ReadLosses() {
  Losses losses = test_support::TableOf(test_support::MailFolder() / "lost.tsv");
  for (const auto& cells : losses) EXPECT_EQ(cells.size(), 7U) << cells.front();
  return losses;
}

bool IsLost(const Losses& losses, const Leaf& leaf, const char* writing) {
  const auto words = leaf.Words(writing);
  const auto has = [](const std::string& cell, std::string_view word) {
    return cell == "*" ||
           fmt::format(",{},", cell).find(fmt::format(",{},", word.empty() ? "none" : word)) !=
               std::string::npos;
  };
  return std::any_of(losses.begin(), losses.end(), [&](const std::vector<std::string>& cells) {
    return std::equal(words.begin(), words.end(), cells.begin(), cells.end() - 1,
                      [&](const char* word, const std::string& cell) { return has(cell, word); });
  });
}

TEST(MimeTreeRoundTrip, LosesOfEveryMixtureWhatIsListedAndNothingElse) {
  const Losses losses = ReadLosses();
  for (const Leaf& leaf : Leaves()) {
    for (const auto& [writing, word] : kWritings) {
      LoadedMime root(leaf.Text());
      std::string detail;
      const bool lost = !WhatChanges(root, writing, &detail).empty();
      EXPECT_EQ(lost, IsLost(losses, leaf, word))
          << fmt::format("{}\n", fmt::join(leaf.Words(word), "\t")) << detail;
    }
  }
}

// Trees of such leaves.
class Composer {
 public:
  // Of leaves that lose nothing by themselves.
  Composer(unsigned seed, std::vector<const Leaf*> leaves, Writing writing)
      : m_random(seed), m_leaves(std::move(leaves)), m_writing(writing) {}

  std::string Entity(std::size_t depth) {
    if (depth < 4 && (depth == 0 || m_random() % 3 == 0)) return Multipart(depth);
    const Leaf* leaf = nullptr;
    do {
      leaf = m_leaves[m_random() % m_leaves.size()];
    } while (m_raw && m_writing == Writing::kText && IsRaw(*leaf));
    m_raw = m_raw || IsRaw(*leaf);
    return leaf->Text();
  }

 private:
  // Whose bytes go out as they came and mean something else in another charset: lost.tsv says why a
  // text can hold one leaf of these.
  static bool IsRaw(const Leaf& leaf) {
    const std::string_view encoding = leaf.encoding;
    const std::string_view charset = leaf.charset;
    if (encoding == "base64" || encoding == "quoted-printable" || encoding == "uuencode")
      return false;
    return charset == "iso-2022-jp" || charset == "utf-16" ||
           leaf.bytes.find('\0') != std::string_view::npos ||
           !mail::byte_search::is7bit(leaf.bytes);
  }

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

  std::mt19937 m_random;
  std::vector<const Leaf*> m_leaves;
  Writing m_writing;
  bool m_raw = false;
};

TEST(MimeTreeRoundTrip, HoldsForGeneratedTrees) {
  const Losses losses = ReadLosses();
  for (const auto& [writing, word] : kWritings) {
    std::vector<const Leaf*> leaves;
    for (const Leaf& leaf : Leaves()) {
      if (!IsLost(losses, leaf, word)) leaves.push_back(&leaf);
    }
    std::size_t parts = 0;
    for (unsigned seed = 1; seed <= 1500; ++seed) {
      const std::string text = Composer(seed, leaves, writing).Entity(0);
      LoadedMime root(text);
      parts += root.partCount();
      std::string detail;
      EXPECT_EQ(WhatChanges(root, writing, &detail), "") << word << " seed " << seed << "\n"
                                                         << text << detail;
    }
    EXPECT_GT(parts, 2000U);
  }
}

TEST(MimeTreeRoundTrip, WhatAPgpSignatureCoversIsWrittenByteForByte) {
  const std::string covered =
      "Content-Type:  text/plain\r\nX-Odd:\tfolded\r\n  oddly\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n\r\ncaf=e9 =\r\nsigned";
  const std::string mail =
      "Content-Type: multipart/signed; protocol=\"application/pgp-signature\"; boundary=b\r\n\r\n"
      "--b\r\n" +
      covered + "\r\n--b\r\nContent-Type: application/pgp-signature\r\n\r\nSIG\r\n--b--\r\n";
  EXPECT_NE(BytesOf(LoadedMime(mail)).find("--b\r\n" + covered + "\r\n--b\r\n"), std::string::npos);
}

std::string Within(std::size_t depth, std::string text) {
  while (depth-- > 0) {
    text = fmt::format(
        "Content-Type: multipart/mixed; boundary=b{0}_\r\n\r\n--b{0}_\r\n{1}\r\n--b{0}_--\r\n",
        depth, text);
  }
  return text;
}

TEST(MimeTreeRoundTrip, AnEntityBelowTheDeepestLevelStaysUndividedAndIsWrittenAsItCame) {
  for (const std::string encoding : {"", "base64", "quoted-printable"}) {
    std::string inner = "Content-Type: multipart/mixed; boundary=inner; charset=koi8-r\r\n";
    if (!encoding.empty()) inner += "Content-Transfer-Encoding: " + encoding + "\r\n";
    inner += "\r\n--inner\r\nX: y\r\n\r\n=C3 QUJD \xC3\xA9\r\n--inner--";
    EXPECT_FALSE(LoadedMime(Within(MimeMessage2::kMaxDepth - 1, inner)).hasUndivided());
    for (const auto& [writing, word] : kWritings) {
      LoadedMime root(Within(MimeMessage2::kMaxDepth, inner));
      ASSERT_TRUE(root.hasUndivided());
      EXPECT_NE(Written(root, writing).find(inner), std::string::npos) << word << " " << encoding;
      std::string detail;
      EXPECT_EQ(WhatChanges(root, writing, &detail), "") << word << " " << encoding;
    }
  }
}

}  // namespace
