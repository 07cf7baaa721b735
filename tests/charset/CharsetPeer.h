#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

// Another program's converter for one charset, for tests that compare ours with it.
class CharsetPeer {
 public:
  virtual ~CharsetPeer() = default;
  // Nothing for bytes or text that do not convert as a whole, by a mapping that is no fallback.
  virtual std::optional<std::u16string> Read(std::string_view bytes) = 0;
  virtual std::optional<std::string> Write(std::u16string_view text) = 0;

  // "iconv:NAME", "icu:NAME" or "python:NAME"; null if this machine has no such converter.
  static std::unique_ptr<CharsetPeer> Open(const std::string& name);
};
