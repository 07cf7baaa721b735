#pragma once

#include <string>
#include <string_view>

namespace client {

// What became of an item in this run.
struct Outcome {
  enum class Kind {
    kSent,
    kKnown,         // it is there, and was not sent now
    kUpdated,       // it is there, and was told the state that it has in the source now
    kFailed,        // it is not there
    kNotConfirmed,  // the engine reported success, and nothing proves it
    kUnknown,       // it may be there, and the target could not be asked
    kAside,         // nothing of it is settled now: others are tried before it is sent again
    kLeft,          // nothing can be done for it now: the run ends, a later one takes it up
  };
  Kind kind = Kind::kFailed;
  std::string text;  // reason or remark

  bool Arrived() const {
    return kind == Kind::kSent || kind == Kind::kKnown || kind == Kind::kUpdated;
  }
};

// Of the text of a failure: true when no other item can fare better just now, for nobody waits for
// the server any more, or it refuses the logon.
bool EndsRun(std::string_view text);
// True when the request behind it may have been carried out.
bool LeavesOutcomeOpen(std::string_view text);

// Two remarks as one: "a; b"; either may be empty.
std::string Joined(const std::string& text, const std::string& more);

}  // namespace client
