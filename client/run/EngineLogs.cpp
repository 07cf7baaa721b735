#include "client/run/EngineLogs.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <set>
#include <string_view>
#include <system_error>

#include "base/AsciiText.h"
#include "client/sources/SourceFiles.h"
#include "pipeline/Losses.h"
#include "pipeline/ST_EML_INFO.h"
#include "platform/NarrowText.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr char kTraceName[] = "TarnyEngine.txt";
// What stands in the trace once the server has an item: lines of their own. A subject that looks
// like one stands behind its label. For contacts and lists it is the same line twice in one try,
// with what the engine tells of its waits between.
struct SavedLine {
  std::int32_t type;
  std::u16string_view text;
  int times = 1;
};
constexpr auto kSavedLines = std::to_array<SavedLine>({
    {TYPE_EMAIL, u"\n Email Save out \r\n"},
    {TYPE_EMAIL, u"\nCatch Email Save out \r\n"},
    {TYPE_CALENDER, u"\n Save( TYPE_CALENDER out \r\n"},
    {TYPE_CALENDER, u"\ncatch  try TYPE_CALENDER Save( out \r\n"},
    {TYPE_TASK, u"\n task Save out   \r\n"},
    {TYPE_TASK, u"\n catch task Save out   \r\n"},
    {TYPE_CONTACT, u"\n TYPE_CONTACT Save IN   \r\n", 2},
    {TYPE_CONTACT, u"\nCatch TYPE_CONTACT SAVE OUT \r\n"},
    {TYPE_DIST_LIST, u"\n TYPE_CONTACT Save IN   \r\n", 2},
});
constexpr std::u16string_view kTryBegins = u"\nImportItem_0\r\n";
// What stands there before anything of an item leaves.
constexpr auto kSaveBegins =
    std::to_array<std::u16string_view>({u"Email Save in ", u" TYPE_CALENDER Save( in ",
                                        u" task Save in   ", u" TYPE_CONTACT Save IN   "});
// Of a mail that is sent again without its MIME content.
constexpr std::u16string_view kSendsReduced = u"\nCatch Email Save in \r\n";
constexpr std::u16string_view kReducedToNothing = u"\nThe reduced mail has no text\r\n";

// What lines of the trace begin with that tell of something left out, and what a remark says of it.
struct LossLine {
  std::u16string_view start;
  std::string_view remark;
};
constexpr auto kLossLines = std::to_array<LossLine>({
    {u"The descriptor holds a wrong value, left out: ", "left out for a wrong value: "},
    {u"ItemProps.json holds a wrong value, left out: ", "left out for a wrong value: "},
    {kGoesWithout, "goes without: "},
});

std::string_view WithoutLabel(std::string_view line) {
  for (const std::string_view label : {"Error Message :", "Message :"}) {
    if (line.starts_with(label)) return mail::trimmed(line.substr(label.size()));
  }
  return line;
}

std::u16string TextOf(std::string_view bytes) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t n = 0; n < units.size(); ++n) {
    units[n] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * n]) |
                                     static_cast<unsigned char>(bytes[2 * n + 1]) << 8);
  }
  return units;
}

// That line, each time with the end of another one in front.
bool HasLine(std::u16string_view trace, std::u16string_view line, int times) {
  std::size_t at = trace.find(line);
  while (at != trace.npos && --times > 0) {
    at = trace.find(line, at + line.size() - 1);  // the line feed may be its own last unit
  }
  return at != trace.npos;
}

std::u16string_view LastTryIn(std::u16string_view trace) {
  const std::size_t at = trace.rfind(kTryBegins);
  return at == trace.npos ? trace : trace.substr(at);
}

Reduction ReductionIn(std::u16string_view trace) {
  if (trace.find(kSendsReduced) == trace.npos) return Reduction::kNone;
  const bool nothing = trace.find(kReducedToNothing) != trace.npos;
  return nothing ? Reduction::kToNothing : Reduction::kToText;
}

}  // namespace

EngineLogs::EngineLogs(const std::string& runFolder)
    : m_status{runFolder + "/" + kStatusLogName}, m_trace{runFolder + "/" + kTraceName} {}

void EngineLogs::Mark() {
  m_status.Mark();
  m_trace.Mark();
}

std::string EngineLogs::LastStatus() const {
  const std::string added = m_status.Added();
  const std::string_view text = mail::trimmed(added);
  const std::string_view line = mail::trimmed(text.substr(text.find_last_of('\n') + 1));
  return platform::Utf16ToUtf8(platform::NarrowToWide(WithoutLabel(line)));
}

bool EngineLogs::HasSaved(std::int32_t type) const {
  const std::u16string trace = TextOf(m_trace.Added());
  return std::ranges::any_of(kSavedLines, [&](const SavedLine& line) {
    if (line.type != type) return false;
    // The first of two tries may have saved the item, but two that failed each leave a line of two.
    return HasLine(line.times > 1 ? LastTryIn(trace) : std::u16string_view(trace), line.text,
                   line.times);
  });
}

bool EngineLogs::MayHaveSent() const {
  const std::u16string trace = TextOf(m_trace.Added());
  return trace.empty() || std::ranges::any_of(kSaveBegins, [&](std::u16string_view begin) {
           return trace.find(begin) != trace.npos;
         });
}

std::string EngineLogs::LeftOut() const {
  const std::u16string trace = TextOf(m_trace.Added());
  std::string text;
  std::string_view said;
  std::set<std::u16string_view> told;  // an item that is tried twice tells it twice
  for (const LossLine& loss : kLossLines) {
    const std::u16string start = u"\n" + std::u16string(loss.start);
    for (std::size_t at = trace.find(start); at != trace.npos; at = trace.find(start, at)) {
      at += start.size();
      const std::size_t end = std::min(trace.find(u"\r\n", at), trace.size());
      const std::u16string_view name = std::u16string_view(trace).substr(at, end - at);
      if (!told.insert(name).second) continue;
      if (said == loss.remark) {
        text += ", ";
      } else {
        text.append(text.empty() ? "" : "; ").append(loss.remark);
      }
      text += platform::Utf16ToUtf8(name);
      said = loss.remark;
    }
  }
  return text;
}

Reduction EngineLogs::SentReduced() const { return ReductionIn(TextOf(m_trace.Added())); }

Reduction EngineLogs::EndedReduced() const {
  constexpr std::uintmax_t kTail = 1 << 16;  // bytes: the steps of one item take fewer
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(m_trace.path, error);
  if (error) return Reduction::kNone;
  // Whole units are counted from its end: a full disk may have taken half of one before.
  const std::uintmax_t offset = size < kTail ? size % 2 : size - kTail;
  const std::u16string tail = TextOf(Log{m_trace.path, offset}.Added());
  const std::size_t item = tail.rfind(kTryBegins);
  if (item == tail.npos) return Reduction::kNone;
  return ReductionIn(std::u16string_view(tail).substr(item));
}

void EngineLogs::Log::Mark() {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  offset = error ? 0 : size;
}

std::string EngineLogs::Log::Added() const {
  try {
    return ReadFileRange(path, offset, std::numeric_limits<std::uint64_t>::max());
  } catch (const SourceError&) {
    return {};
  }
}

}  // namespace client
