#pragma once

#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "base/LogNull.h"
#include "charset/EncodingConvert.h"

inline constexpr unsigned kUtf8 = 65001;
inline constexpr unsigned kUtf16 = 1200;

// What a conversion gave.
struct Converted {
  std::string bytes;
  bool result = false;
  bool hadErrors = false;

  bool operator==(const Converted&) const = default;
};

inline Converted Clean(std::string bytes) { return {std::move(bytes), true, false}; }
inline Converted Failed(std::string bytes = "") { return {std::move(bytes), false, true}; }
inline Converted WithErrors(std::string bytes) { return {std::move(bytes), true, true}; }

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

// The units as bytes of UTF-16, little-endian, and back.
inline std::string Units(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

inline std::u16string Text(std::string_view units) {
  std::u16string text(units.size() / 2, u'\0');
  units.copy(reinterpret_cast<char*>(text.data()), 2 * text.size());
  return text;
}

// Bytes with NULs among them, from a literal.
template <std::size_t size>
std::string Bytes(const char (&literal)[size]) {
  return std::string(literal, size - 1);
}

// The one or two bytes of a code.
inline std::string BytesOf(unsigned code) {
  std::string bytes;
  if (code > 0xFF) bytes += static_cast<char>(code >> 8);
  return bytes += static_cast<char>(code);
}

// The rows of a file in tests/data/charset/.
inline std::vector<std::string> DataRows(const std::string& name) {
  std::ifstream file(TARNY_SOURCE "/tests/data/charset/" + name);
  EXPECT_TRUE(file.is_open()) << name;
  std::vector<std::string> rows;
  for (std::string row; std::getline(file, row);) {
    if (!row.empty() && row[0] != '#') rows.push_back(row);
  }
  return rows;
}

inline void PrintTo(const Converted& converted, std::ostream* out) {
  *out << testing::PrintToString(converted.bytes) << " result " << converted.result << " errors "
       << converted.hadErrors;
}
