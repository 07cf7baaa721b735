#pragma once

#include <cstddef>
#include <string_view>

namespace mail {

// The part of a text that is a header, and how its lines end.
struct HeaderExtent {
  std::string_view strHeader;  // within the text, without the empty line behind it
  bool bLoneCrEnds = false;    // a CR without LF is a line end and no byte of a value
};

// A header ends at the marker (empty: CR LF CR LF), else at what else can be read as an empty line,
// else with the text.
HeaderExtent findHeader(std::string_view strText, std::string_view strEndMarker);

// Takes one line after the other off a header, each without its end: LF with any CR in front of it
// and, where the extent says so, a run of CR alone.
class HeaderLines {
 public:
  explicit HeaderLines(const HeaderExtent& objExtent)
      : m_strRest(objExtent.strHeader), m_bLoneCrEnds(objExtent.bLoneCrEnds) {}

  bool atEnd() const { return m_strRest.empty(); }
  std::string_view take();
  // Whether the line that take() would give continues the one before.
  bool nextIsContinued() const {
    return !m_strRest.empty() && (m_strRest.front() == ' ' || m_strRest.front() == '\t');
  }
  bool nextStartsWith(std::string_view strStart) const { return m_strRest.starts_with(strStart); }

 private:
  std::string_view m_strRest;
  bool m_bLoneCrEnds;
  // Where the first LF of the rest lies, so that a header of lone CRs is searched for it once.
  const char* m_pLineFeed = nullptr;
};

}  // namespace mail
