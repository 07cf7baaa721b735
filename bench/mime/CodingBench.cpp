// Transfer encodings and encoded words beside GMime, and base64 beside OpenSSL too: the same bytes,
// results compared before the clock starts, the best of several runs. Encoders lay out their lines
// by rules of their own, so their results are compared by what both sides decode from them.

#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmime/gmime.h>
#include <openssl/evp.h>

#include "base/LogNull.h"
#include "bench/Timing.h"
#include "mime/encoding/ContentCoding.h"

namespace {

using Run = std::function<std::size_t()>;  // returns the size of its result

constexpr std::size_t kBody = 4 * 1024 * 1024;
constexpr std::size_t kSmall = 2000;

std::string RandomBytes(std::size_t size) {
  std::mt19937 random(5);
  std::string bytes(size, '\0');
  for (char& ch : bytes) ch = static_cast<char>(random());
  return bytes;
}

std::string Text(std::string_view line, std::size_t size) {
  std::string text;
  while (text.size() < size) text += line;
  return text;
}

const std::string kEnglish =
    "The quick brown fox jumps over the lazy dog, and so on = and on,\r\nline after line.\r\n";
const std::string kGerman =
    "Grüße aus München; die Übersicht für das nächste Quartal liegt bei. Können Sie bitte prüfen, "
    "ob alle Zahlen stimmen?\r\n";
const std::string kRussian = "Добрый день, коллеги! Высылаю отчёт за третий квартал.\r\n";

// --- Peers. ---

using Step = std::size_t (*)(const unsigned char*, std::size_t, unsigned char*, int*, guint32*);

std::size_t RunGMime(Step step, Step close, std::string_view in, std::string& out) {
  int state = close == g_mime_encoding_quoted_encode_close ? -1 : 0;
  guint32 save = 0;
  auto* at = reinterpret_cast<unsigned char*>(out.data());
  const auto* from = reinterpret_cast<const unsigned char*>(in.data());
  const std::size_t size = step(from, in.size(), at, &state, &save);
  if (close == nullptr) return size;
  return size + close(nullptr, 0, at + size, &state, &save);
}

std::size_t RunOpenSslDecode(std::string_view in, std::string& out) {
  const std::unique_ptr<EVP_ENCODE_CTX, decltype(&EVP_ENCODE_CTX_free)> context(
      EVP_ENCODE_CTX_new(), EVP_ENCODE_CTX_free);
  EVP_DecodeInit(context.get());
  auto* at = reinterpret_cast<unsigned char*>(out.data());
  int size = 0, last = 0;
  EVP_DecodeUpdate(context.get(), at, &size, reinterpret_cast<const unsigned char*>(in.data()),
                   static_cast<int>(in.size()));
  EVP_DecodeFinal(context.get(), at + size, &last);
  return static_cast<std::size_t>(size + last);
}

std::size_t RunOpenSslEncode(std::string_view in, std::string& out) {
  const std::unique_ptr<EVP_ENCODE_CTX, decltype(&EVP_ENCODE_CTX_free)> context(
      EVP_ENCODE_CTX_new(), EVP_ENCODE_CTX_free);
  EVP_EncodeInit(context.get());
  auto* at = reinterpret_cast<unsigned char*>(out.data());
  int size = 0, last = 0;
  EVP_EncodeUpdate(context.get(), at, &size, reinterpret_cast<const unsigned char*>(in.data()),
                   static_cast<int>(in.size()));
  EVP_EncodeFinal(context.get(), at + size, &last);
  return static_cast<std::size_t>(size + last);
}

// --- Ours. ---

enum class Task { kBase64Decode, kBase64Encode, kQuotedDecode, kQuotedEncode };

std::size_t RunOurs(Task task, std::string_view in, mail::DataBuffer& out) {
  const mail::ContentCoding coding;
  out.weakClear();
  switch (task) {
    case Task::kBase64Decode:
      (void)coding.decodeBase64(in, out);
      break;
    case Task::kBase64Encode:
      (void)coding.encodeBase64(in, out);
      break;
    case Task::kQuotedDecode:
      (void)coding.decodeQuotedPrintable(in, out);
      break;
    case Task::kQuotedEncode:
      (void)coding.encodeQuotedPrintable(in, out);
      break;
  }
  return out.getSize();
}

std::string Ours(Task task, std::string_view in) {
  mail::DataBuffer out;
  RunOurs(task, in, out);
  return std::string(out.view());
}

// --- The table. ---

bool g_agrees = true;

void Print(const std::string& name, std::size_t bytes, bool agrees, double aim, const Run& ours,
           const Run& gmime, const Run& openSsl = nullptr) {
  const auto rate = [&](const Run& run) {
    return static_cast<double>(bytes) * 1000 / bench::BestTime(run);
  };
  const double rateOurs = rate(ours), rateGMime = rate(gmime);
  std::printf("%-34s %8zu %9.0f %9.0f", name.c_str(), bytes, rateOurs, rateGMime);
  openSsl != nullptr ? std::printf(" %9.0f", rate(openSsl)) : std::printf(" %9s", "-");
  std::printf(" %8.1f %s\n", rateOurs / rateGMime,
              !agrees          ? "RESULTS DIFFER"
              : rateOurs < aim ? "below the aim"
                               : "");
  g_agrees = g_agrees && agrees;
}

// aim: MB/s. The text decodes to the same bytes on every side.
void BenchBase64(const std::string& name, const std::string& text, double aim, bool openSslReads) {
  mail::DataBuffer out;
  std::string buffer(text.size() + 64, '\0');
  const std::string expected = Ours(Task::kBase64Decode, text);
  const auto agrees = [&](std::size_t size) { return buffer.substr(0, size) == expected; };
  const Run gmime = [&] {
    return RunGMime(g_mime_encoding_base64_decode_step, nullptr, text, buffer);
  };
  const Run openSsl = [&] { return RunOpenSslDecode(text, buffer); };
  const bool same = agrees(gmime()) && (!openSslReads || agrees(openSsl()));
  Print(
      "base64 decode, " + name, text.size(), same, aim,
      [&] { return RunOurs(Task::kBase64Decode, text, out); }, gmime,
      openSslReads ? openSsl : nullptr);
}

void BenchBase64Encode(const std::string& bytes, double aim) {
  mail::DataBuffer out;
  std::string buffer(bytes.size() * 2 + 64, '\0');
  const Run gmime = [&] {
    return RunGMime(g_mime_encoding_base64_encode_step, g_mime_encoding_base64_encode_close, bytes,
                    buffer);
  };
  const Run openSsl = [&] { return RunOpenSslEncode(bytes, buffer); };
  const std::string ours = Ours(Task::kBase64Encode, bytes);
  bool same = buffer.substr(0, RunOpenSslDecode(ours, buffer)) == bytes;
  same = Ours(Task::kBase64Decode, buffer.substr(0, gmime())) == bytes && same;
  same = Ours(Task::kBase64Decode, buffer.substr(0, openSsl())) == bytes && same;
  Print(
      "base64 encode", bytes.size(), same, aim,
      [&] { return RunOurs(Task::kBase64Encode, bytes, out); }, gmime, openSsl);
}

void BenchQuoted(const std::string& name, const std::string& bytes) {
  mail::DataBuffer out;
  std::string buffer(bytes.size() * 4 + 64, '\0');
  const std::string text = Ours(Task::kQuotedEncode, bytes);
  const Run gmimeDecode = [&] {
    return RunGMime(g_mime_encoding_quoted_decode_step, nullptr, text, buffer);
  };
  const bool decodes =
      buffer.substr(0, gmimeDecode()) == bytes && Ours(Task::kQuotedDecode, text) == bytes;
  Print(
      "quoted-printable decode, " + name, text.size(), decodes, 0,
      [&] { return RunOurs(Task::kQuotedDecode, text, out); }, gmimeDecode);
  const Run gmimeEncode = [&] {
    return RunGMime(g_mime_encoding_quoted_encode_step, g_mime_encoding_quoted_encode_close, bytes,
                    buffer);
  };
  const bool encodes = Ours(Task::kQuotedDecode, buffer.substr(0, gmimeEncode())) == bytes;
  Print(
      "quoted-printable encode, " + name, bytes.size(), encodes, 0,
      [&] { return RunOurs(Task::kQuotedEncode, bytes, out); }, gmimeEncode);
}

void BenchWords(const std::string& name, const std::string& value) {
  mail::LogNull log;
  mail::StringBuffer text;
  const Run ours = [&] {
    text.setString(value);
    (void)mail::ContentCoding::QB_DecodeToUtf8(text, log);
    return std::size_t{text.getSize()};
  };
  std::string result;
  const Run gmime = [&] {
    char* const decoded = g_mime_utils_header_decode_text(nullptr, value.c_str());
    result = decoded;
    g_free(decoded);
    return result.size();
  };
  ours();
  gmime();
  Print("encoded words, " + name, value.size(), text.view() == result, 0, ours, gmime);
}

std::string Words(char encoding, std::string_view value, std::string_view charset) {
  mail::LogNull log;
  mail::StringBuffer out;
  const mail::ContentCoding coding;
  const auto folding = mail::ContentCoding::Folding::kSeveralWords;
  (void)(encoding == 'Q' ? coding.encodeQWord(value, charset, folding, out, log)
                         : coding.encodeBWord(value, charset, folding, out, log));
  std::string words(out.view());
  std::erase(words, '\r');
  std::erase(words, '\n');
  return words;
}

}  // namespace

