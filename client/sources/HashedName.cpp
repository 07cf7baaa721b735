#include "client/sources/HashedName.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

#include "client/sources/Percents.h"
#include "client/sources/SourceFiles.h"
#include "platform/Unicode.h"

namespace client {
namespace {

// Over the bytes of the UTF-16 text, the lower one of a unit first.
std::uint32_t HashOf(std::string_view name) {
  std::uint32_t hash = 1;
  const auto add = [&](unsigned byte) { hash = 0x63c63cd9u * hash + 0x9c39c33du + byte; };
  for (const char16_t unit : platform::Utf8ToUtf16(name)) {
    add(unit & 0xFF);
    add(unit >> 8);
  }
  return hash;
}

std::optional<HashedName> HashedIn(std::string_view name) {
  constexpr std::size_t kDigits = 8;
  if (name.size() < kDigits) return std::nullopt;
  const std::string_view digits = name.substr(name.size() - kDigits);
  if (digits.find_first_not_of("0123456789abcdef") != std::string_view::npos) return std::nullopt;
  std::uint32_t hash = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), hash, 16);
  return HashedName{name.substr(0, name.size() - kDigits), hash};
}

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The texts of an index: "(9F=S$C3$BCd: A?B)", where a dollar and two digits are a byte, and "\"
// takes the next character as it is; behind it a line may end that the text does not.
class IndexTexts {
 public:
  explicit IndexTexts(std::string_view index) : m_rest(index) {}

  // False behind the last.
  bool Next(std::string& text) {
    const std::size_t begin = m_rest.find('(');
    const std::size_t equals = begin == std::string_view::npos ? begin : m_rest.find('=', begin);
    if (equals == std::string_view::npos) return false;
    m_rest.remove_prefix(equals + 1);
    text.clear();
    while (!m_rest.empty() && m_rest.front() != ')') TakeCharacter(text);
    return true;
  }

 private:
  void TakeCharacter(std::string& text) {
    const char c = m_rest.front();
    const bool isByte =
        c == '$' && m_rest.size() > 2 && DigitOf(m_rest[1]) >= 0 && DigitOf(m_rest[2]) >= 0;
    if (isByte) {
      text += static_cast<char>(DigitOf(m_rest[1]) * 16 + DigitOf(m_rest[2]));
      m_rest.remove_prefix(3);
    } else if (c == '\\' && m_rest.size() > 1) {
      if (m_rest[1] != '\n' && m_rest[1] != '\r') text += m_rest[1];
      m_rest.remove_prefix(m_rest.substr(1).starts_with("\r\n") ? 3 : 2);
    } else {
      text += c;
      m_rest.remove_prefix(1);
    }
  }

  std::string_view m_rest;
};

std::optional<std::string> InTexts(std::string_view index, const HashedName& hashed) {
  IndexTexts texts(index);
  for (std::string text; texts.Next(text);) {
    if (text.starts_with(hashed.begin) && HashOf(text) == hashed.hash) return text;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> NameInIndex(std::string_view index, std::string_view name) {
  const auto hashed = HashedIn(name);
  return hashed ? InTexts(index, *hashed) : std::nullopt;
}

void TrueNames::Take(std::string_view list, Texts& texts) {
  constexpr std::string_view kAround = "\"/";
  constexpr std::size_t kOfEach = 100;  // bytes that a text takes besides its own
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find_first_of(kAround, begin), list.size());
    std::string text = WithoutPercents(list.substr(begin, end - begin));
    begin = end + 1;
    const std::size_t size = text.size() + kOfEach;
    if (size > m_room) continue;
    const std::uint32_t hash = HashOf(text);
    if (texts.emplace(hash, std::move(text)).second) m_room -= size;
  }
}

const TrueNames::Texts& TrueNames::TextsOf(const std::string& profile) {
  const auto [known, isNew] = m_texts.try_emplace(profile);
  if (isNew) {
    for (const char* list : {"/folderCache.json", "/folderTree.json"}) {
      Take(TextOfFile(profile + list), known->second);
    }
  }
  return known->second;
}

// Of the profile that a folder of mail lies in: "ImapMail/HOST/NAME.sbd" and so on.
std::optional<std::string> TrueNames::InLists(std::string folder, const HashedName& hashed) {
  constexpr int kMostLevels = 32;
  for (int level = 0; level < kMostLevels && !folder.empty(); ++level) {
    if (HasEntry(folder, "prefs.js")) {
      const Texts& texts = TextsOf(folder);
      const auto text = texts.lower_bound({hashed.hash, std::string(hashed.begin)});
      const bool isIt = text != texts.end() && text->first == hashed.hash &&
                        text->second.starts_with(hashed.begin);
      return isIt ? std::optional(text->second) : std::nullopt;
    }
    folder.resize(std::min(folder.rfind('/'), folder.size() - 1));
  }
  return std::nullopt;
}

std::string TrueNames::Of(const std::string& folder, std::string_view name) {
  const auto hashed = HashedIn(name);
  if (!hashed) return std::string(name);
  auto own = InTexts(TextOfFile(folder + "/" + std::string(name) + ".msf"), *hashed);
  if (!own) own = InLists(folder, *hashed);
  return own.value_or(std::string(name));
}

}  // namespace client
