#include "client/sources/Mbox.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "charset/ByteOrderMarks.h"
#include "client/sources/FirstNumber.h"
#include "client/sources/NullRuns.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

using mail::byte_order::kUtf8Mark;

constexpr std::string_view kContentLength = "Content-Length:";
constexpr std::string_view kMozillaStatus = "X-Mozilla-Status";
constexpr std::string_view kEudora =
    "???@???";  // its sender of all mail, in which it quotes nothing
constexpr std::string_view kEndOfDosFile = "\x1A";
constexpr std::size_t kMostOfLine = kFrom.size() + kLongestFromLine + 2;

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
  while (rest.ends_with('\r')) rest.remove_suffix(1);
  return rest.empty() || rest.ends_with('\n') ? rest : bytes;
}

std::optional<std::uint64_t> LengthIn(std::string_view line) {
  constexpr std::size_t kMostDigits = 15;
  if (!mail::beginsWithNoCase(line, kContentLength)) return std::nullopt;
  const std::string_view text = mail::trimmed(line.substr(kContentLength.size()));
  return text.size() <= kMostDigits ? mail::wholeNumber<std::uint64_t>(text) : std::nullopt;
}

// By the word of who named the kind, no line of a text begins with "From ".
bool QuotesAll(MboxKind kind) {
  return kind == MboxKind::kMboxo || kind == MboxKind::kMboxrd || kind == MboxKind::kMboxcl;
}

bool CountsLength(MboxKind kind) { return kind != MboxKind::kMboxo && kind != MboxKind::kMboxrd; }

std::uint64_t CountCrLf(std::string_view bytes) {
  std::uint64_t count = 0;
  for (std::size_t at = bytes.find("\r\n"); at != std::string_view::npos;
       at = bytes.find("\r\n", at + 2)) {
    ++count;
  }
  return count;
}

// A mail behind its "From " line.
struct Parts {
  std::string_view header;
  std::string_view body;
  std::optional<std::uint64_t> length;
};

Parts PartsOf(std::string_view mail) {
  Parts parts;
  for (std::string_view rest = mail; !rest.empty();) {
    const std::string_view line = FirstLine(rest);
    rest.remove_prefix(line.size());
    if (const auto length = LengthIn(line)) parts.length = length;
    if (line.find_first_not_of("\r\n") != std::string_view::npos) continue;
    parts.body = rest;
    break;
  }
  parts.header = mail.substr(0, mail.size() - parts.body.size());
  return parts;
}

// The body ends where its length says, or an empty line behind that.
bool IsRightLength(const Parts& parts) {
  if (!parts.length) return false;
  const std::string_view blank = parts.body.substr(WithoutLastBlank(parts.body).size());
  const std::uint64_t size = parts.body.size();
  const std::uint64_t length = *parts.length;
  if (length == size || length + blank.size() == size) return true;
  const std::uint64_t withoutCr = size - CountCrLf(parts.body);
  return length == withoutCr || (!blank.empty() && length + 1 == withoutCr);
}

// No empty line stands behind the body that its length tells of. As it counts bytes it may be right
// with one behind; only where it is not it may count without CRs.
bool IsWhole(const Parts& parts) {
  if (!parts.length) return false;
  const std::uint64_t size = parts.body.size();
  const std::uint64_t blank = size - WithoutLastBlank(parts.body).size();
  if (*parts.length == size) return true;
  return *parts.length + blank != size && *parts.length + CountCrLf(parts.body) == size;
}

// How programs are known that quote "From " alone. Others are read as mboxrd: the two differ where
// a line has ">>From " only.
bool IsOfMboxoWriter(const FromLine& from, std::string_view header) {
  if (from.zone == FromLine::Zone::kBehindYear || from.twoBlanks) return true;
  if (from.sender == "MAILER-DAEMON") return true;
  return header.find("\nX-Evolution:") != std::string_view::npos;
}

bool IsQuoted(std::string_view line, bool manyQuotes) {
  const size_t quotes = line.find_first_not_of('>');
  if (quotes == std::string_view::npos || quotes == 0) return false;
  return (quotes == 1 || manyQuotes) && line.substr(quotes).starts_with(kFrom);
}

MboxKind KindOf(std::string_view bytes, const Parts& parts) {
  // A right length counts the quotes, if there are any: it fits mboxcl as well. Those programs that
  // are known to write lengths quote nothing.
  if (IsRightLength(parts)) return MboxKind::kMboxcl2;
  if (!bytes.starts_with(kFrom)) return MboxKind::kMboxrd;
  const FromLine from = ParseFromLine(FirstLine(bytes));
  if (from.sender == kEudora) return MboxKind::kMboxcl2;
  return IsOfMboxoWriter(from, parts.header) ? MboxKind::kMboxo : MboxKind::kMboxrd;
}

}  // namespace

