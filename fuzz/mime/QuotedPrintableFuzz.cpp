// Both directions agree with plain coders on any text, and what is encoded reads back the same.

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "mime/encoding/ContentCoding.h"
#include "tests/support/NaiveCoding.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  mail::DataBuffer decoded, again;
  if (!mail::ContentCoding::decodeQuotedPrintable(text, decoded)) std::abort();
  if (decoded.view() != naive::DecodeQuotedPrintable(text)) std::abort();
  mail::ContentCoding coding;
  coding.m_nLineLength = std::max(data[0], static_cast<unsigned char>(4));
  mail::StringBuffer encoded;
  if (!coding.encodeQuotedPrintable(text, encoded)) std::abort();
  if (encoded.view() != naive::EncodeQuotedPrintable(text, coding.m_nLineLength)) std::abort();
  using Keep = mail::ContentCoding::ZeroReferences;
  if (!mail::ContentCoding::decodeQuotedPrintable(encoded.view(), again, Keep::kKeep)) std::abort();
  // Text that looks like the filler of a broken converter is taken for it.
  const bool filler = text.find("FFFF") != text.npos || text.find("ffff") != text.npos;
  if (!filler && again.view() != text) std::abort();
  return 0;
}
