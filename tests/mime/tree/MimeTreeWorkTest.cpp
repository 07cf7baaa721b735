#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "mime/tree/MimeInput.h"
#include "mime/tree/MimeMessage2.h"
#include "tests/mime/MimeSupport.h"

namespace {

using mail::MimeMessage2;
using test_support::Repeated;
using test_support::silent;
using test_support::Utf16;

constexpr std::size_t kMostStepsPerByte = 200;

std::string Times(std::size_t count, const std::function<std::string(std::size_t)>& piece) {
  std::string text;
  for (std::size_t n = 0; n < count; ++n) text += piece(n);
  return text;
}

std::string MultipartHeader(const std::string& boundary, std::string_view end = "\r\n") {
  std::string header = "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"";
  return header.append(end).append(end);
}

enum Ends : bool { kOpen, kClosed };

// A multipart within a multipart within …, each with its delimiter and, if closed, its end.
std::string Nested(std::size_t depth, Ends ends,
                   const std::function<std::string(std::size_t)>& boundary,
                   std::string_view end = "\r\n") {
  std::string text = Times(depth, [&](std::size_t n) {
    return MultipartHeader(boundary(n), end) + "--" + boundary(n) + std::string(end);
  });
  text.append("Content-Type: text/plain").append(end).append(end).append("innermost").append(end);
  for (std::size_t n = depth; ends == kClosed && n-- > 0;)
    text.append("--" + boundary(n) + "--").append(end);
  return text;
}

// Hundreds of boundaries that a text of the filler alone nearly has, at each of its runs of dashes.
std::string NearlyEverywhere(std::string_view filler,
                             const std::function<std::string(std::size_t)>& boundary) {
  return Nested(990, kOpen, boundary, "\n") + Repeated(700'000, filler);
}

std::string Dashes(std::size_t n) { return std::string(n, '-'); }

std::string Numbered(std::size_t n) { return "=_" + std::to_string(n) + "_"; }

struct Shape {
  std::size_t entities = 0;
  std::size_t depth = 0;
};

Shape ShapeOf(const MimeMessage2& root) {
  Shape shape;
  std::vector<std::pair<const MimeMessage2*, std::size_t>> open = {{&root, 0}};
  while (!open.empty()) {
    const auto [entity, depth] = open.back();
    open.pop_back();
    ++shape.entities;
    shape.depth = std::max(shape.depth, depth);
    for (std::size_t n = 0; n < entity->partCount(); ++n)
      open.push_back({entity->part(n), depth + 1});
  }
  return shape;
}

struct Case {
  const char* name;
  std::string text;
  std::size_t entities;  // at least
  std::size_t depth;     // exactly
};

std::vector<Case> Cases() {
  return {
      {"deep", Nested(100'000, kClosed, Numbered), 1001, 1000},
      {"deep without ends", Nested(100'000, kOpen, Numbered), 1001, 1000},
      {"deep with bare LF", Nested(100'000, kClosed, Numbered, "\n"), 1001, 1000},
      {"deep, boundaries that begin alike",
       Nested(3'000, kClosed,
              [](std::size_t n) { return std::string(300, 'x') + std::to_string(n) + "x"; }),
       1001, 1000},
      {"deep, each boundary a prefix of the next",
       Nested(1'000, kClosed, [](std::size_t n) { return std::string(n + 1, 'x'); }), 1001, 1000},
      {"deep, dashes alone tell boundaries apart",
       Nested(900, kClosed, [](std::size_t n) { return std::string(900 - n, '-') + "x"; }), 901,
       900},
      {"deep, dashes within boundaries",
       Nested(1'000, kOpen, [](std::size_t n) { return "a--b" + std::to_string(n); }) +
           Repeated(100'000, "--a--b--\r\n"),
       1001, 1000},
      {"deep, nothing but dashes in boundaries",
       Nested(900, kOpen, [](std::size_t n) { return std::string(900 - n, '-'); }) +
           Times(100'000, [](std::size_t n) { return std::string(2 + n % 9, '-') + "\n"; }) +
           std::string(950, '-'),
       901, 900},
      {"deep, dashes alone tell boundaries apart, in one line",
       NearlyEverywhere("--x", [](std::size_t n) { return Dashes(1'000 - n) + "x"; }), 991, 990},
      {"deep, dashes alone tell boundaries apart, in lines",
       NearlyEverywhere("--x\n", [](std::size_t n) { return Dashes(1'000 - n) + "x"; }), 991, 990},
      {"deep, boundaries differ in one short piece",
       NearlyEverywhere("--LL",
                        [](std::size_t n) {
                          std::string boundary = "?--?--?--LL";
                          for (const std::size_t at : {0, 3, 6}) {
                            boundary[at] = static_cast<char>('a' + n % 26);
                            n /= 26;
                          }
                          return boundary;
                        }),
       991, 990},
      {"deep, boundaries of more and more pieces",
       NearlyEverywhere("--a", [](std::size_t n) { return Repeated(990 - n, "a--") + "z"; }), 991,
       990},
      {"deep, dashes at both ends of several pieces",
       NearlyEverywhere(
           "--a--b--a",
           [](std::size_t n) { return Dashes(30 - n % 31) + "a--b" + Dashes(40 - n / 31); }),
       991, 990},
      {"deep, dashes behind one piece",
       NearlyEverywhere("--x", [](std::size_t n) { return "x" + Dashes(1'000 - n); }), 991, 990},
      {"many parts, deep down, whose ends are nothing but dashes",
       Nested(20, kOpen, Numbered, "\n") +
           Repeated(5'000,
                    "--=_19_\n" + MultipartHeader(Dashes(13), "\n") + Dashes(15) + "\nabcdef\n") +
           "--=_19_\n\n" + Repeated(100'000, Dashes(16) + "\n"),
       10'000, 21},
      {"many parts", MultipartHeader("b") + Repeated(1'000'000, "--b\r\n\r\nabcdef\r\n"), 1'000'001,
       1},
      {"many parts, deep down",
       Nested(20, kOpen, Numbered) + Repeated(100'000, "--=_19_\r\n\r\nabcdef\r\n"), 100'021, 20},
      {"one byte of boundary", MultipartHeader("x") + Repeated(50'000, "--x\r\na: bc\r\n"), 50'001,
       1},
      {"long boundary",
       MultipartHeader(std::string(10'000, 'q')) + Times(300,
                                                         [](std::size_t n) {
                                                           return "--" + std::string(10'000, 'q') +
                                                                  (n % 2 == 0 ? "\r\nabcdef\r\n"
                                                                              : "q\r\n");
                                                         }),
       151, 1},
      {"nothing but near delimiters", Nested(900, kOpen, Numbered) + Repeated(200'000, "--=_\r\n"),
       901, 900},
      {"nothing but dashes", MultipartHeader("------x") + std::string(2'000'000, '-'), 1, 0},
      {"nothing but dashes, in the boundary too",
       MultipartHeader(Dashes(10'000)) + std::string(2'000'000, '-'), 1, 0},
      {"padding without a line end",
       Nested(10, kOpen, Numbered) + Repeated(2'000, "--=_9_" + std::string(1'000, ' ')), 11, 10},
      {"many parts, deep down, in front of one padded delimiter",
       Nested(20, kOpen, Numbered, "\n") +
           Repeated(20'000, "--=_19_\n" + MultipartHeader("q", "\n") + "abc\n") + "--=_19_\n\n--q" +
           std::string(1'000'000, '\t') + "\n",
       20'000, 20},
      {"CR alone", MultipartHeader("b") + Repeated(100'000, "--b\r\r\r"), 1, 0},
      {"CR alone from the start",
       Nested(1'000, kClosed, Numbered, "\r") + std::string(200'000, '\r'), 1001, 1000},
      {"mixed line ends",
       Nested(1'000, kClosed, Numbered, "\r\n") +
           Times(300'000,
                 [](std::size_t n) {
                   return std::string("\r\n\n\r\r\r\n").substr(n % 3, 1 + n % 4);
                 }),
       1001, 1000},
      {"NULs", MultipartHeader("b") + "--b\r\n" + std::string(2'000'000, '\0'), 2, 1},
      {"a header line of 50 MB", "a: " + std::string(50'000'000, 'x') + "\r\n\r\ntext", 1, 0},
      {"a million fields", Repeated(1'000'000, "a: b\r\n") + "\r\ntext", 1, 0},
      {"names of nothing but controls",
       Times(300'000,
             [](std::size_t n) {
               return std::string(1 + n % 9, static_cast<char>(n % 32)) + ": b\r\n";
             }) +
           "\r\ntext",
       1, 0},
      {"encoded words cut anywhere",
       Times(100'000,
             [](std::size_t n) {
               const std::string words = "=?utf-8?B?w7zDvA==?= =?iso-2022-jp?Q?=1B$B=FC?=";
               return "a: " + words.substr(0, n % words.size()) + "\r\n";
             }) +
           "\r\ntext",
       1, 0},
      {"base64 with a stranger behind each byte",
       "Content-Transfer-Encoding: base64\r\n\r\n" + Repeated(1'000'000, "A!"), 1, 0},
      {"an mbox", Repeated(100'000, "From a@b.example Mon\r\nSubject: x\r\n\r\ntext\r\n"), 1, 0},
      {"UTF-16", "\xFF\xFE" + Utf16(Nested(200, kClosed, Numbered) + std::string(1'000'000, '-')),
       201, 200},
      {"lines that are no header", Repeated(300'000, "\r\r\r\r\n"), 1, 0},
  };
}

TEST(MimeTreeWork, IsLinearOnHostileMail) {
  for (const Case& hostile : Cases()) {
    for (const bool repair : {false, true}) {
      MimeMessage2 root;
      std::uint64_t steps = 0;
      ASSERT_TRUE(
          mail::loadMimeInput(root, hostile.text, silent, {.bRepair = repair, .pSteps = &steps}));
      const Shape shape = ShapeOf(root);
      EXPECT_LT(steps, kMostStepsPerByte * hostile.text.size()) << hostile.name << " " << repair;
      EXPECT_GE(steps, hostile.text.size() / 2) << hostile.name << ": the counter counts";
      EXPECT_GE(shape.entities, hostile.entities) << hostile.name << " " << repair;
      EXPECT_EQ(shape.depth, hostile.depth) << hostile.name << " " << repair;
    }
  }
}

TEST(MimeTreeWork, ALoneHeaderEndsAtItsLimit) {
  MimeMessage2 root;
  const std::string text = "a: " + std::string(MimeMessage2::kMaxLoneHeader - 3, 'x');
  EXPECT_TRUE(root.loadMimeComplete(text, {}, silent));
  EXPECT_EQ(root.header().getCount(), 1U);
  EXPECT_FALSE(root.loadMimeComplete(text + "x", {}, silent));
  EXPECT_EQ(root.header().getCount(), 0U);
}

}  // namespace
