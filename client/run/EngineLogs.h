#pragma once

#include <cstdint>
#include <string>

namespace client {

inline constexpr char kStatusLogName[] = "StatusLog.txt";  // in the run folder

// What the trace tells of a mail that leaves without its MIME content, for want of room there.
enum class Reduction { kNone, kToText, kToNothing };

// What one command added to the engine's logs.
class EngineLogs {
 public:
  explicit EngineLogs(const std::string& runFolder);

  void Mark();  // what is added from here on counts
  // The last line of the status log that is not empty, without blanks around it and without the
  // engine's label in front of the message: what people read. UTF-8; empty when there is none.
  std::string LastStatus() const;
  // True if the trace tells of a saved item of that type (pipeline/ST_EML_INFO.h): the proof for
  // items that get no row in the ledger.
  bool HasSaved(std::int32_t type) const;
  // False if the trace shows that the command ended before anything of the item left; true, too,
  // where nothing was added to it at all, for then it cannot be written.
  bool MayHaveSent() const;
  // What of the item the engine left out (wrong values, files that are not there), as a remark;
  // empty when it took all.
  std::string LeftOut() const;
  Reduction SentReduced() const;
  Reduction EndedReduced() const;  // the last item in the whole trace

 private:
  struct Log {
    std::string path;
    std::uint64_t offset = 0;  // bytes that were there at the mark
    void Mark();
    // The bytes since the mark; empty where the log is missing or cannot be read.
    std::string Added() const;
  };
  Log m_status;  // in the ANSI code page
  Log m_trace;   // 16-bit text
};

}  // namespace client
