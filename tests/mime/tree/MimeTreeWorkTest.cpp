#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "base/LogNull.h"
#include "mime/tree/MimeInput.h"
#include "mime/tree/MimeMessage2.h"

namespace {

using mail::MimeMessage2;

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

// A multipart within a multipart within …, each with its delimiter and, if closed, its end.
std::string Nested(std::size_t depth, const std::function<std::string(std::size_t)>& boundary,
                   bool closed, std::string_view end = "\r\n") {
  std::string text = Times(depth, [&](std::size_t n) {
    return MultipartHeader(boundary(n), end) + "--" + boundary(n) + std::string(end);
  });
  text.append("Content-Type: text/plain").append(end).append(end).append("innermost").append(end);
  for (std::size_t n = depth; closed && n-- > 0;)
    text.append("--" + boundary(n) + "--").append(end);
  return text;
}

std::string Repeated(std::size_t count, std::string_view piece) {
  return Times(count, [&](std::size_t) { return std::string(piece); });
}

// Hundreds of boundaries that a text of the filler alone nearly has, at each of its runs of dashes.
std::string NearlyEverywhere(const std::function<std::string(std::size_t)>& boundary,
                             std::string_view filler, std::size_t count = 700'000) {
  return Nested(990, boundary, false, "\n") + Repeated(count, filler);
}

std::string Utf16(std::string_view ascii) {
  std::string text = "\xFF\xFE";
  for (const char c : ascii) text.append({c, '\0'});
  return text;
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
  const std::string part = "--b\r\n\r\nabcdef\r\n";
  return {
      {"deep", Nested(100'000, Numbered, true), 1001, 1000},
      {"deep without ends", Nested(100'000, Numbered, false), 1001, 1000},
      {"deep with bare LF", Nested(100'000, Numbered, true, "\n"), 1001, 1000},
      {"deep, boundaries that begin alike",
       Nested(
           3'000, [](std::size_t n) { return std::string(300, 'x') + std::to_string(n) + "x"; },
           true),
       1001, 1000},
      {"deep, each boundary a prefix of the next",
       Nested(
           1'000, [](std::size_t n) { return std::string(n + 1, 'x'); }, true),
       1001, 1000},
      {"deep, dashes alone tell boundaries apart",
       Nested(
           900, [](std::size_t n) { return std::string(900 - n, '-') + "x"; }, true),
       901, 900},
      {"deep, dashes within boundaries",
       Nested(
           1'000, [](std::size_t n) { return "a--b" + std::to_string(n); }, false) +
           Times(100'000, [](std::size_t) { return "--a--b--\r\n"; }),
       1001, 1000},
      {"deep, nothing but dashes in boundaries",
       Nested(
           900, [](std::size_t n) { return std::string(900 - n, '-'); }, false) +
           Times(100'000, [](std::size_t n) { return std::string(2 + n % 9, '-') + "\n"; }) +
           std::string(950, '-'),
       901, 900},
      {"deep, dashes alone tell boundaries apart, in one line",
       NearlyEverywhere([](std::size_t n) { return Dashes(1'000 - n) + "x"; }, "--x"), 991, 990},
      {"deep, dashes alone tell boundaries apart, in lines",
       NearlyEverywhere([](std::size_t n) { return Dashes(1'000 - n) + "x"; }, "--x\n"), 991, 990},
      {"deep, boundaries differ in one short piece",
       NearlyEverywhere(
           [](std::size_t n) {
             std::string boundary = "?--?--?--LL";
             for (const std::size_t at : {0, 3, 6}) {
               boundary[at] = static_cast<char>('a' + n % 26);
               n /= 26;
             }
             return boundary;
           },
           "--LL"),
       991, 990},
      {"deep, boundaries of more and more pieces",
       NearlyEverywhere([](std::size_t n) { return Repeated(990 - n, "a--") + "z"; }, "--a"), 991,
       990},
      {"deep, dashes at both ends of several pieces",
       NearlyEverywhere(
           [](std::size_t n) { return Dashes(30 - n % 31) + "a--b" + Dashes(40 - n / 31); },
           "--a--b--a"),
       991, 990},
      {"deep, dashes behind one piece",
       NearlyEverywhere([](std::size_t n) { return "x" + Dashes(1'000 - n); }, "--x"), 991, 990},
      {"many parts, deep down, whose ends are nothing but dashes",
       Nested(20, Numbered, false, "\n") +
           Times(5'000,
                 [](std::size_t) {
                   return "--=_19_\n" + MultipartHeader(Dashes(13), "\n") + Dashes(15) +
                          "\nabcdef\n";
                 }) +
           "--=_19_\n\n" + Repeated(100'000, Dashes(16) + "\n"),
       10'000, 21},
      {"many parts", MultipartHeader("b") + Times(1'000'000, [&](std::size_t) { return part; }),
       1'000'001, 1},
      {"many parts, deep down",
       Nested(20, Numbered, false) +
           Times(100'000, [](std::size_t) { return "--=_19_\r\n\r\nabcdef\r\n"; }),
       100'021, 20},
      {"one byte of boundary",
       MultipartHeader("x") + Times(50'000, [](std::size_t) { return "--x\r\na: bc\r\n"; }), 50'001,
       1},
      {"long boundary",
       MultipartHeader(std::string(10'000, 'q')) + Times(300,
                                                         [](std::size_t n) {
                                                           return "--" + std::string(10'000, 'q') +
                                                                  (n % 2 == 0 ? "\r\nabcdef\r\n"
                                                                              : "q\r\n");
                                                         }),
       151, 1},
      {"nothing but near delimiters",
       Nested(900, Numbered, false) + Times(200'000, [](std::size_t) { return "--=_\r\n"; }), 901,
       900},
      {"nothing but dashes", MultipartHeader("------x") + std::string(2'000'000, '-'), 1, 0},
      {"nothing but dashes, in the boundary too",
       MultipartHeader(Dashes(10'000)) + std::string(2'000'000, '-'), 1, 0},
      {"padding without a line end",
       Nested(10, Numbered, false) + Repeated(2'000, "--=_9_" + std::string(1'000, ' ')), 11, 10},
      {"many parts, deep down, in front of one padded delimiter",
       Nested(20, Numbered, false, "\n") +
           Repeated(20'000, "--=_19_\n" + MultipartHeader("q", "\n") + "abc\n") + "--=_19_\n\n--q" +
           std::string(1'000'000, '\t') + "\n",
       20'000, 20},
      {"CR alone", MultipartHeader("b") + Times(100'000, [](std::size_t) { return "--b\r\r\r"; }),
       1, 0},
      {"CR alone from the start", Nested(1'000, Numbered, true, "\r") + std::string(200'000, '\r'),
       1001, 1000},
      {"mixed line ends",
       Nested(1'000, Numbered, true, "\r\n") +
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
      {"UTF-16", Utf16(Nested(200, Numbered, true) + std::string(1'000'000, '-')), 201, 200},
      {"lines that are no header", Times(300'000, [](std::size_t) { return "\r\r\r\r\n"; }), 1, 0},
  };
}

TEST(MimeTreeWork, IsLinearOnHostileMail) {
  for (const Case& hostile : Cases()) {
    for (const bool repair : {false, true}) {
      MimeMessage2 root;
      ::mail::LogNull log;
      std::uint64_t steps = 0;
      ASSERT_TRUE(
          mail::loadMimeInput(root, hostile.text, log, {.bRepair = repair, .pSteps = &steps}));
      const Shape shape = ShapeOf(root);
      EXPECT_LT(steps, kMostStepsPerByte * hostile.text.size()) << hostile.name << " " << repair;
      EXPECT_GE(steps, hostile.text.size() / 2) << hostile.name << ": the counter counts";
      EXPECT_GE(shape.entities, hostile.entities) << hostile.name << " " << repair;
      EXPECT_EQ(shape.depth, hostile.depth) << hostile.name << " " << repair;
    }
  }
}

TEST(MimeTreeWork, EntitiesBelowTheDeepestLevelStayUndividedAndAreWrittenAsTheyCame) {
  for (const std::size_t depth : {MimeMessage2::kMaxDepth, MimeMessage2::kMaxDepth + 1}) {
    const std::string text = Nested(depth, Numbered, true);
    MimeMessage2 root;
    ::mail::LogNull log;
    ASSERT_TRUE(root.loadMimeComplete(text, {}, log));
    EXPECT_EQ(root.hasUndivided(), depth > MimeMessage2::kMaxDepth);
    EXPECT_EQ(ShapeOf(root).depth, MimeMessage2::kMaxDepth);
    ::mail::DataBuffer written;
    root.getMimeBytes(written, log);
    MimeMessage2 again;
    ASSERT_TRUE(again.loadMimeComplete(written.view(), {}, log));
    EXPECT_EQ(ShapeOf(again).depth, MimeMessage2::kMaxDepth);
    EXPECT_EQ(again.hasUndivided(), root.hasUndivided());
  }
}

TEST(MimeTreeWork, ALoneHeaderEndsAtItsLimit) {
  MimeMessage2 root;
  ::mail::LogNull log;
  const std::string text = "a: " + std::string(MimeMessage2::kMaxLoneHeader - 3, 'x');
  EXPECT_TRUE(root.loadMimeComplete(text, {}, log));
  EXPECT_EQ(root.header().getCount(), 1U);
  EXPECT_FALSE(root.loadMimeComplete(text + "x", {}, log));
  EXPECT_EQ(root.header().getCount(), 0U);
}

}  // namespace
