#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

#include "client/run/Plan.h"

namespace client {

// What stays of a mail's location while programs read, mark and count it: a Maildir's mail goes
// from new/ to cur/ and gets other letters behind its name, one of an mbox another place in it.
struct LastingPlace {
  explicit LastingPlace(const std::string& location);

  std::string path;
  // It is this mail's alone. What lies in an mbox or bears a number may be another one tomorrow.
  bool isName = false;

  std::string_view Name() const;  // the last part of the path; a view into it
};

// Where a source could not be read.
class UnreadPlaces {
 public:
  explicit UnreadPlaces(const Plan& plan);
  // One of them is that path, or above it.
  bool Hold(std::string_view path) const;

 private:
  std::unordered_set<std::string> m_paths;
};

}  // namespace client
