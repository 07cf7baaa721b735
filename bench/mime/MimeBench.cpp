// Messages a second: loading a tree with every body decoded to UTF-8, and writing it out again,
// beside GMime on the same bytes. What both read is compared before anything is timed. The first
// rows tell what one huge mail takes in memory, as a multiple of its size, and hold it to its aim.

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <gmime/gmime.h>

#include "base/LogNull.h"
#include "bench/Timing.h"
#include "charset/LibraryNarrow.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailWriter.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/tree/MimeMessage2.h"

namespace {

bool g_agrees = true;

using Mails = std::vector<std::string>;

constexpr std::string_view kEnglish =
    "Please find below what we talked about on Tuesday, with the figures of the third quarter.\r\n";
constexpr std::string_view kGerman =
    "Gr\xC3\xBC\xC3\x9F"
    "e aus M\xC3\xBCnchen, die \xC3\x9C"
    "bersicht f\xC3\xBCr das n\xC3\xA4"
    "chste Jahr folgt sp\xC3\xA4ter.\r\n";
constexpr std::string_view kGermanLatin1 =
    "Gr\xFC\xDF"
    "e aus M\xFCnchen, die \xDC"
    "bersicht f\xFCr das n\xE4"
    "chste Jahr folgt.\r\n";

// --- The mails. ---

constexpr std::string_view kRussianKoi8 =
    "\xEE\xC9\xD6\xC5 \xD4\xCF \xCF \xDE\xC5\xCD \xCD\xD9 \xC7\xCF\xD7\xCF\xD2\xC9\xCC\xC9 "
    "\xD7\xCF "
    "\xD7\xD4\xCF\xD2\xCE\xC9\xCB \xD7\xCD\xC5\xD3\xD4\xC5 \xD3 \xC3\xC9\xC6\xD2\xC1\xCD\xC9\r\n";

std::string Repeat(std::string_view line, int count) {
  std::string text;
  text.reserve(line.size() * static_cast<std::size_t>(count));
  for (int n = 0; n < count; ++n) text += line;
  return text;
}

std::string Base64(const std::string& bytes) {
  mail::StringBuffer out;
  (void)mail::ContentCoding().encodeBase64(bytes, out);
  return std::string(out.view());
}

std::string Quoted(const std::string& bytes) {
  mail::StringBuffer out;
  (void)mail::ContentCoding().encodeQuotedPrintable(bytes, out);
  return std::string(out.view());
}

std::string Header(int number) {
  return fmt::format(
      "Return-Path: <sender{0}@example.com>\r\n"
      "Received: from mx{0}.example.com (mx{0}.example.com [192.0.2.{1}])\r\n"
      "\tby mail.example.org with ESMTPS id {0}abc for <reader@example.org>;\r\n"
      "\tTue, 12 Mar 2024 10:{2:02}:00 +0100\r\n"
      "Message-ID: <{0}.2024@mx.example.com>\r\n"
      "Date: Tue, 12 Mar 2024 10:{2:02}:00 +0100\r\n"
      "From: \"Sender, Number {0}\" <sender{0}@example.com>\r\n"
      "To: Reader <reader@example.org>, other@example.org\r\n"
      "Subject: {3}\r\n"
      "MIME-Version: 1.0\r\n"
      "X-Mailer: Mailer 7.{1}\r\n",
      number, number % 250, number % 60,
      number % 3 == 0 ? "=?iso-8859-1?Q?=DCbersicht_f=FCr_M=E4rz?=" : "Figures of the quarter");
}

std::string Part(std::string_view type, std::string_view encoding, const std::string& body) {
  return fmt::format("Content-Type: {}\r\nContent-Transfer-Encoding: {}\r\n\r\n{}", type, encoding,
                     body);
}

std::string Multipart(std::string_view type, const std::string& boundary, const Mails& parts) {
  std::string mail = fmt::format("Content-Type: {}; boundary=\"{}\"\r\n\r\n", type, boundary);
  for (const std::string& part : parts) mail += "--" + boundary + "\r\n" + part + "\r\n";
  return mail + "--" + boundary + "--\r\n";
}

Mails SmallMails() {
  Mails mails;
  for (int n = 0; n < 5000; ++n) {
    switch (n % 4) {
      case 0:
        mails.push_back(Header(n) +
                        Part("text/plain; charset=us-ascii", "7bit", Repeat(kEnglish, 12)));
        break;
      case 1:
        mails.push_back(Header(n) +
                        Part("text/plain; charset=iso-8859-1", "8bit", Repeat(kGermanLatin1, 12)));
        break;
      case 2:
        mails.push_back(Header(n) + Part("text/plain; charset=utf-8", "quoted-printable",
                                         Quoted(Repeat(kGerman, 12))));
        break;
      default:
        mails.push_back(
            Header(n) +
            Multipart(
                "multipart/alternative", fmt::format("----=_Part_{}", n),
                {Part("text/plain; charset=utf-8", "quoted-printable", Quoted(Repeat(kGerman, 6))),
                 Part("text/html; charset=utf-8", "base64", Base64("<p>" + Repeat(kGerman, 10)))}));
    }
  }
  return mails;
}

std::string BigMail(int number, std::size_t bytes) {
  std::string file(bytes, '\0');
  std::uint32_t state = 12345u + static_cast<std::uint32_t>(number);
  for (char& ch : file) {
    state = state * 1664525 + 1013904223;
    ch = static_cast<char>(state >> 24);
  }
  return Header(number) +
         Multipart("multipart/mixed", "=_next",
                   {Part("text/plain; charset=utf-8", "8bit", Repeat(kGerman, 20)),
                    Part("application/pdf; name=\"a.pdf\"", "base64", Base64(file))});
}

Mails BigMails() {
  Mails mails;
  for (int n = 0; n < 4; ++n) mails.push_back(BigMail(n, 5'000'000));
  return mails;
}

Mails NestedMails() {
  Mails mails;
  for (int n = 0; n < 100; ++n) {
    std::string inner = Part("text/plain; charset=utf-8", "8bit", Repeat(kGerman, 3));
    for (int level = 0; level < 60; ++level) {
      inner =
          Multipart("multipart/mixed", fmt::format("=_level_{}_{}", level, n),
                    {inner, Part("text/plain; charset=us-ascii", "7bit", std::string(kEnglish))});
    }
    mails.push_back(Header(n) + inner);
  }
  return mails;
}

Mails HeadersOnly() {
  Mails mails;
  for (int n = 0; n < 5000; ++n) {
    std::string mail = Header(n);
    for (int field = 0; field < 30; ++field) {
      mail += fmt::format("X-Field-{}: a value of some length with number {}\r\n", field, n);
    }
    mails.push_back(mail + "\r\n");
  }
  return mails;
}

// --- What is read, to compare and to keep the compiler honest. ---

struct Read {
  std::size_t leaves = 0;
  std::size_t bytes = 0;
  std::string text;  // all bodies and the subject, when kept
  bool keep = false;

