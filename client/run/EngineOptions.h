#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace client {

class LocalMailbox;
struct Target;

// How the engine is to work and how it is to find and trust the servers. Empty texts are left to
// the engine.
struct EngineSetup {
  bool asIs = false;      // without its safeguards
  bool insecure = false;  // every server certificate is accepted
  std::string autodiscoverUrl;
  std::string authorityUrl;
  std::string caFile;
  std::vector<std::string> trustHosts;
  std::string proxy;
  std::uint32_t patience = 1800;  // seconds that an outage of the server is waited out
  bool patienceGiven = false;     // by a person
};

// The engine's command line in front of the marker. `local` is the mailbox that the target is, null
// for another target.
std::vector<std::string> EngineOptions(const EngineSetup& setup, const Target& target,
                                       const LocalMailbox* local);

// Makes ews::Settings() here what they are in an engine of that title. Returns what is wrong with
// an option, for people; empty when nothing is.
std::string AdoptEngineOptions(const std::vector<std::string>& options, const std::string& title);

}  // namespace client
