#include "mime/header/FieldNames.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"

namespace mail {
namespace {

struct FieldName {
  std::string_view strName;
  std::uint8_t nTraits;
};

// In the order of their lengths, so that a name is held against those of its length alone.
constexpr std::array kFieldNames = std::to_array<FieldName>({
    {"to", kAddressField},
    {"cc", kAddressField},
    {"bcc", kAddressField},
    {"from", kAddressField},
    {"sender", kAddressField},
    {"reply-to", kAddressField},
    {"received", kTabsToBlanks | kNeverFolded | kNeverEncoded},
    {"resent-to", kAddressField},
    {"resent-cc", kAddressField},
    {"resent-bcc", kAddressField},
    {"user-agent", kNeverFolded},
    {"resent-from", kAddressField},
    {"return-path", kAddressField},
    {"content-type", kAttributeField | kTabsToBlanks | kIsContentType},
    {"content-location", kAttributeField | kTabsToBlanks | kIsLocation},
    {"TRX-Bounce-Address", kAddressField},
    {"content-disposition", kAttributeField | kTabsToBlanks},
    {"content-transfer-encoding", kTabsToBlanks | kNeverFolded | kNeverEncoded},
});

constexpr std::size_t kLongest = kFieldNames.back().strName.size();

constexpr bool IsOrdered() {
  return std::is_sorted(
      kFieldNames.begin(), kFieldNames.end(),
      [](const FieldName& a, const FieldName& b) { return a.strName.size() < b.strName.size(); });
}
static_assert(IsOrdered());

// At each length the index of the first name that is at least as long.
constexpr auto kFirstOfLength = [] {
  std::array<std::uint8_t, kLongest + 2> aFirst{};
  for (std::size_t nLength = 0; nLength < aFirst.size(); ++nLength) {
    std::uint8_t n = 0;
    while (n < kFieldNames.size() && kFieldNames[n].strName.size() < nLength) ++n;
    aFirst[nLength] = n;
  }
  return aFirst;
}();

constexpr std::array<std::string_view, 3> kTraceFields = {"received", "dkim-signature",
                                                          "domainkey-signature"};

}  // namespace

std::uint8_t fieldTraits(std::string_view strName) {
  if (strName.size() > kLongest) return kPlainField;
  const std::size_t nEnd = kFirstOfLength[strName.size() + 1];
  for (std::size_t n = kFirstOfLength[strName.size()]; n < nEnd; ++n) {
    if (equalsNoCase(kFieldNames[n].strName, strName)) return kFieldNames[n].nTraits;
  }
  return kPlainField;
}

bool isTraceField(std::string_view strName) {
  return std::any_of(kTraceFields.begin(), kTraceFields.end(), [&](std::string_view strTrace) {
    return beginsWithNoCase(strName, strTrace);
  });
}

}  // namespace mail
