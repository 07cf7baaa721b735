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

constexpr std::size_t kDigits = 8;              // of the hash
constexpr std::uint64_t kMostIndex = 16 << 20;  // bytes

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

std::optional<std::uint32_t> HashAtEnd(std::string_view name) {
  if (name.size() < kDigits) return std::nullopt;
  const std::string_view digits = name.substr(name.size() - kDigits);
  if (digits.find_first_not_of("0123456789abcdef") != std::string_view::npos) return std::nullopt;
  std::uint32_t hash = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), hash, 16);
  return hash;
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

// The cut name and its hash.
struct Hashed {
  std::string_view begin;
  std::uint32_t hash;

  bool IsOf(std::string_view text) const { return text.starts_with(begin) && HashOf(text) == hash; }
};

std::optional<std::string> InTexts(std::string_view index, const Hashed& hashed) {
  IndexTexts texts(index);
  for (std::string text; texts.Next(text);) {
    if (hashed.IsOf(text)) return text;
  }
  return std::nullopt;
}

std::optional<std::string> InIndex(const std::string& path, const Hashed& hashed) {
  try {
    return InTexts(ReadFileRange(path, 0, kMostIndex), hashed);
  } catch (const SourceError&) {  // it goes by its name on disk, unless that stands elsewhere
    return std::nullopt;
  }
}

// Among the texts of a list, which may be addresses, each level of them in percents.
std::optional<std::string> InList(const std::string& path, const Hashed& hashed) {
  std::string list;
  try {
    list = ReadFileRange(path, 0, kMostIndex);
  } catch (const SourceError&) {
    return std::nullopt;
  }
  constexpr std::string_view kAround = "\"/";
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find_first_of(kAround, begin), list.size());
    std::string text = WithoutPercents(std::string_view(list).substr(begin, end - begin));
    if (hashed.IsOf(text)) return text;
    begin = end + 1;
  }
  return std::nullopt;
}

// Of the profile that a folder of mail lies in: "ImapMail/HOST/NAME.sbd" and so on.
std::optional<std::string> InListsOfProfile(std::string folder, const Hashed& hashed) {
  constexpr int kMostLevels = 32;
  for (int level = 0; level < kMostLevels && !folder.empty(); ++level) {
    if (HasEntry(folder, "prefs.js")) {
      const auto name = InList(folder + "/folderCache.json", hashed);
      return name ? name : InList(folder + "/folderTree.json", hashed);
    }
    folder.resize(std::min(folder.rfind('/'), folder.size() - 1));
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> NameInIndex(std::string_view index, std::string_view name) {
  const std::optional<std::uint32_t> hash = HashAtEnd(name);
  if (!hash) return std::nullopt;
  return InTexts(index, {name.substr(0, name.size() - kDigits), *hash});
}

std::string TrueFolderName(const std::string& folder, std::string_view name) {
  const std::optional<std::uint32_t> hash = HashAtEnd(name);
  if (!hash) return std::string(name);
  const Hashed hashed{name.substr(0, name.size() - kDigits), *hash};
  auto own = InIndex(folder + "/" + std::string(name) + ".msf", hashed);
  if (!own) own = InListsOfProfile(folder, hashed);
  return own.value_or(std::string(name));
}

}  // namespace client
