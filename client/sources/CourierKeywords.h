#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "client/sources/Source.h"

namespace client {

// The keywords of a Courier's Maildir, from its folder "courierimapkeywords". Its file ":list" has
// a keyword a line, an empty line, and a line for each mail that has some:
//
//   1551780000.M1.host:0 2      the name without what stands behind ":2,", then numbers of keywords
//
// What changed since stands in a file for each mail, ".3.1551780000.M1.host", a keyword a line; of
// several the one with the greatest number counts. From a disk that takes no ":" the list may have
// another of kColons.
class CourierKeywords {
 public:
  // Of the Maildir at that path; without such a folder there are none. What cannot be read becomes
  // a problem.
  CourierKeywords(const std::string& maildir, std::vector<SourceProblem>& problems);
  CourierKeywords() = default;  // none
  // Adds those of a ":list".
  void TakeList(std::string_view text);
  const std::vector<std::string>& Of(std::string_view fileName) const;

 private:
  void TakeFiles(const std::string& folder, std::vector<SourceProblem>& unread);

  std::unordered_map<std::string, std::vector<std::string>> m_keywords;  // by the name of a mail
};

}  // namespace client
