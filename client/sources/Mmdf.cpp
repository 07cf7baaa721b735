#include "client/sources/Mmdf.h"

#include <algorithm>
#include <utility>

#include "client/sources/NullRuns.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::string_view kMark = "\x01\x01\x01\x01";
constexpr std::size_t kMostOfLine = 128;  // bytes: a mark, or the name of a field

std::string_view WithoutEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace

bool IsMmdf(std::string_view head) { return WithoutEnd(head.substr(0, head.find('\n'))) == kMark; }

bool EndsWithMmdfMark(std::string_view bytes) {
  return bytes.ends_with('\n') && WithoutEnd(bytes).ends_with(kMark);
}

void MmdfSplitter::Feed(std::string_view bytes) {
  EachRun(
      bytes, m_nulls, [this] { EndHole(); }, [this](std::string_view run) { FeedLines(run); });
}

void MmdfSplitter::FeedLines(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::size_t size = end == std::string_view::npos ? bytes.size() : end + 1;
    m_line += bytes.substr(0, std::min(size, kMostOfLine - m_line.size()));
    m_size += size;
    bytes.remove_prefix(size);
    if (end != std::string_view::npos) EndLine();
  }
}

void MmdfSplitter::EndLine() {
  const std::string_view text = WithoutEnd(m_line);
  const bool isWhole = m_size == m_line.size();
  if (isWhole && text == kMark) {
    EndMail();
    m_isWithin = true;
    m_inHeader = true;
    m_mail = {m_at + m_size, 0, 0};
    m_behindHole.reset();
  } else {
    m_mail.length += m_size;
    if (m_inHeader) m_mail.header += m_size;
    if (isWhole && text.empty() && m_mail.header > m_size) m_inHeader = false;
    if (m_behindHole) CountField();
  }
  m_at += std::exchange(m_size, 0);
  m_line.clear();
}

// The NULs are of the line that ends here.
void MmdfSplitter::EndHole() {
  EndLine();
  m_hole = m_nulls;
  m_behindHole = {m_at, 0, 0};
}

void MmdfSplitter::CountField() {
  const bool isFirst = m_behindHole->length == 0;
  m_behindHole->length += m_size;
  if (!LooksLikeField(m_line)) {
    m_behindHole.reset();
  } else if (!isFirst) {
    MboxSplitter::Mail next = *std::exchange(m_behindHole, std::nullopt);
    next.header = next.length;
    m_mail.length -= next.length + m_hole;
    m_mail.header = std::min(m_mail.header, m_mail.length);
    EndMail();
    m_mail = next;
    m_inHeader = true;
  }
}

void MmdfSplitter::EndMail() {
  if (m_isWithin && m_mail.length > 0) m_mails.push_back(m_mail);
}

MboxSplitter::Mails MmdfSplitter::Finish() {
  if (m_size > 0) EndLine();
  m_isCut = m_isWithin && m_mail.length > 0;
  EndMail();
  return std::move(m_mails);
}

}  // namespace client
