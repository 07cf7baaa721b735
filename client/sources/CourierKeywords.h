#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace client {

// The keywords of a Courier's Maildir, from its folder "courierimapkeywords". Its file ":list" has
// a keyword a line, an empty line, and a line for each mail that has some:
//
//   1551780000.M1.host:0 2      the name without what stands behind ":2,", then numbers of keywords
//
// What changed since stands in a file for each mail, ".3.1551780000.M1.host", a keyword a line; of
// several the one with the greatest number counts.
class CourierKeywords {
 public:
  // Of the Maildir at that path; without such a folder there are none.
  explicit CourierKeywords(const std::string& maildir);
  CourierKeywords() = default;  // none
  // Adds those of a ":list".
  void TakeList(std::string_view text);
  const std::vector<std::string>& Of(std::string_view fileName) const;

 private:
  void TakeFiles(const std::string& folder);

  std::unordered_map<std::string, std::vector<std::string>> m_keywords;  // by the name of a mail
};

}  // namespace client
