#include "charset/PivotMarkers.h"

namespace mail {

void PivotMarkers::put(std::string_view strBytes, DataBuffer& out) {
  if (m_nStage != Stage::kFirst) {
    (void)out.append(strBytes);
    return;
  }
  while (!strBytes.empty()) {
    const std::string_view strMarked = strBytes.substr(0, kMaxMarked);
    (void)out.append(kMarker, sizeof kMarker);
    (void)out.appendChar(static_cast<unsigned char>(strMarked.size()));
    (void)out.append(strMarked);
    ++m_nMarkers;
    strBytes.remove_prefix(strMarked.size());
  }
}

}  // namespace mail
