#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "platform/Paths.h"

// A fresh program folder with its Temp below, gone when the object is.
class TempRunFolder {
 public:
  TempRunFolder() {
    std::string pattern = "/tmp/tarny-test-XXXXXX";
    m_path = mkdtemp(pattern.data());
    std::filesystem::create_directory(m_path + "/Temp");
    platform::SetProgramFolder(m_path);
  }
  ~TempRunFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  const std::string& Path() const { return m_path; }
  std::string Work(const std::string& name) const { return m_path + "/Temp/" + name; }

  static void Write(const std::string& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
  }
  static void WriteWide(const std::string& path, std::u16string_view text) {
    Write(path, {reinterpret_cast<const char*>(text.data()), text.size() * 2});
  }
  static std::string Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::string m_path;
};
