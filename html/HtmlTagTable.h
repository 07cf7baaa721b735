#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mail {

// How an element stands in a page.
enum class HtmlContent : std::uint8_t {
  kMarkup,    // text and further elements
  kNone,      // it has no end tag
  kVerbatim,  // up to its end tag all is text, whatever it looks like
};

struct HtmlTag {
  std::string_view strName;  // lower case
  HtmlContent nContent = HtmlContent::kMarkup;
  bool bInHead = false;  // may stand in the head, which ends in front of any other
};

// The elements of HTML 4 and some older ones, by name. Their numbers are their places here.
inline constexpr auto kHtmlTags = [] {
  using enum HtmlContent;
  return std::to_array<HtmlTag>({
      {"a"},
      {"abbr"},
      {"acronym"},
      {"address"},
      {"applet"},
      {"area", kNone},
      {"b"},
      {"base", kNone, true},
      {"basefont", kNone},
      {"bdo"},
      {"bgsound", kNone, true},
      {"big"},
      {"blink"},
      {"blockquote"},
      {"body"},
      {"br", kNone},
      {"button"},
      {"caption"},
      {"center"},
      {"cite"},
      {"code"},
      {"col", kNone},
      {"colgroup"},
      {"comment", kVerbatim, true},
      {"dd"},
      {"del"},
      {"dfn"},
      {"dir"},
      {"div"},
      {"dl"},
      {"dt"},
      {"em"},
      {"embed", kNone},
      {"fieldset"},
      {"font"},
      {"form"},
      {"frame", kNone},
      {"frameset"},
      {"h1"},
      {"h2"},
      {"h3"},
      {"h4"},
      {"h5"},
      {"h6"},
      {"head"},
      {"hr", kNone},
      {"html"},
      {"i"},
      {"iframe"},
      {"ilayer"},
      {"img", kNone},
      {"input", kNone},
      {"ins"},
      {"isindex", kNone, true},
      {"kbd"},
      {"keygen", kNone},
      {"label"},
      {"layer"},
      {"legend"},
      {"li"},
      {"link", kNone, true},
      {"listing"},
      {"map"},
      {"marquee"},
      {"menu"},
      {"meta", kNone, true},
      {"multicol"},
      {"nobr"},
      {"noembed"},
      {"noframes"},
      {"nolayer"},
      {"noscript", kMarkup, true},
      {"object", kMarkup, true},
      {"ol"},
      {"optgroup"},
      {"option"},
      {"p"},
      {"param", kNone, true},
      {"plaintext"},
      {"pre"},
      {"q"},
      {"s"},
      {"samp"},
      {"script", kVerbatim, true},
      {"select"},
      {"small"},
      {"spacer", kNone},
      {"span"},
      {"strike"},
      {"strong"},
      {"style", kVerbatim, true},
      {"sub"},
      {"sup"},
      {"table"},
      {"tbody"},
      {"td"},
      {"textarea"},
      {"tfoot"},
      {"th"},
      {"thead"},
      {"title", kMarkup, true},
      {"tr"},
      {"tt"},
      {"u"},
      {"ul"},
      {"var"},
      {"wbr", kNone},
      {"xmp"},
  });
}();

inline constexpr std::size_t kMaxKnownTags = 200;
static_assert(kHtmlTags.size() < kMaxKnownTags);
static_assert(std::adjacent_find(kHtmlTags.begin(), kHtmlTags.end(),
                                 [](const HtmlTag& left, const HtmlTag& right) {
                                   return left.strName >= right.strName;
                                 }) == kHtmlTags.end(),
              "sorted, each once");

// The number of an element by its name in lower case; kUnknownTag if it is none of these.
inline constexpr std::uint32_t kUnknownTag = 8888;
constexpr std::uint32_t numberOfTag(std::string_view strName) {
  const auto it = std::lower_bound(
      kHtmlTags.begin(), kHtmlTags.end(), strName,
      [](const HtmlTag& objTag, std::string_view strSought) { return objTag.strName < strSought; });
  const bool bKnown = it != kHtmlTags.end() && it->strName == strName;
  return bKnown ? static_cast<std::uint32_t>(it - kHtmlTags.begin()) : kUnknownTag;
}
// The same for a name in the code, which must be there.
consteval std::uint32_t tagNumber(std::string_view strName) {
  const std::uint32_t nTag = numberOfTag(strName);
  return nTag != kUnknownTag ? nTag : throw "no such element";
}

}  // namespace mail
