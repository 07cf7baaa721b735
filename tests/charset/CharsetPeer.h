#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Another program's converter for one charset, for tests that compare ours with it.
class CharsetPeer {
 public:
  virtual ~CharsetPeer() = default;
  // Empty for bytes or text that do not convert as a whole, by a mapping that is no fallback.
  virtual std::u16string Read(std::string_view bytes) = 0;
  virtual std::string Write(std::u16string_view text) = 0;

  // "iconv:NAME", "icu:NAME" or "python:NAME"; null if this machine has no such converter.
  static std::unique_ptr<CharsetPeer> Open(const std::string& name);
};

// Reads each pair of a 94 by 94 set, between what begins it and what ends it, and expects of it
// what a peer makes of the pair with the top bits set. Returns the mapped ones: text and units.
std::vector<std::pair<std::string, std::string>> ReadEveryPair(const std::string& peerName,
                                                               unsigned page,
                                                               const std::string& begin,
                                                               const std::string& end);
