#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"

namespace mail {

class EmailOutput;

// Writes a body piece by piece: from UTF-8 into a charset, then in a transfer encoding. Takes a few
// pieces of memory, however long the body is.
class BodyEncoder {
 public:
  static constexpr std::size_t kPieceBytes = 64 * 1024;

  enum class Encoding : std::uint8_t { kNone, kBase64, kQuotedPrintable };
  // Of a transfer encoding's name; kNone for any that leaves the bytes as they are.
  static Encoding encodingOf(std::string_view strName);

  BodyEncoder(EmailOutput& objOutput, Encoding nEncoding)
      : m_objOutput(objOutput), m_nEncoding(nEncoding) {}

  // Writes a whole body. nCodePage is the page to convert to, 0 for bytes that stay as they are.
  // False when the output fails, or for want of memory.
  bool write(std::string_view strBody, unsigned nCodePage, LogBase& log);

  // Whether the page has every character of a text in UTF-8.
  static bool holds(unsigned nCodePage, std::string_view strUtf8, LogBase& log);

 private:
  bool put(std::string_view strBytes, bool bLast);
  bool putBase64(std::string_view strBytes, bool bLast);
  bool putQuotedPrintable(std::string_view strBytes, bool bLast);

  EmailOutput& m_objOutput;
  const Encoding m_nEncoding;
  DataBuffer m_arrWaiting;  // bytes that make no whole line yet
  DataBuffer m_arrEncoded;
};

}  // namespace mail