std::optional<MboxKind> MboxKindNamed(std::string_view name) {
  static constexpr std::array<std::pair<std::string_view, MboxKind>, 5> kNames{{
      {"auto", MboxKind::kAuto},
      {"mboxo", MboxKind::kMboxo},
      {"mboxrd", MboxKind::kMboxrd},
      {"mboxcl", MboxKind::kMboxcl},
      {"mboxcl2", MboxKind::kMboxcl2},
  }};
  const auto row = std::ranges::find(kNames, name, [](const auto& each) { return each.first; });
  return row == kNames.end() ? std::nullopt : std::optional(row->second);
}

bool MboxSplitter::Line::IsBlank() const {
  return isWhole && head.find_first_not_of("\r\n") == std::string_view::npos;
}

void MboxSplitter::Feed(std::string_view bytes) {
  EachRun(
      bytes, m_nulls, [this] { EndHole(); }, [this](std::string_view run) { FeedLines(run); });
}

void MboxSplitter::EndHole() {
  EndLine(/*crLf=*/false);
  m_hole = m_nulls;
  m_afterBlank = true;
}

// Of a line that came in pieces.
void MboxSplitter::EndLine(bool crLf) {
  TakeLine({m_part, m_partSize == m_part.size(), crLf, m_partSize});
  m_part.clear();
  m_partSize = 0;
}

void MboxSplitter::FeedLines(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view piece = FirstLine(bytes);
    bytes.remove_prefix(piece.size());
    const bool ends = piece.back() == '\n';
    if (ends && m_partSize == 0) {
      TakeLine({piece.substr(0, kMostOfLine), piece.size() <= kMostOfLine, piece.ends_with("\r\n"),
                piece.size()});
      continue;
    }
    m_part += piece.substr(0, kMostOfLine - m_part.size());
    m_partSize += piece.size();
    const bool crLf = piece.ends_with("\r\n") || (m_partCr && piece == "\n");
    m_partCr = piece.back() == '\r';
    if (!ends) continue;
    EndLine(crLf);
  }
}

void MboxSplitter::TakeLine(const Line& line) {
  if (m_at.bytes == 0 && line.head.starts_with(kUtf8Mark)) {
    constexpr std::size_t kMark = kUtf8Mark.size();
    m_at = {kMark, kMark};
    return TakeLine({line.head.substr(kMark), line.isWhole, line.crLf, line.size - kMark});
  }
  if (m_from) Decide(&line);
  if (m_fieldsOfSuspect) CountFieldOfSuspect(line);
  const Place behind{m_at.bytes + line.size, m_at.withoutCr + line.size - (line.crLf ? 1 : 0)};
  const bool isFrom = line.head.starts_with(kFrom);
  if (isFrom) {
    m_from = m_at;
    m_shape = line.isWhole ? ParseFromLine(line.head).shape : FromLine::Shape::kOther;
    m_fromAfterBlank = m_afterBlank;
    m_holeOfFrom = m_hole;
  } else if (m_inHeader) {
    TakeHeaderLine(line, behind);
  }
  m_afterBlank = line.IsBlank();
  m_hole = 0;
  m_at = behind;
}

// Two fields in a row are a header; one alone may be a line of any text.
void MboxSplitter::CountFieldOfSuspect(const Line& line) {
  constexpr int kLeastFields = 2;
  if (!LooksLikeField(line.head)) {
    m_fieldsOfSuspect.reset();
  } else if (++*m_fieldsOfSuspect == kLeastFields) {
    m_fieldsOfSuspect.reset();
    ++m_candidate->suspects;
  }
}

// Empty lines between a "From " line and the header are those of a program that put them there.
void MboxSplitter::TakeHeaderLine(const Line& line, Place behind) {
  Candidate& mail = *m_candidate;
  if (line.IsBlank()) {
    if (!m_hasField) return;
    mail.body = behind;
    EndHeader();
    return;
  }
  const bool isField = LooksLikeField(line.head) || line.head.starts_with(kQuotedFrom);
  if (isField && !m_hasField) mail.isDoubtful = false;
  m_fields += isField ? 1 : 0;
  m_hasField = true;
  if (line.isWhole && mail::toLowerAscii(line.head.front()) == 'c') {
    if (const auto length = LengthIn(line.head)) mail.length = length;
  }
}

// A line of text that names a person and a day may begin none.
void MboxSplitter::EndHeader() {
  constexpr int kLeastFields = 2;
  const bool isHeader = std::exchange(m_inHeader, false) && m_hasField;
  if (isHeader) m_candidate->isText = m_candidate->isDoubtful && m_fields < kLeastFields;
}

void MboxSplitter::EndCandidate() {
  EndHeader();
  if (m_candidate) m_candidates.push_back(*std::exchange(m_candidate, std::nullopt));
}

