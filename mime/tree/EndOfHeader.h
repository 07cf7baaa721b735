#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "base/LogBase.h"
#include "mime/tree/SourceText.h"

namespace mail {

struct HeaderEnd {
  bool bFound = false;
  std::size_t nPos = 0;        // in the range's text: where the marker begins
  std::string_view strMarker;  // a literal
};

// Finds where the header of an entity ends, in mail whose line ends may be spoiled in many ways.
// They are rewritten where nothing else helps and, with bRepair, where kinds of them are mixed: the
// range then lies in pRewritten, which must be kept as long as the range is used.
//
// A rewritten text gives little cause for another rewriting below it: with bRepair, one with a
// double CR or LF left gets CR LF throughout. So along a path down the tree there are two at most.
HeaderEnd findEndOfHeader2(SourceRange& objRange, bool bRepair,
                           std::unique_ptr<SourceText>& pRewritten, LogBase& log);

// Leaves off what stands behind the first empty line, of CR LF or of LF: without bRepair a header
// ends there whatever follows.
void cutBehindEmptyLine(SourceRange& objRange);

}  // namespace mail
