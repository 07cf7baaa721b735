#pragma once

#include <string>
#include <vector>

#include "platform/ChildProcess.h"

namespace test_support {

// A run folder with an engine and a work folder in it, for an engine as it runs for people: a
// process of its own with a locale and a time zone that no test depends on the machine for.
class EngineFolder {
 public:
  // The folder of that path is made.
  explicit EngineFolder(std::string path);

  std::string File(const std::string& name) const { return m_path + "/" + name; }
  std::string Title() const { return "<GUID>" + m_path; }
  // Starts the engine with these arguments; `wrapper` is a program with arguments that starts it.
  platform::ChildProcess Start(const std::vector<std::string>& arguments,
                               const std::vector<std::string>& wrapper = {}) const;
  std::string Errors() const;  // its standard error; of the last one that was started

  // What a log holds since the last call, as bytes; the trace as UTF-8, "\r\n" as a line's end.
  std::string Take(const std::string& name) const;
  std::string Trace(const std::string& name = "TarnyEngine.txt") const;

 private:
  std::string m_path;
};

// The exit code of a status that a wait brought, -1 for a signal.
int ExitCode(int status);

}  // namespace test_support
