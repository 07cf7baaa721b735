#pragma once

#include <algorithm>
#include <string>

namespace client_test {

// Mails, and files as stores hold them.

inline const std::string kMail = "Subject: x\n\n";
inline const std::string kText = kMail + "text\n";
inline const std::string kSeparator = "From - Tue Mar 05 10:00:00 2019\n";
inline const std::string kMmdfMark = "\x01\x01\x01\x01\n";

inline std::string Mbox(const std::string& fields = "") {
  return kSeparator + fields + kText + "\n";
}

inline std::string Emlx(const std::string& mail, int flags) {
  return std::to_string(mail.size()) + "        \n" + mail +
         "<plist><dict>\n<key>date-received</key>\n\t<integer>1551780000</integer>\n"
         "<key>flags</key><integer>" +
         std::to_string(flags) + "</integer></dict></plist>\n";
}

inline std::string WithCrLf(const std::string& text) {
  std::string lines;
  for (const char c : text) lines += c == '\n' ? "\r\n" : std::string(1, c);
  return lines;
}

// As a Mac had it before it had LFs.
inline std::string WithCr(std::string text) {
  std::ranges::replace(text, '\n', '\r');
  return text;
}

}  // namespace client_test