void MboxSplitter::Decide(const Line* next) {
  const Place place = *std::exchange(m_from, std::nullopt);
  const bool isFirst = !m_first;
  if (isFirst) m_first = m_shape;
  // One directly behind another is of the same mail.
  const bool again = m_inHeader && !m_hasField && !m_fromAfterBlank;
  const bool field = next != nullptr && LooksLikeField(next->head);
  const bool isAlone = m_fromAfterBlank && field;
  bool counts = isFirst;
  switch (m_shape) {
    case FromLine::Shape::kDated:
      counts = counts || m_fromAfterBlank || field;
      break;
    case FromLine::Shape::kBare:
      counts = counts || (isAlone && QuotesAll(m_kind)) ||
               (m_first == m_shape && (m_fromAfterBlank || field)) ||
               (next != nullptr && next->head.starts_with(kMozillaStatus));
      break;
    case FromLine::Shape::kOther:
      counts = counts || (isAlone && (QuotesAll(m_kind) || m_first == m_shape));
      break;
  }
  if (!counts && isAlone) m_fieldsOfSuspect = 0;
  if (!counts || again) return;
  EndCandidate();
  const bool isDoubtful = !isFirst && m_shape == FromLine::Shape::kDated && CountsLength(m_kind);
  m_candidate = {place, std::nullopt, std::nullopt, m_fromAfterBlank, isDoubtful};
  m_candidate->hole = m_holeOfFrom;
  m_inHeader = true;
  m_hasField = false;
  m_fields = 0;
}

// The candidate that the length of a mail leads to, or their number for the end of the file; 0 for
// none.
std::size_t MboxSplitter::EndByLength(std::size_t mail, Place end) const {
  const Candidate from = m_candidates[mail];
  if (!from.length || !from.body || !CountsLength(m_kind)) return 0;
  const auto leads = [&](std::uint64_t Place::*count, std::uint64_t longestEnd) -> std::size_t {
    const std::uint64_t target = (*from.body).*count + *from.length;
    if (target <= end.*count && end.*count - target <= longestEnd) return m_candidates.size();
    const std::size_t found = FirstNumber(mail + 1, m_candidates.size(), [&](std::size_t each) {
      return m_candidates[each].line.*count >= target;
    });
    if (found == m_candidates.size()) return 0;
    const Candidate next = m_candidates[found];
    const std::uint64_t over = next.line.*count - target;
    const bool fits = over == 0 || (over <= longestEnd && next.afterBlank);
    return fits ? found : 0;
  };
  if (const std::size_t found = leads(&Place::bytes, 2)) return found;
  return end.bytes == end.withoutCr ? 0 : leads(&Place::withoutCr, 1);
}

// The next candidate that is no text.
std::size_t MboxSplitter::EndByLines(std::size_t mail) {
  m_suspects += m_candidates[mail].suspects;
  for (std::size_t next = mail + 1; next < m_candidates.size(); ++next) {
    const Candidate candidate = m_candidates[next];
    if (!candidate.isText) return next;
    m_suspects += candidate.suspects + 1;
  }
  return m_candidates.size();
}

MboxSplitter::Mails MboxSplitter::Finish() {
  const bool endsInHole = m_nulls >= kLeastHole;
  const bool endsWithinLine = m_partSize > 0 && !endsInHole && m_part != kEndOfDosFile;
  if (endsInHole) {
    EndHole();
  } else if (m_partSize > 0) {
    EndLine(/*crLf=*/false);
  }
  if (m_from) Decide(nullptr);
  EndCandidate();
  const Place fileEnd{m_at.bytes - m_hole, m_at.withoutCr - m_hole};
  Mails mails;
  for (std::size_t i = 0; i < m_candidates.size();) {
    const std::size_t byLength = EndByLength(i, fileEnd);
    const std::size_t next = byLength > i ? byLength : EndByLines(i);
    const Candidate candidate = m_candidates[i];
    const std::uint64_t begin = candidate.line.bytes;
    const std::uint64_t end = next < m_candidates.size()
                                  ? m_candidates[next].line.bytes - m_candidates[next].hole
                                  : fileEnd.bytes;
    m_isCut = endsWithinLine && byLength <= i;
    const std::uint64_t body = candidate.body.value_or(Place{end, 0}).bytes;
    mails.push_back({begin, end - begin, std::min(body, end) - begin});
    i = next;
  }
  return mails;
}

std::string_view WithoutFromLine(std::string_view mail) {
  if (!mail.starts_with(kFrom)) return mail;
  const size_t end = std::min(mail.find_first_of("\r\n"), mail.size());
  return mail.substr(std::min(mail.find_first_not_of("\r\n", end), mail.size()));
}

std::string UnquoteMbox(std::string_view bytes, MboxKind kind) {
  std::string_view mail = WithoutFromLine(bytes);
  const Parts parts = PartsOf(mail);
  if (kind == MboxKind::kAuto) kind = KindOf(bytes, parts);
  if (!CountsLength(kind) || !IsWhole(parts)) mail = WithoutLastBlank(mail);
  if (kind == MboxKind::kMboxcl2) return std::string(mail);
  std::string text;
  text.reserve(mail.size());
  while (!mail.empty()) {
    const std::string_view line = FirstLine(mail);
    mail.remove_prefix(line.size());
    text += IsQuoted(line, kind == MboxKind::kMboxrd) ? line.substr(1) : line;
  }
  return text;
}

}  // namespace client
