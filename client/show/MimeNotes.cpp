#include "client/show/MimeNotes.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/CharsetNames.h"
#include "mime/header/ParameterList.h"
#include "mime/tree/MimeMessage2.h"

namespace client {
namespace {

constexpr int kUtf8 = 65001;
constexpr std::size_t kNone = std::string_view::npos;

// How remarks of the library begin, and what they say to people: nothing where they are made about
// sound mail as well, or where the bytes are looked at here.
struct KnownRemark {
  std::string_view start;
  std::string_view note;
};
constexpr auto kRemarks = std::to_array<KnownRemark>({
    {"Skipping MBOX leading From line", "a line of an mbox file (\"From ...\") stands in front"},
    {"Must not really be unicode HTML", "the page claims to be UTF-16 and is not"},
    {"Header larger than 20MB", "its header has no end within 20 MB: it is left out"},
    {"Converting from unicode...", "the file is UTF-16"},
    {"Also found CRLF.", ""},
    {"Assuming the entire MIME message is a header", ""},
    {"Converting all line endings", ""},
    {"Converting by using", ""},
    {"Converting from", ""},
    {"Converting to utf-8", ""},
    {"Did not find boundary ending in CRLF", ""},
    {"Found CR", ""},
    {"Found LF", ""},
    {"Has invalid iso-8859-1 bytes", ""},
    {"MIME is missing initial header", ""},
    {"Nested too deeply", ""},
    {"No boundary found", ""},
    {"No charset specified.", ""},
    {"Parsing MIME assuming an empty header.", ""},
    {"Still did not find boundary", ""},
    {"Still looking for the boundary", ""},
    {"Unrecognized fromCharset", ""},
    {"Using double CR", ""},
    {"clearing charset based on content-type.", ""},
    {"converting from utf-", ""},
    {"convertFromUnicode", ""},
    {"convertToUnicode", ""},
    {"ensureHash", ""},
    {"imperfect conversion", ""},
    {"iso-2022-jp text", ""},
    {"not all characters have a place", ""},
    {"treating body as binary", ""},
});

std::string Counted(std::size_t count, std::string_view one, std::string_view many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string PageName(int page) {
  mail::StringBuffer name;
  if (!mail::codePageToName(page, name)) return fmt::format("code page {}", page);
  return std::string(name.view());
}

bool IsWide(int page) { return page == 1200 || page == 1201 || page == 12000 || page == 12001; }

// Pages in which any bytes beyond ASCII may be text; those with longer characters show what they
// are.
bool IsSingleByte(int page) {
  return (page >= 1250 && page <= 1258) || (page >= 28591 && page <= 28605) || page == 20866 ||
         page == 21866;
}

int PageOf(std::string_view charset) {
  mail::StringBuffer name(charset);
  return mail::nameToCodePage(name);
}

// The charset that Content-Type names and the library does not know; empty for one that it knows.
std::string UnknownCharset(const mail::MimeMessage2& entity) {
  const mail::MimeField* const field = entity.header().find("content-type");
  if (entity.charset().getCodePage() != 0 || field == nullptr) return {};
  mail::LogNull log;
  for (mail::MimeParameter& parameter : mail::parametersOf(field->value().view(), log)) {
    if (parameter.strName == "charset") return std::move(parameter.strValue);
  }
  return {};
}

bool IsOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(),
                     [&](std::string_view other) { return mail::equalsNoCase(word, other); });
}

bool IsBlank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == kNone; }

// The text cut to what a line has room for.
std::string Shortened(std::string_view text) {
  constexpr std::size_t kRoom = 40;
  if (text.size() <= kRoom) return std::string(text);
  return std::string(text.substr(0, kRoom)) + "...";
}

std::string LineEndsText(const LineEnds& ends) {
  std::string text;
  const std::pair<std::size_t, const char*> kinds[] = {
      {ends.crLf, "CR LF"}, {ends.lf, "LF"}, {ends.cr, "CR"}, {ends.crCrLf, "CR CR LF"}};
  for (const auto& [count, name] : kinds) {
    if (count > 0) text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, name);
  }
  return text;
}

