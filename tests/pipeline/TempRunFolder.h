#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/CLogManager.h"
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
  std::string ReadWork(const std::string& name) const { return test_support::ReadAll(Work(name)); }
  bool HasWork(const std::string& name) const { return std::filesystem::exists(Work(name)); }

  // A new trace for what comes, as each command of the engine has it, and what it holds.
  void BeginTrace(CLogManager& log) const {
    std::filesystem::remove(File("trace.txt"));
    log.SetFileName(GetCurrLogPath() + u"trace.txt");
  }
  std::string Trace() const {
    return CString(test_support::WideText(test_support::ReadAll(File("trace.txt")))).ToUtf8();
  }
};
