#include "platform/DomainName.h"

#include <algorithm>
#include <memory>

#include <unicode/bytestream.h>
#include <unicode/idna.h>

namespace platform {
namespace {

constexpr std::size_t kLongestName = 1024;  // bytes; in ASCII it has 253 at most

bool IsAscii(std::string_view str) {
  return std::all_of(str.begin(), str.end(),
                     [](char ch) { return static_cast<unsigned char>(ch) < 0x80; });
}

}  // namespace

std::string AsciiDomain(std::string_view strName) {
  if (IsAscii(strName) || strName.size() > kLongestName) return std::string(strName);
  // As browsers read names: an ß stays one.
  constexpr std::uint32_t kOptions = UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_CHECK_BIDI;
  UErrorCode eError = U_ZERO_ERROR;
  const std::unique_ptr<icu::IDNA> pNames(icu::IDNA::createUTS46Instance(kOptions, eError));
  if (U_FAILURE(eError)) return std::string(strName);
  std::string strAscii;
  icu::StringByteSink<std::string> objSink(&strAscii);
  icu::IDNAInfo objInfo;
  const icu::StringPiece objName(strName.data(), static_cast<std::int32_t>(strName.size()));
  pNames->nameToASCII_UTF8(objName, objSink, objInfo, eError);
  return U_FAILURE(eError) || objInfo.hasErrors() ? std::string(strName) : strAscii;
}

}  // namespace platform
