#include "client/show/MimeNotes.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/show/EntityNotes.h"
#include "client/show/OutputText.h"
#include "client/show/RemarkNotes.h"
#include "mime/tree/MimeInput.h"
#include "mime/tree/MimeMessage2.h"

namespace client {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool IsBlank(std::string_view text) { return mail::trimmed(text).empty(); }

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
  return mail::trimmed(source).starts_with("--");
}

}  // namespace

bool MimeNotes::Load(std::string_view source, mail::MimeMessage2& root) {
  mail::MimeMessage2::LoadOptions options;
  options.pObserver = this;
  const bool loaded = mail::loadMimeInput(root, source, *this, options);
  Finish(source);
  return loaded;
}

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

void MimeNotes::AddAll(const mail::MimeMessage2& entity, std::vector<std::string> texts) {
  for (std::string& text : texts) Add(entity, std::move(text));
}

void MimeNotes::Remark(std::string_view text) {
  if (m_current == nullptr) {
    m_wide = m_wide || text.starts_with("Converting from unicode...");
    return;
  }
  if (auto note = NoteOfRemark(text)) Add(*m_current, std::move(*note));
}

void MimeNotes::LogData(std::string_view name, std::string_view text) {
  if (m_current == nullptr) return;
  if (auto note = NoteOfData(name, text)) Add(*m_current, std::move(*note));
}

void MimeNotes::entityBegins(const mail::MimeMessage2& entity) {
  m_current = &entity;
  if (m_root != nullptr) return;
  m_root = &entity;
  if (m_wide) Add(entity, "the file is UTF-16");
}

void MimeNotes::headerRead(const mail::MimeMessage2& entity, std::string_view header,
                           std::string_view endMarker) {
  if (!header.empty()) return AddAll(entity, HeaderNotes(entity, header, endMarker));
  if (&entity == m_root) Add(entity, "it has no header: all of it is taken for text");
}

void MimeNotes::leafRead(const mail::MimeMessage2& entity, const Leaf& leaf) {
  if (entity.isMultipart()) return Add(entity, WhyNoParts(entity, leaf));
  if (leaf.strSource.empty()) return;
  if (IsBinary(entity, leaf)) m_binaryLineEnds.Add(CountLineEnds(leaf.strSource));
  AddAll(entity, BodyNotes(entity, leaf, m_wide));
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
