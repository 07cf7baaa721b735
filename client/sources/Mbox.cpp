#include "client/sources/Mbox.h"

#include <algorithm>
#include <utility>

namespace client {
namespace {

constexpr std::string_view kFrom = "From ";

// The line at the beginning, with its end.
std::string_view FirstLine(std::string_view bytes) {
  const size_t end = bytes.find('\n');
  return end == std::string_view::npos ? bytes : bytes.substr(0, end + 1);
}

// Without the empty line that parts a mail from the next.
std::string_view WithoutLastBlank(std::string_view bytes) {
  std::string_view rest = bytes;
  if (!rest.ends_with('\n')) return bytes;
  rest.remove_suffix(1);
  if (rest.ends_with('\r')) rest.remove_suffix(1);
  return rest.empty() || rest.ends_with('\n') ? rest : bytes;
}

bool IsQuoted(std::string_view line) {
  const size_t quotes = line.find_first_not_of('>');
  return quotes != std::string_view::npos && quotes > 0 && line.substr(quotes).starts_with(kFrom);
}

}  // namespace

void MboxSplitter::Feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view piece = FirstLine(bytes);
    bytes.remove_prefix(piece.size());
    m_offset += piece.size();
    if (m_head.size() < kFrom.size()) m_head += piece.substr(0, kFrom.size() - m_head.size());
    m_blank = m_blank && piece.find_first_not_of("\r\n") == std::string_view::npos;
    if (piece.back() == '\n') EndLine();
  }
}

void MboxSplitter::EndLine() {
  if (m_afterBlank && m_head == kFrom) m_mails.push_back({m_lineStart, 0});
  m_afterBlank = m_blank;
  m_blank = true;
  m_head.clear();
  m_lineStart = m_offset;
}

std::vector<MboxSplitter::Extent> MboxSplitter::Finish() {
  EndLine();
  std::uint64_t end = m_offset;
  for (auto mail = m_mails.rbegin(); mail != m_mails.rend(); ++mail) {
    mail->length = end - mail->offset;
    end = mail->offset;
  }
  return std::move(m_mails);
}

std::string_view WithoutFromLine(std::string_view mail) {
  if (!mail.starts_with(kFrom)) return mail;
  const size_t end = std::min(mail.find_first_of("\r\n"), mail.size());
  return mail.substr(std::min(mail.find_first_not_of("\r\n", end), mail.size()));
}

std::string UnquoteMbox(std::string_view bytes) {
  bytes = WithoutLastBlank(WithoutFromLine(bytes));
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::string_view line = FirstLine(bytes);
    bytes.remove_prefix(line.size());
    text += IsQuoted(line) ? line.substr(1) : line;
  }
  return text;
}

}  // namespace client
