#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "client/sources/Emlx.h"
#include "client/sources/FolderIndex.h"
#include "client/sources/MaildirName.h"
#include "client/sources/MhMarks.h"
#include "client/sources/MhSequences.h"
#include "client/sources/TagNames.h"

// What stores of several programs know of mails: the files of Apple Mail, which hold the mail as
// well, names in Maildirs, sequences and marks of MH folders, the tags and the indexes of a
// Thunderbird. No answer lies outside of what was read, and none depends on how it was cut.

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckEmlx(std::string_view file) {
  const auto place = client::EmlxPlaceOf(file);
  Require(!place || (place->offset > 0 && place->offset <= file.size()));
  if (place) {
    const std::uint64_t length = client::WithTrueLength(*place, file).length;
    const std::uint64_t left = file.size() - place->offset;
    Require(length == place->length || length <= left);
    // Whatever is no list and behind the mail is blank.
    const std::string_view behind = file.substr(place->offset + std::min(length, left));
    Require(behind.find_first_not_of(" \t\r\n\v\f") == std::string_view::npos ||
            behind.find("<plist") != std::string_view::npos ||
            behind.find("<?xml") != std::string_view::npos);
  }
  const std::string_view list = place ? file.substr(place->offset) : file;
  const client::EmlxState state = client::ReadEmlxState(list);
  const bool hasFlags = list.find("<key>flags</key>") != std::string_view::npos;
  Require(hasFlags || (state.read && !state.state.deleted));
}

void CheckNames(std::string_view text) {
  const client::MaildirName name = client::ParseMaildirName(text);
  Require(name.letters.size() <= text.size());
  Require(text.starts_with(name.base) && (name.hasState || name.base == text));
  Require(name.base.starts_with(client::LastingPart(text)));
  client::MailState state;
  state.categories = {"Important", "Later"};
  const client::TagNames tags(text);
  tags.Apply(state);
  Require(!state.categories.empty() && state.categories.size() <= 2);
}

void CheckMh(std::string_view text) {
  const client::MhSequences sequences(text);
  const client::MhMarks marks(text);
  for (const std::uint64_t number : {0ull, 1ull, 7ull, 0xFFFFFFFFull, ~0ull}) {
    (void)sequences.Has("unseen", number);
    Require(text.size() >= 12 || !marks.IsUnread(number));
  }
}

void CheckIndex(std::string_view text) {
  const client::FolderIndex whole = client::FolderIndexOf([&](const auto& take) { take(text); });
  const client::FolderIndex cut = client::FolderIndexOf([&](const auto& take) {
    for (std::size_t at = 0; at < text.size(); at += 3) take(text.substr(at, 3));
  });
  Require(whole.mails == cut.mails && whole.isSearch == cut.isSearch &&
          whole.isLevel == cut.isLevel);
  Require(whole.mails.value_or(0) == 0 || text.find("numMsgs") != std::string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  CheckEmlx(input);
  CheckNames(input);
  CheckMh(input);
  CheckIndex(input);
  return 0;
}
