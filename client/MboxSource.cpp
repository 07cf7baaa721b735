#include "client/MboxSource.h"

#include <algorithm>
#include <fstream>

#include "client/Names.h"
#include "client/SourceFiles.h"
#include "mime/HeaderLookup.h"

namespace client {
namespace {

constexpr size_t kHeaderLook = 64 * 1024;  // bytes of a mail in which its Status is looked for

std::string_view WithoutLineEnd(std::string_view line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
  return line;
}

// Reads a file line by line through a buffer of one size, however long its lines are: a piece that
// is no line's beginning is told so.
class LineScanner {
 public:
  explicit LineScanner(const std::string& path) : m_in(path, std::ios::binary) {}
  explicit operator bool() const { return m_in.is_open(); }

  // False at the end. The view stays good until the next call.
  bool Next(std::string_view& piece, bool& atLineStart) {
    m_buffer.clear();
    atLineStart = m_lineStart;
    int c = 0;
    while (m_buffer.size() < kLongestPiece && (c = m_in.rdbuf()->sbumpc()) != EOF) {
      m_buffer += static_cast<char>(c);
      if (c == '\n') break;
    }
    m_lineStart = !m_buffer.empty() && m_buffer.back() == '\n';
    piece = m_buffer;
    return !m_buffer.empty();
  }

 private:
  static constexpr size_t kLongestPiece = 8192;
  std::ifstream m_in;
  std::string m_buffer;
  bool m_lineStart = true;
};

std::string FolderOf(const std::string& path) {
  std::string name = path.substr(path.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return LevelName(name) + "\\";
}

}  // namespace

std::string UnquoteMbox(std::string_view bytes) {
  if (bytes.starts_with("From ")) {
    bytes.remove_prefix(std::min(bytes.size(), bytes.find('\n')));
    if (!bytes.empty()) bytes.remove_prefix(1);
  }
  for (const std::string_view end : {"\r\n\r\n", "\n\n"}) {
    if (!bytes.ends_with(end)) continue;
    bytes.remove_suffix(end.size() / 2);
    break;
  }
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const size_t end = bytes.find('\n');
    std::string_view line = bytes.substr(0, end == std::string_view::npos ? end : end + 1);
    bytes.remove_prefix(line.size());
    const size_t quotes = line.find_first_not_of('>');
    const bool quoted =
        quotes != std::string_view::npos && quotes > 0 && line.substr(quotes).starts_with("From ");
    text += quoted ? line.substr(1) : line;
  }
  return text;
}

bool MboxSource::IsMbox(const std::string& path) {
  try {
    return ReadFileRange(path, 0, 5) == "From ";
  } catch (const SourceError&) {
    return false;
  }
}

std::vector<SourceItem> MboxSource::List(std::vector<SourceProblem>& problems) const {
  std::vector<SourceItem> items;
  LineScanner scanner(m_path);
  if (!scanner) {
    problems.push_back({m_path, "cannot be read"});
    return items;
  }
  const std::string folder = FolderOf(m_path);
  std::uint64_t offset = 0;
  bool afterEmpty = true;
  std::string_view piece;
  bool atLineStart = true;
  while (scanner.Next(piece, atLineStart)) {
    if (atLineStart && afterEmpty && piece.starts_with("From ")) {
      // The name holds the place, so that two mails of one file are two items of the journal.
      items.push_back({m_path + ":" + std::to_string(offset), folder, true, offset, 0});
    }
    afterEmpty = atLineStart && WithoutLineEnd(piece).empty();
    offset += piece.size();
    if (!items.empty()) items.back().length = offset - items.back().offset;
  }
  for (SourceItem& item : items) {
    const std::string head =
        ReadFileRange(m_path, item.offset, std::min<std::uint64_t>(item.length, kHeaderLook));
    const size_t header = std::min(head.size(), head.find('\n'));
    const auto status =
        mime::FindHeader(std::string_view(head).substr(header + (header < head.size())), "Status");
    item.read = !status || status->find('R') != std::string::npos;
  }
  return items;
}

std::string MboxSource::Read(const SourceItem& item) const {
  std::string bytes = UnquoteMbox(ReadFileRange(m_path, item.offset, item.length));
  RequireMail(bytes);
  return bytes;
}

}  // namespace client
