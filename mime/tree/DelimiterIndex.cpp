#include "mime/tree/DelimiterIndex.h"

#include <algorithm>
#include <bit>

namespace mail {
namespace {

constexpr std::uint64_t kSeed = 0x9E3779B97F4A7C15U;
constexpr std::uint64_t kFactor = 0x2545F4914F6CDD1DU;

// Hashes are built from the last byte to the first, so that one walk gives them for every place.
std::uint64_t prepend(std::uint64_t nHash, char ch) {
  return (nHash + static_cast<unsigned char>(ch) + 1) * kFactor;
}

std::uint64_t hashOf(std::string_view strText) {
  std::uint64_t nHash = kSeed;
  for (std::size_t n = strText.size(); n-- > 0;) nHash = prepend(nHash, strText[n]);
  return nHash;
}

std::size_t dashesAtFront(std::string_view strText) {
  return std::min(strText.find_first_not_of('-'), strText.size());
}

bool isLine(std::string_view strPattern) { return strPattern.ends_with('\n'); }

// The piece of a pattern that is hashed, behind a run of dashes.
struct Key {
  std::size_t nOffset;
  std::string_view strHashed;
};

Key keyOf(std::string_view strPattern) {
  std::size_t nPiece = dashesAtFront(strPattern);
  if (isLine(strPattern)) return {nPiece, strPattern.substr(nPiece)};
  Key objKey{nPiece, {}};
  while (nPiece < strPattern.size()) {
    const std::size_t nEnd = strPattern.find("--", nPiece);
    const std::string_view strPiece = strPattern.substr(nPiece, nEnd - nPiece);
    if (strPiece.size() > objKey.strHashed.size()) objKey = {nPiece, strPiece};
    nPiece = std::min(strPattern.find_first_not_of('-', nEnd), strPattern.size());
  }
  return objKey;
}

}  // namespace

bool DelimiterIndex::canFind(std::string_view strPattern) {
  return strPattern.starts_with("--") &&
         (strPattern.ends_with("--") || strPattern.find('\n') == strPattern.size() - 1);
}

DelimiterIndex::Entries DelimiterIndex::buildEntries(bool bLines) const {
  Entries arrEntries;
  std::uint64_t nHash = kSeed;
  std::size_t nDashes = 0;       // at the front of what was walked
  std::uint64_t nBehindRun = 0;  // hash of what follows them
  const auto note = [&](std::size_t nStart) {
    if (nDashes >= 2) arrEntries.push_back({nBehindRun, nStart + nDashes});
    nDashes = 0;
  };
  for (std::size_t n = m_strText.size(); n-- > 0;) {
    const char ch = m_strText[n];
    if (ch == '-') {
      if (nDashes == 0) nBehindRun = nHash;
      ++nDashes;
    } else {
      note(n + 1);
    }
    const bool bRestart = bLines ? ch == '\n' : nDashes >= 2;
    if (bRestart) nHash = kSeed;
    if (bLines || !bRestart) nHash = prepend(nHash, ch);
  }
  note(0);
  std::sort(arrEntries.begin(), arrEntries.end());
  return arrEntries;
}

DelimiterIndex::Runs DelimiterIndex::buildRuns() const {
  Runs aRuns;
  for (std::size_t n = m_strText.find("--"); n != npos; n = m_strText.find("--", n)) {
    const std::size_t nEnd = std::min(m_strText.find_first_not_of('-', n), m_strText.size());
    aRuns[static_cast<std::size_t>(std::bit_width(nEnd - n))].push_back({n, nEnd});
    n = nEnd;
  }
  return aRuns;
}

std::size_t DelimiterIndex::findDashes(std::size_t nDashes, std::size_t nFrom, std::size_t nLimit,
                                       std::uint64_t& nSteps) {
  if (!m_aRuns) {
    m_aRuns = buildRuns();
    nSteps += m_strText.size();
  }
  std::size_t nBest = npos;
  for (auto nBits = static_cast<std::size_t>(std::bit_width(nDashes)); nBits < m_aRuns->size();
       ++nBits) {
    const std::vector<Run>& arrRuns = (*m_aRuns)[nBits];
    auto it = std::partition_point(arrRuns.begin(), arrRuns.end(), [&](const Run& objRun) {
      return objRun.nEnd < nFrom + nDashes;
    });
    for (; it != arrRuns.end() && it->nEnd - std::max(it->nBegin, nFrom) < nDashes; ++it) ++nSteps;
    if (it != arrRuns.end()) nBest = std::min(nBest, std::max(it->nBegin, nFrom));
  }
  nSteps += m_aRuns->size();
  return nBest != npos && nBest + nDashes <= nLimit ? nBest : npos;
}

std::size_t DelimiterIndex::find(std::string_view strPattern, std::size_t nFrom, std::size_t nLimit,
                                 std::uint64_t& nSteps) {
  const Key objKey = keyOf(strPattern);
  if (objKey.strHashed.empty()) return findDashes(strPattern.size(), nFrom, nLimit, nSteps);
  std::optional<Entries>& arrEntries = isLine(strPattern) ? m_arrLines : m_arrTokens;
  if (!arrEntries) {
    arrEntries = buildEntries(isLine(strPattern));
    nSteps += m_strText.size() +
              arrEntries->size() * static_cast<std::size_t>(std::bit_width(arrEntries->size()));
  }
  nSteps += static_cast<std::size_t>(std::bit_width(arrEntries->size())) + strPattern.size();
  const Entry objFirst{hashOf(objKey.strHashed), nFrom + objKey.nOffset};
  auto it = std::lower_bound(arrEntries->begin(), arrEntries->end(), objFirst);
  for (; it != arrEntries->end() && it->nHash == objFirst.nHash; ++it) {
    const std::size_t nStart = it->nRunEnd - objKey.nOffset;
    if (nStart >= nLimit || nLimit - nStart < strPattern.size()) return npos;
    ++nSteps;
    if (m_strText.substr(nStart, strPattern.size()) == strPattern) return nStart;
  }
  return npos;
}

}  // namespace mail
