#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mime/base/LogBase.h"

namespace client {

// Collects what the library says about damage in a mail: each remark once, in the order of its
// first time, with how often it was made. What it says about sound mail is left out.
class MimeNotes final : public mail::LogBase {
 public:
  static constexpr std::size_t kMaxNotes = 50;  // different ones

  void EnterContext(std::string_view) override {}
  void LeaveContext() override {}
  void LogError(std::string_view text) override { Add(text); }
  void LogInfo(std::string_view text) override { Add(text); }
  void LogData(std::string_view, std::string_view) override {}

  const std::vector<std::pair<std::string, std::size_t>>& Notes() const { return m_notes; }

 private:
  void Add(std::string_view text);

  std::vector<std::pair<std::string, std::size_t>> m_notes;
};

}  // namespace client
