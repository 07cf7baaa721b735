#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace test_support {

// A fresh folder that goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "tarny-test-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    m_path = std::filesystem::canonical(pattern).string();
  }
  ~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& Path() const { return m_path; }
  std::string File(const std::string& name) const { return m_path + "/" + name; }
  // Folders in the name are made.
  std::string Write(const std::string& name, const std::string& bytes) const {
    const std::filesystem::path path = File(name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }

 private:
  std::string m_path;
};

// 16-bit text as it lies in files, and back.
inline std::string WideBytes(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}
inline std::u16string WideText(const std::string& bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  bytes.copy(reinterpret_cast<char*>(text.data()), text.size() * 2);
  return text;
}

inline std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace test_support
