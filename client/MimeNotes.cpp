#include "client/MimeNotes.h"

#include <algorithm>
#include <array>

namespace client {
namespace {

// How remarks begin that are made about sound mail as well, or while charsets are tried out.
constexpr std::array<std::string_view, 14> kOrdinary = {
    "clearing charset based on content-type.",
    "treating body as binary",
    "No charset specified.",
    "Converting by using",
    "Converting to utf-8",
    "Converting from utf-8",
    "Converting from iso-2022",
    "converting from utf-",
    "convertFromUnicode",
    "convertToUnicode",
    "ensureHash",
    "imperfect conversion",
    "iso-2022-jp text",
    "not all characters have a place",
};

}  // namespace

void MimeNotes::Add(std::string_view text) {
  const bool ordinary =
      std::any_of(kOrdinary.begin(), kOrdinary.end(),
                  [&](std::string_view start) { return text.starts_with(start); });
  if (ordinary) return;
  const auto known = std::find_if(m_notes.begin(), m_notes.end(),
                                  [&](const auto& note) { return note.first == text; });
  if (known != m_notes.end()) {
    ++known->second;
  } else if (m_notes.size() < kMaxNotes) {
    m_notes.emplace_back(text, 1);
  }
}

}  // namespace client
