#include "client/sources/MhSequences.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "client/sources/Pieces.h"

namespace client {
std::optional<std::uint64_t> MhNumber(std::string_view fileName) {
  const auto number = mail::wholeNumber<std::uint64_t>(fileName);
  return number == 0u ? std::nullopt : number;
}

MhSequences::MhSequences(std::string_view text) {
  while (!text.empty()) {
    std::string_view line = TakeUpTo(text, '\n');
    if (line.find(':') == std::string_view::npos) continue;
    const std::string_view name = mail::trimmed(TakeUpTo(line, ':'));
    std::vector<Range>& ranges = m_sequences[std::string(name)];
    for (line = mail::trimmed(line); !line.empty();) {
      std::string_view word = mail::trimmed(TakeUpTo(line, ' '));
      const auto first = MhNumber(TakeUpTo(word, '-'));
      const auto last = word.empty() ? first : MhNumber(word);
      if (first && last && *first <= *last) ranges.emplace_back(*first, *last);
    }
  }
  for (auto& [name, ranges] : m_sequences) {
    std::ranges::sort(ranges);
    // Those that overlap become one, so that the last that begins before a number decides.
    std::vector<Range> joined;
    for (const Range& range : ranges) {
      if (!joined.empty() && range.first <= joined.back().second) {
        joined.back().second = std::max(joined.back().second, range.second);
      } else {
        joined.push_back(range);
      }
    }
    ranges = std::move(joined);
  }
}

bool MhSequences::Has(std::string_view name, std::uint64_t number) const {
  const auto sequence = m_sequences.find(name);
  if (sequence == m_sequences.end()) return false;
  const auto behind = std::ranges::upper_bound(sequence->second, number, {}, &Range::first);
  return behind != sequence->second.begin() && number <= std::prev(behind)->second;
}

}  // namespace client
