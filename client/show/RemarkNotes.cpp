#include "client/show/RemarkNotes.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "charset/CharsetNames.h"
#include "charset/CodePages.h"
#include "client/show/OutputText.h"

namespace client {
namespace {

// How remarks begin, and the note, which may be none.
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

constexpr auto kUnknownCharset =
    std::to_array<std::string_view>({"invalidQCharset", "invalidBCharset", "invalidCharset"});

int PageOf(std::string_view charset) {
  mail::StringBuffer name(charset);
  return mail::nameToCodePage(name);
}

}  // namespace

std::optional<std::string> NoteOfRemark(std::string_view remark) {
  for (const KnownRemark& known : kRemarks) {
    if (!remark.starts_with(known.start)) continue;
    if (known.note.empty()) return std::nullopt;
    return std::string(known.note);
  }
  return std::string(remark);
}

std::optional<std::string> NoteOfData(std::string_view name, std::string_view value) {
  const bool charset =
      std::any_of(kUnknownCharset.begin(), kUnknownCharset.end(),
                  [&](std::string_view other) { return mail::equalsNoCase(name, other); });
  if (!charset || PageOf(value) == mail::code_page::kUtf8)
    return std::nullopt;  // UTF-8: said of every word in it
  return fmt::format("a header field is in the charset \"{}\", which is unknown", Shortened(value));
}

}  // namespace client
