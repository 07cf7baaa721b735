#include "mime/tree/EndOfHeader.h"

#include <array>
#include <utility>

#include "mime/tree/LineEnds.h"

namespace mail {
namespace {

using line_ends::Rewrite;

constexpr std::size_t npos = SourceText::npos;

class Search {
 public:
  Search(SourceRange& objRange, bool bRepair, std::unique_ptr<SourceText>& pRewritten, LogBase& log)
      : m_range(objRange), m_bRepair(bRepair), m_pRewritten(pRewritten), m_log(log) {}

  HeaderEnd run() {
    if (m_range.view().starts_with("\r\n")) {
      m_log.LogInfo("MIME is missing initial header because it begins with CRLF");
      return {true, m_range.nBegin, "\r\n"};
    }
    HeaderEnd objEnd = m_bRepair ? byEmptyLineWithRepair() : byEmptyLine();
    if (!objEnd.bFound) objEnd = byOddMarkers();
    if (!objEnd.bFound) objEnd = afterRewriting();
    return objEnd;
  }

 private:
  static HeaderEnd foundAt(std::size_t nPos, Marker nMarker) {
    return nPos == npos ? HeaderEnd{} : HeaderEnd{true, nPos, textOf(nMarker)};
  }

  HeaderEnd byEmptyLine() {
    const std::size_t nCrLf = m_range.find(Marker::kCrLfCrLf);
    const std::size_t nLimit = nCrLf != npos ? nCrLf : m_range.nEnd;
    const std::size_t nLf = m_range.pText->find(Marker::kLfLf, m_range.nBegin, nLimit);
    if (nLf == npos) return foundAt(nCrLf, Marker::kCrLfCrLf);
    if (nCrLf != npos) {
      m_log.LogInfo("Found LFLF prior to first double CRLF!");
    } else {
      tellMixture(nLf);
    }
    return foundAt(nLf, Marker::kLfLf);
  }

  HeaderEnd byEmptyLineWithRepair() {
    const std::size_t nCrLf = m_range.find(Marker::kCrLfCrLf);
    const std::size_t nCr = m_range.find(Marker::kCrCr);
    const std::size_t nLf = m_range.find(Marker::kLfLf);
    if (nCrLf != npos && nCr < nCrLf) m_log.LogInfo("Using double CR for end of MIME header");
    if (nCrLf == npos && nLf != npos) tellMixture(nLf);
    if (nCrLf == npos && nLf == npos) return {};
    if (nCr == npos && nLf == npos) return foundAt(nCrLf, Marker::kCrLfCrLf);
    m_log.LogInfo("Converting all line endings to CRLF.");
    if (!rewrite(nCr != npos ? Rewrite::kAll : Rewrite::kBareLf)) return {};
    return foundAt(m_range.find(Marker::kCrLfCrLf), Marker::kCrLfCrLf);
  }

  void tellMixture(std::size_t nLf) {
    const std::string_view strBefore = m_range.view().substr(0, nLf - m_range.nBegin);
    if (strBefore.find("\r\n") == npos) return;
    m_log.LogInfo("Also found CRLF.  The MIME contains a mixture of bare-LF's and CRLF's");
  }

  HeaderEnd byOddMarkers() {
    static constexpr std::array<std::pair<Marker, std::string_view>, 3> kOdd = {{
        {Marker::kCrLfCrCrLf, "Found CRLFCRCRLF."},
        {Marker::kCrLfCr, "Found CRLFCR."},
        {Marker::kLfCrLf, "Found LFCRLF."},
    }};
    for (const auto& [nMarker, strText] : kOdd) {
      const HeaderEnd objEnd = foundAt(m_range.find(nMarker), nMarker);
      if (!objEnd.bFound) continue;
      m_log.LogInfo(strText);
      return objEnd;
    }
    return {};
  }

  HeaderEnd afterRewriting() {
    if (m_range.find(Marker::kCrCrLf) == npos) return afterAllToCrLf();
    m_log.LogInfo("Found CRCRLF. Fixing..");
    if (!rewrite(Rewrite::kCrCrLf)) return {};
    const HeaderEnd objEnd = foundAt(m_range.find(Marker::kCrLfCrLf), Marker::kCrLfCrLf);
    if (objEnd.bFound || m_range.find(Marker::kCrCr) == npos) return objEnd;
    m_log.LogInfo("Found CRCR.");
    if (!rewrite(Rewrite::kEveryCr)) return {};
    return foundAt(m_range.find(Marker::kCrLfCrLf), Marker::kCrLfCrLf);
  }

  // An empty line can come of it only where line ends of two kinds, or two CRs, stand side by side;
  // elsewhere the text is the lone header as it stands. At the front the change makes the line end
  // one that the caller looks for.
  HeaderEnd afterAllToCrLf() {
    const std::string_view strText = m_range.view();
    const bool bLineEndFirst = strText.starts_with('\r') || strText.starts_with('\n');
    const bool bMayHelp =
        bLineEndFirst || m_range.find(Marker::kCrCr) != npos || m_range.find(Marker::kLfCr) != npos;
    if (!bMayHelp || !rewrite(Rewrite::kAll)) return {};
    return foundAt(m_range.find(Marker::kCrLfCrLf), Marker::kCrLfCrLf);
  }

  bool rewrite(Rewrite nRewrite) {
    DataBuffer arrNew;
    if (!line_ends::rewrite(m_range.view(), nRewrite, arrNew)) return false;
    std::uint64_t& nSteps = m_range.pText->steps();
    nSteps += m_range.size();
    auto pNew = std::make_unique<SourceText>(std::move(arrNew), nSteps);
    m_pRewritten = std::move(pNew);
    m_range = {m_pRewritten.get(), 0, m_pRewritten->view().size()};
    return true;
  }

  SourceRange& m_range;
  bool m_bRepair;
  std::unique_ptr<SourceText>& m_pRewritten;
  LogBase& m_log;
};

}  // namespace

HeaderEnd findEndOfHeader2(SourceRange& objRange, bool bRepair,
                           std::unique_ptr<SourceText>& pRewritten, LogBase& log) {
  return Search(objRange, bRepair, pRewritten, log).run();
}

void cutBehindEmptyLine(SourceRange& objRange) {
  const std::string_view strText = objRange.view();
  for (std::size_t n = strText.find('\n'); n != npos; n = strText.find('\n', n + 1)) {
    const std::string_view strRest = strText.substr(n + 1);
    const bool bCrLf = n > 0 && strText[n - 1] == '\r' && strRest.starts_with("\r\n");
    if (!bCrLf && !strRest.starts_with('\n')) continue;
    objRange.nEnd = objRange.nBegin + n + (bCrLf ? 3 : 2);
    return;
  }
}

}  // namespace mail
