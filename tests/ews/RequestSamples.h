#pragma once

#include <string>

// Requests that another client sent, as this one is to send them.
namespace request_samples {

// One line for each element: its path, its attributes, its text.
std::string DumpOf(const std::string& xml);

// The dump of a sample ("20-createitem-calendar"), with what stands differently here.
std::string Expected(const std::string& sample);

// A way in which requests stay different, and why.
struct Difference {
  const char* there;  // a regular expression over the dump
  const char* here;   // what stands in its place
  const char* reason;
  bool IsIn(const std::string& sample) const;
};

extern const Difference kDifferences[7];

}  // namespace request_samples
