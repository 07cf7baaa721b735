#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/DataBuffer.h"
#include "mime/tree/DelimiterIndex.h"
#include "mime/tree/PassingBytes.h"

namespace mail {

// What may end a header, or hints at how line ends were spoiled.
enum class Marker : std::uint8_t {
  kCrLfCrLf,
  kCrCr,
  kLfLf,
  kCrLfCrCrLf,
  kCrLfCr,
  kLfCrLf,
  kCrCrLf,
  kLfCr,
};
std::string_view textOf(Marker nMarker);

// The bytes of a message, or a part of it whose line ends were rewritten, while it is loaded, with
// what was found in them: every entity below looks in the same bytes for the same markers, and the
// entities are visited from front to back. So one remembered hit for each marker is enough for no
// byte to be looked at twice for it, however deep the tree is. And the text of a body is needed
// only until the body is made.
class SourceText {
 public:
  static constexpr std::size_t npos = std::string_view::npos;
  // From this depth on delimiters are looked up in an index of the text.
  static constexpr std::size_t kPlainDepth = 12;

  // nSteps grows by the bytes that are examined; it and the bytes must outlive the object.
  SourceText(std::string_view strText, std::uint64_t& nSteps)
      : m_strText(strText), m_nSteps(nSteps) {}
  SourceText(DataBuffer&& arrText, std::uint64_t& nSteps)
      : m_arrOwned(std::move(arrText)), m_strText(m_arrOwned.view()), m_nSteps(nSteps) {}
  SourceText(const SourceText&) = delete;
  SourceText& operator=(const SourceText&) = delete;

  std::string_view view() const { return m_strText; }
  // Whether the bytes are the object's own, and huge.
  bool isGivenUp() const { return PassingBytes::lastOf(m_arrOwned).bGivenUp; }
  std::uint64_t& steps() { return m_nSteps; }

  // The first place at or behind nFrom where the marker lies whole in front of nLimit.
  std::size_t find(Marker nMarker, std::size_t nFrom, std::size_t nLimit);
  // The same for "--" and a boundary, with padding or none and the line end, "\r\n" or "\n". A
  // boundary with a line feed in it has no padding.
  DelimiterIndex::Place findDelimiter(std::string_view strDelimiter, std::string_view strLineEnd,
                                      std::size_t nFrom, std::size_t nLimit, std::size_t nDepth);
  // The same for "--", a boundary and "--".
  std::size_t findClosing(std::string_view strDelimiter, std::size_t nFrom, std::size_t nLimit,
                          std::size_t nDepth);

 private:
  // No occurrence begins from nStart on in front of nScanned; at nScanned one does if bHit.
  struct Known {
    std::size_t nStart = 0;
    std::size_t nScanned = 0;
    bool bHit = false;
  };

  DataBuffer m_arrOwned;
  std::string_view m_strText;
  std::uint64_t& m_nSteps;
  std::array<Known, 8> m_aKnown{};
  DelimiterIndex& index();
  std::size_t findPlain(std::string_view strPattern, std::size_t nFrom, std::size_t nLimit);

  std::optional<DelimiterIndex> m_objIndex;
};

// A stretch of a text: one entity.
struct SourceRange {
  SourceText* pText = nullptr;
  std::size_t nBegin = 0;
  std::size_t nEnd = 0;

  std::size_t size() const { return nEnd - nBegin; }
  std::string_view view() const { return pText->view().substr(nBegin, size()); }
  PassingBytes passing() const { return {view(), pText->isGivenUp()}; }
  std::size_t find(Marker nMarker) const { return pText->find(nMarker, nBegin, nEnd); }
};

}  // namespace mail