bool StartsWithDelimiter(std::string_view source) {
  const std::size_t start = source.find_first_not_of(" \t\r\n");
  return start != kNone && source.substr(start).starts_with("--");
}

}  // namespace

void MimeNotes::Finish(std::string_view source) {
  if (m_root == nullptr) return;
  if (StartsWithDelimiter(source) && m_root->isMultipart()) {
    Add(*m_root, "it has no header and begins with a delimiter");
  }
  if (m_wide) return;  // whose line ends are other bytes
  const bool added = source.ends_with('\n') && !source.ends_with("\r\n");
  if (added) source.remove_suffix(1);  // by an editor
  LineEnds ends = CountLineEnds(source);
  ends.Remove(m_binaryLineEnds);
  if (ends.Mixed()) {
    Add(*m_root, fmt::format("its line ends are mixed: {}", LineEndsText(ends)));
  } else if (ends.cr > 0 || ends.crCrLf > 0) {
    Add(*m_root,
        fmt::format("its line ends are all {}: read as CR LF", ends.cr > 0 ? "CR" : "CR CR LF"));
  }
}

std::vector<std::string> MimeNotes::Of(const mail::MimeMessage2& entity) const {
  std::vector<std::string> notes;
  const auto found = m_notes.find(&entity);
  if (found != m_notes.end()) {
    for (const auto& [text, count] : found->second) {
      notes.push_back(count > 1 ? fmt::format("{} ({}x)", text, count) : text);
    }
  }
  if (entity.isUndivided()) notes.emplace_back("it lies too deep: its parts stay undivided");
  return notes;
}

void MimeNotes::Add(const mail::MimeMessage2& entity, std::string text) {
  Notes& notes = m_notes[&entity];
  const auto known = std::find_if(notes.begin(), notes.end(),
                                  [&](const auto& note) { return note.first == text; });
  if (known != notes.end()) {
    ++known->second;
  } else if (notes.size() < kMaxNotes) {
    notes.emplace_back(std::move(text), 1);
  }
}

void MimeNotes::Remark(std::string_view text) {
  if (m_current == nullptr) {
    m_wide = m_wide || text.starts_with("Converting from unicode...");
    return;
  }
  for (const KnownRemark& remark : kRemarks) {
    if (!text.starts_with(remark.start)) continue;
    if (!remark.note.empty()) Add(*m_current, std::string(remark.note));
    return;
  }
  Add(*m_current, std::string(text));
}

void MimeNotes::LogData(std::string_view name, std::string_view text) {
  if (m_current == nullptr ||
      !IsOneOf(name, {"invalidQCharset", "invalidBCharset", "invalidCharset"})) {
    return;
  }
  if (PageOf(text) == kUtf8) return;  // said of every word in it
  Add(*m_current,
      fmt::format("a header field is in the charset \"{}\", which is unknown", Shortened(text)));
}

void MimeNotes::entityBegins(const mail::MimeMessage2& entity) {
  m_current = &entity;
  if (m_root != nullptr) return;
  m_root = &entity;
  if (m_wide) Add(entity, "the file is UTF-16");
}

