#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "charset/ByteOrderMarks.h"
#include "client/sources/CrLines.h"
#include "client/sources/Mbox.h"
#include "client/sources/MboxBegin.h"
#include "client/sources/Mmdf.h"
#include "client/sources/StateFields.h"

// Mbox files of every kind. However the bytes are cut into reads, the same mails are found, each at
// a "From " line; from the first of these on each byte of the file belongs to one mail, or to a
// hole between two. And mails that are written into a file, quoted or with their lengths, come back
// as they were, each once.

namespace {

using mail::byte_order::kUtf8Mark;
using Mails = client::MboxSplitter::Mails;

const std::string kMmdfMark = "\x01\x01\x01\x01\n";
const std::string kSeparator = "From someone@example.com Mon Mar  4 08:12:00 2024\n";

void Require(bool holds) {
  if (!holds) std::abort();
}

// The pieces have 1 to 256 bytes, as the cuts say, over and over.
template <typename Splitter>
Mails SplitBy(Splitter splitter, std::string_view bytes, std::string_view cuts, bool* isCut) {
  for (std::size_t cut = 0; !bytes.empty(); ++cut) {
    std::size_t piece = bytes.size();
    if (!cuts.empty()) {
      piece =
          std::min<std::size_t>(piece, static_cast<unsigned char>(cuts[cut % cuts.size()]) + 1u);
    }
    splitter.Feed(bytes.substr(0, piece));
    bytes.remove_prefix(piece);
  }
  Mails mails = splitter.Finish();
  if (isCut) *isCut = splitter.IsCut();
  return mails;
}

Mails Split(std::string_view bytes, std::string_view cuts, client::MboxKind kind,
            bool* isCut = nullptr) {
  return SplitBy(client::MboxSplitter(kind), bytes, cuts, isCut);
}

bool IsHole(std::string_view bytes) {
  constexpr std::size_t kLeast = 64;  // bytes
  return bytes.size() >= kLeast && bytes.find_first_not_of('\0') == std::string_view::npos;
}

bool EndsInHole(std::string_view line) {
  return IsHole(line.substr(line.find_last_not_of('\0') + 1));
}

std::vector<std::string> Lines(std::string_view bytes) {
  std::vector<std::string> lines;
  for (const char c : bytes) {
    if (lines.empty() || lines.back().ends_with('\n') || (c != '\0' && EndsInHole(lines.back()))) {
      lines.emplace_back();
    }
    lines.back() += c;
  }
  return lines;
}

std::vector<std::size_t> FromLines(std::string_view bytes) {
  std::vector<std::size_t> starts;
  std::size_t offset = bytes.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0;
  for (const std::string& line : Lines(bytes.substr(offset))) {
    if (line.starts_with("From ")) starts.push_back(offset);
    offset += line.size();
  }
  return starts;
}

void CheckSplit(std::string_view bytes, std::string_view cuts, client::MboxKind kind) {
  bool isCut = false;
  bool isWholeCut = false;
  const Mails mails = Split(bytes, cuts, kind, &isCut);
  const Mails whole = Split(bytes, {}, kind, &isWholeCut);
  Require(isCut == isWholeCut);
  const std::vector<std::size_t> starts = FromLines(bytes);
  Require(mails.size() == whole.size() && mails.empty() == starts.empty());
  std::size_t at = mails.empty() ? 0 : starts.front();
  for (std::size_t i = 0; i < mails.size(); ++i) {
    const auto& mail = mails[i];
    Require(mail.offset == whole[i].offset && mail.header == whole[i].header);
    Require(std::ranges::binary_search(starts, mail.offset));
    Require(mail.offset == at || IsHole(bytes.substr(at, mail.offset - at)));
    Require(mail.length >= 5 && mail.header <= mail.length);
    const std::string_view text = bytes.substr(mail.offset, mail.length);
    Require(client::UnquoteMbox(text, kind).size() < mail.length);
    (void)client::ReadStateFields(client::WithoutFromLine(text.substr(0, mail.header)));
    (void)client::TimeOf(client::ParseFromLine(text.substr(0, text.find('\n'))));
    at = mail.offset + mail.length;
  }
  Require(mails.empty() || at == bytes.size() || IsHole(bytes.substr(at)));
}

// Between its mails lie marks and holes alone.
void CheckMmdf(std::string_view text, std::string_view cuts) {
  const std::string file = kMmdfMark + std::string(text);
  const std::string_view bytes = file;
  bool isCut = false;
  bool isWholeCut = false;
  const Mails mails = SplitBy(client::MmdfSplitter(), bytes, cuts, &isCut);
  const Mails whole = SplitBy(client::MmdfSplitter(), bytes, {}, &isWholeCut);
  Require(isCut == isWholeCut && mails.size() == whole.size());
  std::size_t at = 0;
  for (std::size_t i = 0; i < mails.size(); ++i) {
    const auto& mail = mails[i];
    Require(mail.offset == whole[i].offset && mail.header == whole[i].header);
    Require(mail.length > 0 && mail.header <= mail.length);
    Require(mail.offset >= at && mail.length <= bytes.size() - mail.offset);
    const std::string_view between = bytes.substr(at, mail.offset - at);
    Require(between.find_first_not_of(std::string_view("\x01\r\n\0", 4)) == between.npos);
    at = mail.offset + mail.length;
  }
}

// Empty lines in front of a header go with the line of the mbox.
std::string_view WithoutFirstBlanks(std::string_view mail) {
  return mail.substr(std::min(mail.size(), mail.find_first_not_of("\r\n")));
}

// As a delivery agent writes a mail; one that has no end of line at its end gets one.
std::string Quoted(std::string_view mail) {
  std::string text = kSeparator;
  const std::string_view rest = WithoutFirstBlanks(mail);
  text += mail.substr(0, mail.size() - rest.size());
  for (const std::string& line : Lines(rest)) {  // the first may stand behind a lone CR
    const bool from = std::string_view(line)
                          .substr(std::min(line.size(), line.find_first_not_of('>')))
                          .starts_with("From ");
    text += (from ? ">" : "") + line;
  }
  return text + "\n";
}

std::string Counted(std::string_view body) {
  return "Subject: x\nContent-Length: " + std::to_string(body.size()) + "\n\n" + std::string(body);
}

void CheckRoundTrip(std::string_view content, client::MboxKind kind) {
  const bool counted = kind == client::MboxKind::kMboxcl2;
  std::vector<std::string> mails;
  std::string file;
  while (!content.empty()) {  // mails end at a NUL, so that the fuzzer decides on them
    std::string mail(content.substr(0, content.find('\0')));
    content.remove_prefix(std::min(content.size(), mail.size() + 1));
    if (!mail.ends_with('\n')) mail += '\n';
    if (counted) mail = Counted(mail);
    file += counted ? kSeparator + mail + "\n" : Quoted(mail);
    mails.push_back(std::move(mail));
  }
  const Mails found = Split(file, {}, kind);
  Require(found.size() == mails.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    const std::string_view bytes = std::string_view(file).substr(found[i].offset, found[i].length);
    Require(client::UnquoteMbox(bytes, kind) == WithoutFirstBlanks(mails[i]));
  }
}

}  // namespace