  void Add(std::string_view body) {
    ++leaves;
    bytes += body.size();
    if (keep) text.append(body).append("|");
  }
};

void Walk(const mail::MimeMessage2& root, Read& read) {
  std::vector<const mail::MimeMessage2*> open = {&root};
  while (!open.empty()) {
    const mail::MimeMessage2* entity = open.back();
    open.pop_back();
    if (entity->partCount() == 0) read.Add(entity->body().view());
    for (std::size_t n = entity->partCount(); n-- > 0;) open.push_back(entity->part(n));
  }
}

void LoadOurs(std::string_view mail, Read& read) {
  mail::LogNull log;
  mail::MimeMessage2 message;
  (void)message.loadMimeComplete(mail, mail::MimeMessage2::LoadOptions{}, log);
  mail::StringBuffer subject;
  (void)message.header().getField("subject", subject);
  read.Add(subject.view());
  Walk(message, read);
}

// GMime reads bodies from the stream when they are asked for, so the bytes, and the array that
// tells where they are, must outlive the message.
class GMimeMail {
 public:
  explicit GMimeMail(std::string_view mail)
      : m_bytes{const_cast<guint8*>(reinterpret_cast<const guint8*>(mail.data())),
                static_cast<guint>(mail.size())} {
    GMimeStream* stream = g_mime_stream_mem_new_with_byte_array(&m_bytes);
    g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(stream), FALSE);
    GMimeParser* parser = g_mime_parser_new_with_stream(stream);
    m_message = g_mime_parser_construct_message(parser, nullptr);
    g_object_unref(parser);
    g_object_unref(stream);
  }
  ~GMimeMail() { g_object_unref(m_message); }
  GMimeMail(const GMimeMail&) = delete;

  GMimeMessage* get() const { return m_message; }

 private:
  GByteArray m_bytes;
  GMimeMessage* m_message;
};

