#pragma once

#include <functional>
#include <string_view>

#include "base/StringBuffer.h"

namespace mail {

// One pass over a page for one kind of tag. The page stays text; what is no such tag is copied.
//
// A tag runs to the first ">" outside quotes. One that would be longer than kMaxTagBytes so has an
// unbalanced quote, as a rule, and ends at its first ">" instead.
inline constexpr std::size_t kMaxTagBytes = 900;

enum class TagResult {
  kKeep,   // the tag stays as it stands
  kClean,  // what was made of its regular form stands in its place
};

// Gets the tag as it stands and its regular form (_ckHtmlHelp::cleanHtmlTag), which it may change.
using TagRewrite = std::function<TagResult(std::string_view strRaw, StringBuffer& strClean)>;

// Calls it for each tag that begins with strNeedle (any case), such as "<img". False, and all from
// there on as it was, when a tag has no end.
bool rewriteTags(StringBuffer& strHtml, std::string_view strNeedle, const TagRewrite& fnRewrite);

// One pass over a page for blocks with an end tag ("<style" up to "</style>", any case). For each,
// fnRewrite gets the block (or, without an end tag, all up to the end of the page, and bClosed
// false) and appends what stands in its place; returns how many of its bytes that took.
using BlockRewrite =
    std::function<std::size_t(std::string_view strBlock, bool bClosed, StringBuffer& strOut)>;
void rewriteBlocks(StringBuffer& strHtml, std::string_view strStart, std::string_view strEnd,
                   const BlockRewrite& fnRewrite);

}  // namespace mail
