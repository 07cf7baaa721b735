#include "client/show/EntityNotes.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/CharsetNames.h"
#include "charset/CodePages.h"
#include "client/show/OutputText.h"
#include "client/show/SourceChecks.h"
#include "mime/header/ParameterList.h"

namespace client {
namespace {

using Leaf = mail::LoadObserver::Leaf;
using Notes = std::vector<std::string>;

constexpr std::size_t kNone = std::string_view::npos;

std::string PageName(int page) {
  mail::StringBuffer name;
  if (!mail::codePageToName(page, name)) return fmt::format("code page {}", page);
  return std::string(name.view());
}

// Pages in which any bytes beyond ASCII may be text; those with longer characters show what they
// are.
bool IsSingleByte(int page) {
  return mail::code_page::isWindowsOrIso8859(static_cast<unsigned>(page)) ||
         page == mail::code_page::kKoi8R || page == mail::code_page::kKoi8U;
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

// Of a transfer encoding that leaves the bytes as they are.
bool IsPlain(std::string_view encoding) {
  return IsOneOf(encoding, {"", "7bit", "8bit", "binary"});
}

void NoteBase64(const Base64Damage& damage, Notes& notes) {
  if (damage.foreign > 0) {
    notes.push_back(fmt::format("base64 with {} passed over",
                                Counted(damage.foreign, "foreign byte", "foreign bytes")));
  }
  if (damage.nul) notes.emplace_back("a NUL byte ends its base64");
  if (damage.cut) notes.emplace_back("its base64 is cut: it ends within a group of four");
  if (damage.behind > 0) {
    notes.push_back(fmt::format("{} behind the end of its base64 left out",
                                Counted(damage.behind, "byte", "bytes")));
  }
}

void NoteQuotedPrintable(const QuotedPrintableDamage& damage, Notes& notes) {
  if (damage.broken > 0) {
    notes.push_back(
        fmt::format("quoted-printable with {}",
                    Counted(damage.broken, "\"=\" that means nothing", "\"=\" that mean nothing")));
  }
  if (damage.behind > 0) {
    notes.push_back(fmt::format("a NUL byte ends its quoted-printable: {} behind it left out",
                                Counted(damage.behind - 1, "byte", "bytes")));
  }
}

void NoteEncoding(std::string_view encoding, std::string_view source, Notes& notes) {
  if (IsOneOf(encoding, {"base64"})) {
    NoteBase64(CheckBase64(source), notes);
  } else if (IsOneOf(encoding, {"quoted-printable"})) {
    NoteQuotedPrintable(CheckQuotedPrintable(source), notes);
  } else if (IsOneOf(encoding, {"uuencode", "x-uuencode", "x-uue", "uue"})) {
    if (!HasUuBegin(source)) notes.emplace_back("its uuencoded data has no line \"begin\"");
  } else if (!IsPlain(encoding)) {
    notes.push_back(
        fmt::format("the transfer encoding \"{}\" is unknown: left as it is", Shortened(encoding)));
  }
}

// Without a type a body is text in ASCII, which needs no word.
void NoteType(const mail::MimeMessage2& entity, const Leaf& leaf, Notes& notes) {
  if (!entity.contentType().isEmpty()) return;
  const bool field = entity.header().find("content-type") != nullptr;
  const bool mime =
      field || !entity.disposition().isEmpty() || IsOneOf(leaf.strEncoding, {"base64"});
  if (!mime && mail::byte_search::is7bit(leaf.strSource)) return;
  notes.push_back(fmt::format("{}: taken for {}",
                              field ? "its Content-Type names no type" : "it has no Content-Type",
                              leaf.nPage != 0 ? "text" : "bytes"));
}

// The charset that was named, beside the one that the text was read in.
void NotePage(const mail::MimeMessage2& entity, const Leaf& leaf, bool isFileWide, Notes& notes) {
  const std::string used = PageName(leaf.nPage);
  if (const std::string unknown = UnknownCharset(entity); !unknown.empty()) {
    notes.push_back(
        fmt::format("its charset \"{}\" is unknown: read as {}", Shortened(unknown), used));
    return;
  }
  if (mail::byte_search::is7bit(entity.body().view()) &&
      !mail::code_page::isWide(static_cast<unsigned>(leaf.nNamedPage)))
    return;
  if (leaf.nNamedPage == 0) {
    const bool byPage = entity.contentType().equals("text/html") &&
                        entity.charset().getCodePage() == leaf.nPage;  // in its META element
    if (!byPage && !isFileWide)
      notes.push_back(fmt::format("it names no charset: read as {}", used));
  } else if (leaf.nNamedPage == leaf.nPage && IsSingleByte(leaf.nPage) &&
             !mail::byte_search::is7bit(leaf.strSource) &&
             mail::byte_search::isUtf8(leaf.strSource)) {
    notes.push_back(fmt::format("it is read as {}, as it says, and looks like utf-8", used));
  } else if (leaf.nNamedPage != leaf.nPage) {
    notes.push_back(fmt::format("its charset is not {} as it says: read as {}",
                                PageName(leaf.nNamedPage), used));
  }
}

void NoteText(const mail::MimeMessage2& entity, const Leaf& leaf, bool isFileWide, Notes& notes) {
  const std::string_view body = entity.body().view();
  if (leaf.nPage == 0) {
    const bool spoiled = entity.contentType().beginsWith("text/") && !entity.isAttachment() &&
                         body.find('\0') != kNone;
    if (spoiled) notes.emplace_back("its text has NUL bytes: kept as it came, not converted");
    return;
  }
  if (body.find('\0') != kNone) notes.emplace_back("its text has NUL bytes");
  NotePage(entity, leaf, isFileWide, notes);
  if (entity.isUnconverted()) {
    notes.push_back(fmt::format("its text could not be converted from {}: kept as it came",
                                PageName(leaf.nPage)));
  } else if (leaf.bLossy) {
    notes.push_back(fmt::format("some bytes of its text mean nothing in {}", PageName(leaf.nPage)));
  } else if (!mail::byte_search::isUtf8(body)) {
    notes.emplace_back("some bytes of its text are no UTF-8");
  }
}

}  // namespace

std::vector<std::string> HeaderNotes(const mail::MimeMessage2& entity, std::string_view header,
                                     std::string_view endMarker) {
  Notes notes;
  if (endMarker.empty()) notes.emplace_back("its header has no end: nothing is left for a body");
  if (!IsOneOf(endMarker, {"", "\r\n\r\n", "\n\n"})) {
    notes.emplace_back("the empty line behind its header is damaged");
  }
  const HeaderDamage damage = CheckHeader(header, endMarker);
  if (damage.withoutColon > 0) {
    notes.push_back(fmt::format("{} of its header without a colon left out: \"{}\"",
                                Counted(damage.withoutColon, "line", "lines"),
                                Shortened(damage.firstWithoutColon)));
  }
  if (damage.nuls > 0) {
    notes.push_back(fmt::format("{} in its header", Counted(damage.nuls, "NUL byte", "NUL bytes")));
  }
  if (damage.contentTypes > 1) {
    notes.push_back(
        fmt::format("{} Content-Type fields: the last one counts", damage.contentTypes));
  }
  if (!mail::byte_search::isUtf8(header)) {
    const int page = entity.header().m_codePage;  // UTF-8 is that of other fields
    notes.push_back(
        fmt::format("its header has bytes of no named charset: {}",
                    page == mail::code_page::kUtf8 ? "a guess" : "read as " + PageName(page)));
  }
  return notes;
}

std::vector<std::string> BodyNotes(const mail::MimeMessage2& entity, const Leaf& leaf,
                                   bool isFileWide) {
  Notes notes;
  NoteEncoding(leaf.strEncoding, leaf.strSource, notes);
  NoteType(entity, leaf, notes);
  NoteText(entity, leaf, isFileWide, notes);
  return notes;
}

std::string WhyNoParts(const mail::MimeMessage2& entity, const Leaf& leaf) {
  const char* const why = leaf.strSource.empty()        ? "it has no body"
                          : entity.boundary().isEmpty() ? "it names no boundary"
                                                        : "its boundary never occurs";
  return fmt::format("{}: there are no parts", why);
}

bool IsBinary(const mail::MimeMessage2& entity, const Leaf& leaf) {
  const mail::StringBuffer& type = entity.contentType();
  return leaf.nPage == 0 && !type.beginsWith("message/") && !type.beginsWith("text/") &&
         IsPlain(leaf.strEncoding);
}

}  // namespace client
