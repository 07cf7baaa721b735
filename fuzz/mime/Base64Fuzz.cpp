// Decoding agrees with a plain decoder on any text; what is encoded, in lines of any length, reads
// back the same.

#include <cstdlib>
#include <string_view>

#include "mime/encoding/ContentCoding.h"
#include "tests/support/NaiveCoding.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  mail::DataBuffer decoded, again;
  if (!mail::ContentCoding::decodeBase64(text, decoded)) std::abort();
  if (decoded.view() != naive::DecodeBase64(text)) std::abort();
  mail::ContentCoding coding;
  coding.m_nLineLength = data[0];
  mail::StringBuffer encoded;
  if (!coding.encodeBase64(text, encoded)) std::abort();
  const std::size_t line = data[0] != 0 ? data[0] : 4 * text.size() + 4;
  if (encoded.view() != naive::EncodeBase64(text, line)) std::abort();
  if (!mail::ContentCoding::decodeBase64(encoded.view(), again)) std::abort();
  if (again.view() != text) std::abort();
  return 0;
}
