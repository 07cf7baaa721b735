#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/UniqueFd.h"

namespace client {

// A file or folder could not be written; what() names it and says why.
class WriteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A file that was not there, written piece by piece.
class NewFile {
 public:
  explicit NewFile(const std::string& path);  // throws WriteError
  void Write(std::string_view bytes);         // throws WriteError
  void Close();  // throws WriteError: some file systems tell of a full disk only then

 private:
  [[noreturn]] void Fail() const;

  std::string m_path;
  platform::UniqueFd m_file;
};

// Such a file with these bytes, written and closed. Throws WriteError.
void WriteNewFile(const std::string& path, std::string_view bytes);

}  // namespace client