int main() {
  g_mime_init();
  std::printf("%-34s %8s %9s %9s %9s %8s\n", "", "bytes", "MB/s", "GMime", "OpenSSL", "/GMime");
  const std::string bytes = RandomBytes(kBody);
  const std::string lines = Ours(Task::kBase64Encode, bytes);
  std::string oneLine = lines, bare = lines, junk = lines;
  std::erase(bare, '\r');
  std::erase(oneLine, '\r');
  std::erase(oneLine, '\n');
  for (std::size_t n = 0; n + 76 < junk.size(); n += 200) junk[n] = '*';
  std::string sparse;
  for (std::size_t n = 0; n < oneLine.size() / 16 * 4; ++n)
    sparse.append(1, oneLine[n]).append(".");
  BenchBase64("lines of 76", lines, 2000, true);
  BenchBase64("lines of 76, LF", bare, 2000, true);
  BenchBase64("one line", oneLine, 2000, true);
  BenchBase64("small", lines.substr(0, kSmall / 78 * 78), 2000, true);
  BenchBase64("junk every 200", junk, 2000, false);
  BenchBase64("junk in every other", sparse, 0, false);
  BenchBase64Encode(bytes, 2000);
  BenchBase64Encode(bytes.substr(0, kSmall), 2000);
  BenchQuoted("English", Text(kEnglish, kBody));
  BenchQuoted("German", Text(kGerman, kBody));
  BenchQuoted("Russian", Text(kRussian, kBody));
  BenchQuoted("small", Text(kGerman, kSmall));
  const std::string subject = "Re: Übersicht für München, Grüße und mehr";
  BenchWords("Q utf-8", Words('Q', subject, "utf-8"));
  BenchWords("B utf-8", Words('B', subject, "utf-8"));
  BenchWords("Q iso-8859-1", "=?iso-8859-1?Q?=DCbersicht_f=FCr?= =?iso-8859-1?Q?_M=FCnchen?= now");
  BenchWords("B iso-2022-jp", "=?iso-2022-jp?B?GyRCRnxLXDhsGyhC?= and so on");
  BenchWords("long, Q utf-8", Words('Q', Text("Добрый день, ", 20'000), "utf-8"));
  g_mime_shutdown();
  return g_agrees ? 0 : 1;
}