void AddGMimePart(GMimeObject*, GMimeObject* part, gpointer data) {
  Read& read = *static_cast<Read*>(data);
  if (GMIME_IS_TEXT_PART(part)) {
    char* text = g_mime_text_part_get_text(GMIME_TEXT_PART(part));
    read.Add(text == nullptr ? "" : text);
    g_free(text);
  } else if (GMIME_IS_PART(part)) {
    GMimeStream* stream = g_mime_stream_mem_new();
    g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(GMIME_PART(part)), stream);
    const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream));
    read.Add({reinterpret_cast<const char*>(bytes->data), bytes->len});
    g_object_unref(stream);
  }
}

void LoadGMime(std::string_view mail, Read& read) {
  const GMimeMail message(mail);
  read.Add(g_mime_message_get_subject(message.get()));
  g_mime_message_foreach(message.get(), AddGMimePart, &read);
}

using Load = void (*)(std::string_view, Read&);

Read LoadAll(const Mails& mails, Load load, bool keep) {
  Read read;
  read.keep = keep;
  for (const std::string& mail : mails) load(mail, read);
  return read;
}

// --- Writing. ---

std::size_t WriteOurs(const mail::MimeMessage2& message, mail::DataBuffer& out) {
  mail::LogNull log;
  out.weakClear();
  message.getMimeBytes(out, log);
  return out.getSize();
}

std::size_t WriteGMime(GMimeMessage* message) {
  GMimeStream* stream = g_mime_stream_mem_new();
  g_mime_object_write_to_stream(GMIME_OBJECT(message), nullptr, stream);
  const std::size_t size = static_cast<std::size_t>(g_mime_stream_length(stream));
  g_object_unref(stream);
  return size;
}

// --- The table. ---

void Print(const char* task, const char* name, double bytes, bool same, double ours, double gmime) {
  std::printf("%-6s %-18s %9.0f %9.0f %7.2f  %s\n", task, name, bytes / ours * 1e3,
              bytes / gmime * 1e3, gmime / ours, same ? "" : "DIFFERS");
  std::fflush(stdout);
  g_agrees = g_agrees && same;
}

void Bench(const char* name, const Mails& mails) {
  std::size_t bytes = 0;
  for (const std::string& mail : mails) bytes += mail.size();
  const Read ours = LoadAll(mails, LoadOurs, true);
  const Read gmime = LoadAll(mails, LoadGMime, true);
  const bool same = ours.text == gmime.text && ours.leaves == gmime.leaves;
  std::size_t kept = 0;
  double oursTime = 1e18;
  double gmimeTime = 1e18;
  for (int round = 0; round < 3; ++round) {  // in turns, so that noise meets both
    oursTime =
        std::min(oursTime, bench::BestTime([&] { kept += LoadAll(mails, LoadOurs, false).bytes; }));
    gmimeTime = std::min(gmimeTime,
                         bench::BestTime([&] { kept += LoadAll(mails, LoadGMime, false).bytes; }));
  }
  Print("load", name, static_cast<double>(bytes), same && kept != 0, oursTime, gmimeTime);

  mail::LogNull log;
  mail::MimeMessage2 message;
  (void)message.loadMimeComplete(mails[3 % mails.size()], mail::MimeMessage2::LoadOptions{}, log);
  const GMimeMail peer(mails[3 % mails.size()]);
  mail::DataBuffer out;
  const double written = static_cast<double>(WriteOurs(message, out));
  Read again, before;
  again.keep = before.keep = true;
  LoadOurs(out.view(), again);
  LoadOurs(mails[3 % mails.size()], before);
  Print("write", name, written, again.text == before.text,
        bench::BestTime([&] { WriteOurs(message, out); }),
        bench::BestTime([&] { WriteGMime(peer.get()); }));
}

// Peak resident bytes of a process of its own that runs it, without those it started with.
template <class Work>
double PeakBytes(Work work) {
  int ends[2];
  if (pipe(ends) != 0) return 0;
  malloc_trim(0);  // the process must not live on what this one has left over
  const pid_t child = fork();
  if (child == 0) {
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    work();
    getrusage(RUSAGE_SELF, &after);
    const long grown = after.ru_maxrss - before.ru_maxrss;
    _exit(write(ends[1], &grown, sizeof grown) == sizeof grown ? 0 : 1);
  }
  close(ends[1]);
  long grown = 0;
  const bool told = read(ends[0], &grown, sizeof grown) == sizeof grown;
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!told || status != 0) g_agrees = false;
  return static_cast<double>(grown) * 1024;
}

