#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rtf {

// What a conversion did not carry over, or not as it was.
enum class Note : std::uint8_t {
  kNotRichText,
  kPage,
  kCut,
  kTooDeep,
  kUnknownPage,
  kHeaders,
  kComments,
  kHidden,
  kDeleted,
  kObject,
  kDrawing,
  kPictureUnreadable,
  kPictureNotDrawn,
  kFormatting,
  kBadChecksum,
  kBadLength,
  kCount,
};

class Notes {
 public:
  void Add(Note eNote, std::size_t nTimes = 1) {
    m_arrCounts[static_cast<std::size_t>(eNote)] += nTimes;
  }
  std::size_t Count(Note eNote) const { return m_arrCounts[static_cast<std::size_t>(eNote)]; }
  // One line for each, in words.
  std::vector<std::string> Lines() const;

 private:
  std::array<std::size_t, static_cast<std::size_t>(Note::kCount)> m_arrCounts{};
};

}  // namespace rtf
