#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace client {

// A file that was made text so that it could go by mail. Its first line says so, "begin 644 NAME"
// of uuencode and "begin-base64 644 NAME", or is one of base64 itself. What it holds then is for
// whoever decodes it to tell: people begin a text in that way, too.
struct EncodedFile {
  enum class Coding { kUu, kBase64 };
  Coding coding;
  std::string_view name;  // that it had; empty where none stands there
  std::size_t data;       // where the lines of its content begin, bytes
};
// The name is a view into the first bytes of a file that are given.
std::optional<EncodedFile> EncodedFileIn(std::string_view head);

// Its content, as far as the text of that file goes. Throws std::bad_alloc.
std::string Decoded(const EncodedFile& file, std::string_view text);

}  // namespace client