// --- Huge mails. ---

constexpr std::size_t kHuge = 100'000'000;  // bytes
constexpr double kMostPeak = 3;             // times the size of a mail

std::string Encoded(const std::string& text, std::string_view encoding) {
  return encoding == "base64" ? Base64(text) : encoding == "8bit" ? text : Quoted(text);
}

std::string HugeText(std::string_view charset, std::string_view encoding, std::string_view line,
                     std::size_t bytes) {
  const std::size_t encodedLine = Encoded(Repeat(line, 57), encoding).size() / 57;
  const std::string text = Repeat(line, static_cast<int>(bytes / encodedLine));
  return Part(fmt::format("text/plain; charset={}", charset), encoding, Encoded(text, encoding));
}

std::string HugeTexts() {
  Mails parts;
  for (const char* encoding : {"8bit", "quoted-printable", "base64"}) {
    parts.push_back(HugeText("us-ascii", encoding, kEnglish, kHuge / 12));
    parts.push_back(HugeText("iso-8859-1", encoding, kGermanLatin1, kHuge / 12));
    parts.push_back(HugeText("utf-8", encoding, kGerman, kHuge / 12));
    parts.push_back(HugeText("koi8-r", encoding, kRussianKoi8, kHuge / 12));
  }
  return Multipart("multipart/mixed", "=_texts", parts);
}

std::string WithLf(std::string mail) {
  mail.erase(std::remove(mail.begin(), mail.end(), '\r'), mail.end());
  return mail;
}

class NoOutput : public mail::EmailOutput {
 public:
  bool write(std::string_view) override { return true; }
};

// As one is loaded from a file and saved to another.
void LoadAndSave(std::string own) {
  mail::LogNull log;
  const auto email = mail::buildEmail(own, /*bUtf8=*/false, log);
  own = std::string();
  NoOutput output;
  if (!mail::EmailWriter(output, mail::EmailWriter::Transport::k8bit, log).write(*email)) _exit(1);
}

void BenchPeak(const char* name, const std::string& mail) {
  const auto size = static_cast<double>(mail.size());
  Read read;
  const double tree = PeakBytes([&] { LoadOurs(std::string(mail), read); }) / size;
  const double email = PeakBytes([&] { LoadAndSave(mail); }) / size;
  const double gmime = PeakBytes([&] {
                         const std::string own(mail);
                         LoadGMime(own, read);
                       }) /
                       size;
  const bool kept = std::max(tree, email) < kMostPeak;
  std::printf("%-36s %6.0f %8.2f %8.2f %8.2f  %s\n", name, size / 1e6, tree, email, gmime,
              kept ? "" : "OVER");
  std::fflush(stdout);
  g_agrees = g_agrees && kept;
}

void BenchMemory() {
  std::printf("peak memory in times the size of a mail, its bytes included (aim: under %.0f)\n",
              kMostPeak);
  std::printf("%-36s %6s %8s %8s %8s\n", "", "MB", "load", "+ save", "GMime");
  BenchPeak("attachment, base64", BigMail(1, 73'000'000));
  struct Row {
    const char* charset;
    const char* encoding;
    std::string_view line;
  };
  const Row rows[] = {
      {"us-ascii", "8bit", kEnglish},
      {"iso-8859-1", "8bit", kGermanLatin1},
      {"iso-8859-1", "quoted-printable", kGermanLatin1},
      {"iso-8859-1", "base64", kGermanLatin1},
      {"koi8-r", "8bit", kRussianKoi8},
      {"utf-8", "quoted-printable", kGerman},
  };
  for (const Row& row : rows) {
    const std::string mail = Header(1) + HugeText(row.charset, row.encoding, row.line, kHuge);
    const std::string name = fmt::format("{}, {}", row.charset, row.encoding);
    BenchPeak(name.c_str(), mail);
    BenchPeak((name + ", LF").c_str(), WithLf(mail));
  }
  BenchPeak("all in one multipart, LF", WithLf(Header(1) + HugeTexts()));
}

}  // namespace

int main() {
  mail::installLibraryNarrow();
  g_mime_init();
  BenchMemory();  // first, while the process is small
  std::printf("%-6s %-18s %9s %9s %7s\n", "", "", "MB/s", "GMime", "ratio");
  Bench("small", SmallMails());
  Bench("big attachments", BigMails());
  Bench("nested", NestedMails());
  Bench("headers only", HeadersOnly());
  g_mime_shutdown();
  return g_agrees ? 0 : 1;
}
