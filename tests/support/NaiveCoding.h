#pragma once

#include <cctype>
#include <string>
#include <string_view>
#include <vector>

// The transfer encodings written the plain way, a byte at a time: judges of the fast ones.
namespace naive {

inline constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string DecodeBase64(std::string_view text) {
  std::string bytes;
  unsigned bits = 0, count = 0;
  for (const char ch : text) {
    if (ch == '=' || ch == '\0') break;
    const auto value = kAlphabet.find(ch);
    if (value == kAlphabet.npos) continue;
    bits = bits << 6 | static_cast<unsigned>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  return bytes;
}

inline std::string Base64(std::string_view bytes) {
  std::string text;
  for (std::size_t n = 0; n < bytes.size(); n += 3) {
    unsigned bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (n + i < bytes.size() ? static_cast<unsigned char>(bytes[n + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += n + i <= bytes.size() ? kAlphabet[bits >> (18 - 6 * i) & 63] : '=';
    }
  }
  return text;
}

inline std::string EncodeBase64(std::string_view bytes, std::size_t line) {
  const std::string text = Base64(bytes);
  std::string lines;
  for (std::size_t n = 0; n < text.size(); n += line) {
    lines.append(text, n, line).append("\r\n");
  }
  return lines;
}

inline std::string Escape(char ch) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(ch);
  return {'=', digits[byte / 16], digits[byte % 16]};
}

inline std::string EncodeQuotedPrintable(std::string_view in, std::size_t line) {
  const std::size_t most = line - 1;
  std::string out;
  std::size_t column = 0;
  for (std::size_t n = 0; n < in.size();) {
    const char ch = in[n];
    const auto rest = in.substr(n + 1);
    const bool atEnd = rest.empty() || rest.starts_with("\r\n");
    if (in.substr(n).starts_with("\r\n")) {
      out += "\r\n";
      column = 0;
      n += 2;
      continue;
    }
    bool plain = (ch >= 33 && ch <= 126 && ch != '=') || ((ch == ' ' || ch == '\t') && !atEnd);
    if (column == 0 && (ch == '.' || (ch == 'F' && rest.starts_with("rom ")))) {
      plain = false;
    } else if (!plain && column > 0 && column + 2 >= most) {
      out += "=\r\n";
      column = 0;
    }
    out += plain ? std::string(1, ch) : Escape(ch);
    column += plain ? 1 : 3;
    ++n;
    if (column >= most && !in.substr(n).starts_with("\r\n")) {
      out += "=\r\n";
      column = 0;
    }
  }
  return out;
}

inline bool IsHex(char ch) { return std::isxdigit(static_cast<unsigned char>(ch)) != 0; }

inline std::string DecodeLine(std::string_view line) {
  std::string low(line), out;  // low: without the high bits
  for (char& ch : low) ch = static_cast<char>(ch & 0x7F);
  const auto isByte = [&](std::size_t n) {
    return n + 2 < low.size() && low[n] == '=' && IsHex(low[n + 1]) && IsHex(low[n + 2]);
  };
  const auto number = [&](std::size_t n, std::size_t digits) {
    return std::stoi(low.substr(n, digits), nullptr, 16);
  };
  for (std::size_t n = 0; n < line.size();) {
    if (low[n] != '=') {
      out += line[n++];
    } else if (!isByte(n)) {
      out += line.substr(n, 2);
      n += 2;
    } else if (number(n + 1, 2) == 0 && n + 7 < low.size() && line[n + 7] == ';' &&
               IsHex(low[n + 3]) && IsHex(low[n + 4]) && IsHex(low[n + 5]) && IsHex(low[n + 6])) {
      out += "&#" + std::to_string(number(n + 3, 4)) + ";";
      n += 8;
    } else if (std::tolower(low[n + 1]) == std::tolower(low[n + 2]) && isByte(n + 7) &&
               (low.substr(n + 3, 4) == "FFFF" || low.substr(n + 3, 4) == "ffff")) {
      n += 7;
    } else {
      out += static_cast<char>(number(n + 1, 2));
      n += 3;
    }
  }
  return out;
}

inline std::string DecodeQuotedPrintable(std::string_view in) {
  std::string out;
  in = in.substr(0, in.find('\0'));
  while (!in.empty()) {
    const bool ended = in.find('\n') != in.npos;
    std::string line(in.substr(0, in.find('\n')));
    in.remove_prefix(ended ? line.size() + 1 : line.size());
    const auto last = line.find_last_not_of(" \t\r\n");
    line.resize((last != line.npos ? last : line.find_last_not_of("\r\n")) + 1);
    const bool soft = line.ends_with('=');
    if (soft) line.pop_back();
    out += DecodeLine(line);
    if (ended && !soft) out += "\r\n";
  }
  return out;
}

inline std::string DecodeQ(std::string_view in) {
  std::string out;
  for (std::size_t n = 0; n < in.size(); ++n) {
    if (in[n] == '=' && n + 2 < in.size() && IsHex(in[n + 1]) && IsHex(in[n + 2])) {
      out += static_cast<char>(std::stoi(std::string(in.substr(n + 1, 2)), nullptr, 16));
      n += 2;
    } else {
      out += in[n] == '_' ? ' ' : in[n];
    }
  }
  return out;
}

// Neighbouring words of base64, of which only the last may hold a "=": apart, or as one text where
// that is what they must have been.
inline std::string DecodeBase64Words(const std::vector<std::string>& words) {
  std::string joined, apart;
  bool cut = false, left = false;
  for (const auto& word : words) {
    joined += word;
    apart += DecodeBase64(word);
    if (&word == &words.back()) break;
    std::string letters;
    for (const char ch : word)
      letters += kAlphabet.find(ch) != kAlphabet.npos ? std::string(1, ch) : "";
    const auto value = letters.empty() ? 0 : kAlphabet.find(letters.back());
    const auto over = letters.size() % 4;
    left = left || over != 0;
    cut = cut || over == 1 || (over == 2 && value % 16 != 0) || (over == 3 && value % 4 != 0);
  }
  std::size_t letters = 0, pads = 0;
  for (const char ch : joined) {
    letters += kAlphabet.find(ch) != kAlphabet.npos;
    pads += ch == '=';
  }
  const bool whole = pads > 0 && (letters + pads) % 4 == 0 && pads < 4;
  return words.size() > 1 && (cut || (left && whole)) ? DecodeBase64(joined) : apart;
}

// Every charset counts as utf-8, so that bytes are kept as they are.
inline std::string DecodeWords(std::string_view in) {
  const auto blank = [](std::string_view text) {
    return text.find_first_not_of(" \t") == text.npos;
  };
  std::string out, between;
  std::vector<std::string> words;  // of base64, not yet in out
  const auto flush = [&] {
    if (!words.empty()) out += DecodeBase64Words(words);
    words.clear();
  };
  while (!in.empty()) {
    const auto mark = in.starts_with("=?") ? in.find('?', 2) : in.npos;
    const bool word =
        mark != in.npos && mark + 3 < in.size() && in[mark + 2] == '?' && in[mark + 3] != '\0';
    const auto end = word ? in.find("?=", mark + 3) : in.npos;
    if (word && end == in.npos) flush();
    if (word && end == in.npos) return out + between + std::string(in);
    if (!word) {
      const bool unended = in.starts_with("=?") && mark == in.npos;
      if (unended) flush();
      if (unended) return out + between + std::string(in);
      between += in[0];
      in.remove_prefix(1);
      continue;
    }
    const bool b64 = in[mark + 1] == 'B' || in[mark + 1] == 'b';
    if (!blank(between) || !b64) flush();
    if (!blank(between)) out += between;
    between.clear();
    const auto text = in.substr(mark + 3, end - mark - 3);
    if (b64) words.emplace_back(text);
    if (!b64) out += DecodeQ(text);
    if (text.find_first_of(std::string_view("=\0", 2)) != text.npos) flush();
    in.remove_prefix(end + 2);
  }
  flush();
  return blank(between) ? out : out + between;
}

}  // namespace naive
