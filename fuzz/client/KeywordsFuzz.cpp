#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "client/sources/CourierKeywords.h"
#include "client/sources/DovecotKeywords.h"
#include "client/sources/MailState.h"
#include "client/sources/SpecialUse.h"

// What servers keep beside the mails of a Maildir: Dovecot's and Courier's keywords, and what
// folders are for. No answer says more than the file does.

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckKeyword(const std::string& keyword, std::string_view text) {
  Require(text.find(keyword) != std::string_view::npos);
  client::MailState state;
  client::AddKeyword(keyword, state);
  Require(state.categories.size() <= 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const client::DovecotKeywords byLetter(text);
  for (int letter = 0; letter < 256; ++letter) {
    const std::string& keyword = byLetter.Of(static_cast<char>(letter));
    Require(keyword.empty() || (letter >= 'a' && letter <= 'z'));
    CheckKeyword(keyword, text);
  }
  client::CourierKeywords byName;
  byName.TakeList(text);
  for (const char* const name : {"1.a:2,S", "2.b", "", ":2,"}) {
    for (const std::string& keyword : byName.Of(name)) CheckKeyword(keyword, text);
  }
  client::SpecialUse uses;
  uses.TakeAttributes(text.substr(text.find('\n') + 1));
  Require(!uses.Of(text) || text.find("/specialuse") != std::string_view::npos);
  return 0;
}
