#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/Paths.h"
#include "tests/support/TemporaryFolder.h"

// A fresh program folder with its Temp below, gone when the object is.
class TempRunFolder : public test_support::TemporaryFolder {
 public:
  TempRunFolder() {
    std::filesystem::create_directory(Work(""));
    platform::SetProgramFolder(Path());
  }

  std::string Work(const std::string& name) const { return File("Temp/" + name); }
  void WriteWork(const std::string& name, const std::string& bytes) const {
    Write("Temp/" + name, bytes);
  }
  void WriteWork(const std::string& name, std::u16string_view text) const {
    WriteWork(name, test_support::WideBytes(text));
  }
};