// Of a file whose beginning is damaged, and of one with the line ends of an old Mac.
void CheckDamage(std::string_view bytes, std::string_view cuts) {
  const auto begin = client::FindFirstMail(bytes);
  Require(!begin || bytes.substr(*begin).starts_with("From "));
  std::string whole(bytes);
  client::MakeLfOfCr(whole);
  Require(whole.size() == bytes.size());
  std::string found;
  const auto take = [&](std::string_view piece) { found += piece; };
  client::CrPieces lines;
  for (std::size_t cut = 0; !bytes.empty(); ++cut) {
    const std::size_t size =
        cuts.empty() ? bytes.size() : 1u + static_cast<unsigned char>(cuts[cut % cuts.size()]);
    lines.Feed(bytes.substr(0, size), take);
    bytes.remove_prefix(std::min(size, bytes.size()));
  }
  lines.Finish(take);
  Require(found == whole);
}

// The first byte tells the kind and how many cuts stand in front of the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::size_t cuts = std::min<std::size_t>(data[0] % 16, input.size());
  const auto kind = static_cast<client::MboxKind>(data[0] / 16 % 5);
  CheckSplit(input.substr(cuts), input.substr(0, cuts), kind);
  CheckDamage(input.substr(cuts), input.substr(0, cuts));
  CheckMmdf(input.substr(cuts), input.substr(0, cuts));
  CheckRoundTrip(input, client::MboxKind::kMboxrd);
  CheckRoundTrip(input, client::MboxKind::kMboxcl2);
  return 0;
}
