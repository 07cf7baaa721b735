#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/Mbox.h"

// Mbox files. However the bytes are cut into reads, the same mails are found, and those that a
// reader of whole lines finds; from the first mail on each byte of the file belongs to one of them.
// And mails that are written into a file by the rules come back as they were, each once.

namespace {

using Extents = std::vector<client::MboxSplitter::Extent>;

void Require(bool holds) {
  if (!holds) std::abort();
}

// The pieces have 1 to 256 bytes, as the cuts say, over and over.
Extents Split(std::string_view bytes, std::string_view cuts) {
  client::MboxSplitter splitter;
  for (std::size_t cut = 0; !bytes.empty(); ++cut) {
    std::size_t piece = bytes.size();
    if (!cuts.empty()) {
      piece =
          std::min<std::size_t>(piece, static_cast<unsigned char>(cuts[cut % cuts.size()]) + 1u);
    }
    splitter.Feed(bytes.substr(0, piece));
    bytes.remove_prefix(piece);
  }
  return splitter.Finish();
}

std::vector<std::string> Lines(std::string_view bytes) {
  std::vector<std::string> lines;
  for (const char c : bytes) {
    if (lines.empty() || lines.back().ends_with('\n')) lines.emplace_back();
    lines.back() += c;
  }
  return lines;
}

// Where mails begin, by lines that are held whole.
std::vector<std::size_t> Starts(std::string_view bytes) {
  std::vector<std::size_t> starts;
  std::size_t offset = 0;
  bool afterBlank = true;
  for (const std::string& line : Lines(bytes)) {
    if (afterBlank && line.starts_with("From ")) starts.push_back(offset);
    afterBlank = line.find_first_not_of("\r\n") == std::string::npos;
    offset += line.size();
  }
  return starts;
}

void CheckSplit(std::string_view bytes, std::string_view cuts) {
  const Extents mails = Split(bytes, cuts);
  const std::vector<std::size_t> starts = Starts(bytes);
  Require(mails.size() == starts.size());
  for (std::size_t i = 0; i < mails.size(); ++i) {
    const std::size_t end = i + 1 < starts.size() ? starts[i + 1] : bytes.size();
    Require(mails[i].offset == starts[i] && mails[i].offset + mails[i].length == end);
    Require(client::UnquoteMbox(bytes.substr(starts[i], end - starts[i])).size() < mails[i].length);
  }
}

// Empty lines in front of a header go with the line of the mbox.
std::string_view WithoutFirstBlanks(std::string_view mail) {
  return mail.substr(std::min(mail.size(), mail.find_first_not_of("\r\n")));
}

// As a delivery agent writes a mail; one that has no end of line at its end gets one.
std::string Quoted(std::string_view mail) {
  std::string text = "From someone@example.com Mon Mar  4 08:12:00 2024\n";
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

void CheckRoundTrip(std::string_view content) {
  std::vector<std::string> mails;
  std::string file;
  while (!content.empty()) {  // mails end at a NUL, so that the fuzzer decides on them
    std::string mail(content.substr(0, content.find('\0')));
    content.remove_prefix(std::min(content.size(), mail.size() + 1));
    if (!mail.ends_with('\n')) mail += '\n';
    file += Quoted(mail);
    mails.push_back(std::move(mail));
  }
  const Extents found = Split(file, {});
  Require(found.size() == mails.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    const std::string_view bytes = std::string_view(file).substr(found[i].offset, found[i].length);
    Require(client::UnquoteMbox(bytes) == WithoutFirstBlanks(mails[i]));
  }
}

}  // namespace

// The first byte tells how many cuts stand in front of the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::size_t cuts = std::min<std::size_t>(data[0] % 16, input.size());
  CheckSplit(input.substr(cuts), input.substr(0, cuts));
  CheckRoundTrip(input);
  return 0;
}
