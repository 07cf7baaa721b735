#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

// Judges pages of our own making, which close every tag that has an end.
namespace html_balance {

// "" for a page whose tags are balanced, else what is wrong.
inline std::string Fault(std::string_view page) {
  constexpr std::array<std::string_view, 4> kVoid = {"br", "hr", "img", "!DOCTYPE"};
  std::vector<std::string_view> open;
  while (true) {
    const std::size_t start = page.find('<');
    if (start == std::string_view::npos) break;
    page.remove_prefix(start + 1);
    const std::size_t end = page.find('>');
    if (end == std::string_view::npos) return "a tag without an end";
    const std::string_view tag = page.substr(0, end);
    const bool closes = tag.starts_with('/');
    std::string_view name = tag.substr(closes ? 1 : 0);
    name = name.substr(0, name.find(' '));
    if (closes) {
      if (open.empty() || open.back() != name) return "stray </" + std::string(name) + ">";
      open.pop_back();
    } else if (std::ranges::find(kVoid, name) == kVoid.end()) {
      open.push_back(name);
    }
  }
  return open.empty() ? "" : "<" + std::string(open.back()) + "> stays open";
}

inline bool IsAscii(std::string_view page) {
  return std::ranges::all_of(page, [](char c) {
    return static_cast<unsigned char>(c) < 0x7F && (c >= 0x20 || c == '\n' || c == '\t');
  });
}

}  // namespace html_balance
