#include "charset/LibraryNarrow.h"

#include <cstring>
#include <new>
#include <utility>

#include "base/DataBuffer.h"
#include "charset/CharsetTables.h"
#include "charset/CodePages.h"
#include "charset/ConvertLoops.h"
#include "charset/TableSources.h"
#include "platform/Unicode.h"

namespace mail {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

using convert_loops::convertLoop;
using convert_loops::Faults;
using convert_loops::Stop;

// Pages without a table: ASCII alone.
struct AsciiSource {
  static constexpr bool kWide = false;
  static constexpr bool isAscii() { return true; }
  static convert_loops::Taken take(const unsigned char* p, const unsigned char*) {
    return {1, *p < 0x80 ? *p : convert_loops::kMissing};
  }
};

template <class Source>
std::u16string widen(const Source& objSource, std::string_view strBytes) {
  const auto* p = reinterpret_cast<const unsigned char*>(strBytes.data());
  const unsigned char* const pEnd = p + strBytes.size();
  DataBuffer arrUnits;
  Faults objFaults;
  while (p < pEnd) {
    std::size_t nMissing = 0;
    const Stop nStop = convertLoop</*kStopAtMissing=*/true>(objSource, convert_loops::UnitSink{}, p,
                                                            pEnd, arrUnits, objFaults, nMissing);
    if (nStop == Stop::kNoMemory) throw std::bad_alloc();
    if (nStop != Stop::kAtMissing) continue;
    ++p;
    if (!arrUnits.append(&kReplacement, sizeof kReplacement)) throw std::bad_alloc();
  }
  std::u16string strResult(arrUnits.getSize() / 2, u'\0');
  std::memcpy(strResult.data(), arrUnits.getData(), 2 * strResult.size());
  return strResult;
}

std::string narrowByTable(const HashConvert& objTable, std::u16string_view str) {
  const auto* p = reinterpret_cast<const unsigned char*>(str.data());
  DataBuffer arrBytes;
  Faults objFaults;
  if (!convert_loops::convertAll(convert_loops::UnitSource{}, convert_loops::TableSink{objTable},
                                 {p, 2 * str.size()}, arrBytes, objFaults)) {
    throw std::bad_alloc();
  }
  return std::string(arrBytes.view());
}

}  // namespace

std::u16string LibraryNarrow::ToWide(std::string_view strBytes, unsigned nCodePage) const {
  if (strBytes.empty()) return {};
  if (nCodePage == code_page::kUtf8) return platform::Utf8ToUtf16(strBytes);
  auto strResult = convert_loops::withTableSource(
      nCodePage, [&](const auto& objSource) { return widen(objSource, strBytes); });
  return strResult ? *std::move(strResult) : widen(AsciiSource{}, strBytes);
}

std::string LibraryNarrow::ToNarrow(std::u16string_view str, unsigned nCodePage) const {
  if (str.empty()) return {};
  if (nCodePage == code_page::kUtf8) return platform::Utf16ToUtf8(str);
  const HashConvert* pTable = charset_tables::fromUnicode(nCodePage);
  if (pTable != nullptr) return narrowByTable(*pTable, str);
  std::string strResult;
  for (const char16_t ch : str) {
    if (ch < 0x80) strResult += static_cast<char>(ch);
  }
  return strResult;
}

void installLibraryNarrow() {
  static const LibraryNarrow objConverter;
  platform::InstallNarrowConverter(objConverter);
}

}  // namespace mail
