#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "base/LogNull.h"
#include "charset/EncodingConvert.h"

// What a conversion gave.
struct Converted {
  std::string bytes;
  bool result = false;
  bool hadErrors = false;

  bool operator==(const Converted&) const = default;
};

inline Converted Convert(mail::EncodingConvert& converter, unsigned from, unsigned to,
                         std::string_view input) {
  mail::DataBuffer output;
  mail::LogNull log;
  // A copy that ends where the input does, so that reading on is noticed by a sanitizer.
  const std::unique_ptr<char[]> copy(new char[input.size()]);
  input.copy(copy.get(), input.size());
  const bool result = converter.EncConvert(from, to, copy.get(), input.size(), output, log);
  return {std::string(output.view()), result, converter.m_hadErrors};
}

inline Converted Convert(unsigned from, unsigned to, std::string_view input) {
  mail::EncodingConvert converter;
  return Convert(converter, from, to, input);
}

// The units as bytes of UTF-16, little-endian.
inline std::string Units(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

// Bytes with NULs among them, from a literal.
template <std::size_t size>
std::string Bytes(const char (&literal)[size]) {
  return std::string(literal, size - 1);
}

inline void PrintTo(const Converted& converted, std::ostream* out) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (const unsigned char ch : converted.bytes) {
    *out << kDigits[ch >> 4] << kDigits[ch & 0xF] << ' ';
  }
  *out << "result " << converted.result << " errors " << converted.hadErrors;
}
