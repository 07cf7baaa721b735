#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/ItemList.h"
#include "client/sources/Mbox.h"
#include "client/sources/SourceItem.h"
#include "client/sources/SpecialFolders.h"

namespace client {

class FilesBeside;

// Something in a source that cannot be migrated, and why.
struct SourceProblem {
  std::string location;
  std::string reason;
  bool isUnread = false;  // there may be mail that was not seen: no run with it is a whole one
};

// The item cannot be read, or is no mail; what() is the reason, fit for a list of failures.
class SourceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a source holds.
struct Listing {
  ItemList items;                       // in an order that names and places in files decide
  std::vector<SourceProblem> problems;  // what was left out
  std::vector<std::string> folders;     // target folders that are there with or without items
  FolderMarks marks;                    // of these
};

// A place that mail comes from.
class Source {
 public:
  virtual ~Source() = default;
  virtual Listing List() const = 0;
  // The bytes of a mail, a calendar with one event or task, a card; not for prepared items. Throws
  // SourceError.
  virtual std::string Read(const SourceItem& item) const = 0;
  // Puts what a store keeps of a mail in files of their own into its bytes, as they are sent; not
  // for prepared items. What is not there is noted.
  virtual void AddFiles(const SourceItem& /*item*/, std::string& /*bytes*/,
                        FilesBeside& /*files*/) const {}
  // Adds what a mail's own bytes tell of its state to what its place told.
  virtual void AddState(const SourceItem& /*item*/, std::string_view /*bytes*/,
                        MailState& /*state*/) const {}
};

// What is said of sources where they do not show it.
struct SourceOptions {
  MboxKind mbox = MboxKind::kAuto;
};

// Opens the source at a path of this system, by what lies there. Throws SourceError when nothing
// can be read there.
std::unique_ptr<Source> OpenSource(const std::string& path, const SourceOptions& options);

}  // namespace client
