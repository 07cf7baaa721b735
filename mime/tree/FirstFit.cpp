#include "mime/tree/FirstFit.h"

#include <algorithm>
#include <bit>

namespace mail {

FirstFit::FirstFit(std::span<const std::size_t> arrNumbers)
    : m_nLeaves(std::bit_ceil(arrNumbers.size())), m_arrNodes(2 * m_nLeaves) {
  std::copy(arrNumbers.begin(), arrNumbers.end(),
            m_arrNodes.begin() + static_cast<std::ptrdiff_t>(m_nLeaves));
  for (std::size_t n = m_nLeaves; n-- > 1;) {
    m_arrNodes[n] = std::max(m_arrNodes[2 * n], m_arrNodes[2 * n + 1]);
  }
}

std::size_t FirstFit::find(std::size_t nFrom, std::size_t nLeast, std::uint64_t& nSteps) const {
  if (nFrom >= m_nLeaves) return npos;
  std::size_t nNode = m_nLeaves + nFrom;
  for (; m_arrNodes[nNode] < nLeast; ++nNode, ++nSteps) {
    while (nNode % 2 == 1) nNode /= 2;  // all of it is passed, and what lies left of it
    if (nNode == 0) return npos;
  }
  for (; nNode < m_nLeaves; ++nSteps) {
    nNode *= 2;
    if (m_arrNodes[nNode] < nLeast) ++nNode;
  }
  return nNode - m_nLeaves;
}

}  // namespace mail