void MimeNotes::headerRead(const mail::MimeMessage2& entity, std::string_view header,
                           std::string_view endMarker) {
  if (header.empty()) {
    if (&entity == m_root) Add(entity, "it has no header: all of it is taken for text");
    return;
  }
  if (endMarker.empty()) Add(entity, "its header has no end: nothing is left for a body");
  if (!IsOneOf(endMarker, {"", "\r\n\r\n", "\n\n"})) {
    Add(entity, "the empty line behind its header is damaged");
  }
  const HeaderDamage damage = CheckHeader(header, endMarker);
  if (damage.withoutColon > 0) {
    Add(entity, fmt::format("{} of its header without a colon left out: \"{}\"",
                            Counted(damage.withoutColon, "line", "lines"),
                            Shortened(damage.firstWithoutColon)));
  }
  if (damage.nuls > 0) {
    Add(entity, fmt::format("{} in its header", Counted(damage.nuls, "NUL byte", "NUL bytes")));
  }
  if (damage.contentTypes > 1) {
    Add(entity, fmt::format("{} Content-Type fields: the last one counts", damage.contentTypes));
  }
  if (!mail::byte_search::isUtf8(header)) {
    const int page = entity.header().m_codePage;  // UTF-8 is that of other fields
    Add(entity, fmt::format("its header has bytes of no named charset: {}",
                            page == kUtf8 ? "a guess" : "read as " + PageName(page)));
  }
}

void MimeNotes::leafRead(const mail::MimeMessage2& entity, const Leaf& leaf) {
  if (entity.isMultipart()) {
    const char* const why = leaf.strSource.empty()        ? "it has no body"
                            : entity.boundary().isEmpty() ? "it names no boundary"
                                                          : "its boundary never occurs";
    Add(entity, fmt::format("{}: there are no parts", why));
    return;
  }
  if (leaf.strSource.empty()) return;
  NoteEncoding(entity, leaf);
  CountBinaryLineEnds(entity, leaf);
  NoteType(entity, leaf);
  NoteText(entity, leaf);
}

void MimeNotes::NoteEncoding(const mail::MimeMessage2& entity, const Leaf& leaf) {
  const std::string_view encoding = leaf.strEncoding;
  if (IsOneOf(encoding, {"base64"})) {
    NoteBase64(entity, CheckBase64(leaf.strSource));
  } else if (IsOneOf(encoding, {"quoted-printable"})) {
    NoteQuotedPrintable(entity, CheckQuotedPrintable(leaf.strSource));
  } else if (IsOneOf(encoding, {"uuencode", "x-uuencode", "x-uue", "uue"})) {
    if (!HasUuBegin(leaf.strSource)) Add(entity, "its uuencoded data has no line \"begin\"");
  } else if (!IsOneOf(encoding, {"", "7bit", "8bit", "binary"})) {
    Add(entity,
        fmt::format("the transfer encoding \"{}\" is unknown: left as it is", Shortened(encoding)));
  }
}

void MimeNotes::NoteBase64(const mail::MimeMessage2& entity, const Base64Damage& damage) {
  if (damage.foreign > 0) {
    Add(entity, fmt::format("base64 with {} passed over",
                            Counted(damage.foreign, "foreign byte", "foreign bytes")));
  }
  if (damage.nul) Add(entity, "a NUL byte ends its base64");
  if (damage.cut) Add(entity, "its base64 is cut: it ends within a group of four");
  if (damage.behind > 0) {
    Add(entity, fmt::format("{} behind the end of its base64 left out",
                            Counted(damage.behind, "byte", "bytes")));
  }
}

void MimeNotes::NoteQuotedPrintable(const mail::MimeMessage2& entity,
                                    const QuotedPrintableDamage& damage) {
  if (damage.broken > 0) {
    Add(entity,
        fmt::format("quoted-printable with {}",
                    Counted(damage.broken, "\"=\" that means nothing", "\"=\" that mean nothing")));
  }
  if (damage.behind > 0) {
    Add(entity, fmt::format("a NUL byte ends its quoted-printable: {} behind it left out",
                            Counted(damage.behind - 1, "byte", "bytes")));
  }
}

// The line ends of binary bodies are bytes like others.
void MimeNotes::CountBinaryLineEnds(const mail::MimeMessage2& entity, const Leaf& leaf) {
  const mail::StringBuffer& type = entity.contentType();
  const bool binary = leaf.nPage == 0 && !type.beginsWith("message/") && !type.beginsWith("text/");
  const bool encoded = !IsOneOf(leaf.strEncoding, {"", "7bit", "8bit", "binary"});
  if (binary && !encoded) m_binaryLineEnds.Add(CountLineEnds(leaf.strSource));
}

// Without a type a body is text in ASCII, which needs no word.
void MimeNotes::NoteType(const mail::MimeMessage2& entity, const Leaf& leaf) {
  if (!entity.contentType().isEmpty()) return;
  const bool field = entity.header().find("content-type") != nullptr;
  const bool mime =
      field || !entity.disposition().isEmpty() || IsOneOf(leaf.strEncoding, {"base64"});
  if (!mime && mail::byte_search::is7bit(leaf.strSource)) return;
  Add(entity, fmt::format("{}: taken for {}",
                          field ? "its Content-Type names no type" : "it has no Content-Type",
                          leaf.nPage != 0 ? "text" : "bytes"));
}

void MimeNotes::NoteText(const mail::MimeMessage2& entity, const Leaf& leaf) {
  const std::string_view body = entity.body().view();
  if (leaf.nPage == 0) {
    const bool spoiled = entity.contentType().beginsWith("text/") && !entity.isAttachment() &&
                         body.find('\0') != kNone;
    if (spoiled) Add(entity, "its text has NUL bytes: kept as it came, not converted");
    return;
  }
  if (body.find('\0') != kNone) Add(entity, "its text has NUL bytes");
  NotePage(entity, leaf);
  if (entity.isUnconverted()) {
    Add(entity, fmt::format("its text could not be converted from {}: kept as it came",
                            PageName(leaf.nPage)));
  } else if (leaf.bLossy) {
    Add(entity, fmt::format("some bytes of its text mean nothing in {}", PageName(leaf.nPage)));
  } else if (!mail::byte_search::isUtf8(body)) {
    Add(entity, "some bytes of its text are no UTF-8");
  }
}

// The charset that was named, beside the one that the text was read in.
void MimeNotes::NotePage(const mail::MimeMessage2& entity, const Leaf& leaf) {
  const std::string used = PageName(leaf.nPage);
  if (const std::string unknown = UnknownCharset(entity); !unknown.empty()) {
    Add(entity, fmt::format("its charset \"{}\" is unknown: read as {}", Shortened(unknown), used));
    return;
  }
  if (mail::byte_search::is7bit(entity.body().view()) && !IsWide(leaf.nNamedPage)) return;
  if (leaf.nNamedPage == 0) {
    const bool byPage = entity.contentType().equals("text/html") &&
                        entity.charset().getCodePage() == leaf.nPage;  // in its META element
    if (!byPage && !m_wide) Add(entity, fmt::format("it names no charset: read as {}", used));
  } else if (leaf.nNamedPage == leaf.nPage && IsSingleByte(leaf.nPage) &&
             !mail::byte_search::is7bit(leaf.strSource) &&
             mail::byte_search::isUtf8(leaf.strSource)) {
    Add(entity, fmt::format("it is read as {}, as it says, and looks like utf-8", used));
  } else if (leaf.nNamedPage != leaf.nPage) {
    Add(entity, fmt::format("its charset is not {} as it says: read as {}",
                            PageName(leaf.nNamedPage), used));
  }
}

void MimeNotes::partsRead(const mail::MimeMessage2& entity, const Parts& parts) {
  // A last delimiter of dashes alone cannot be told from the others.
  const bool dashes = entity.boundary().view().find_first_not_of('-') == kNone;
  if (!parts.bClosed && !dashes)
    Add(entity, "its last delimiter is missing: the end may be cut off");
  if (parts.bMended) Add(entity, "its delimiters spell the boundary in another way");
  if (entity.partCount() == 0) Add(entity, "there is nothing between its delimiters");
  if (!IsBlank(parts.strBehind)) {
    Add(entity, fmt::format("{} behind its last delimiter left out",
                            Counted(parts.strBehind.size(), "byte", "bytes")));
  }
}

}  // namespace client
