#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/run/Plan.h"
#include "ews/FindItems.h"
#include "ews/FolderId.h"

namespace client {

struct Target;

// A folder of the target: a path as the engine gets it, in UTF-8, below the target's root or below
// a folder of the mailbox that every server knows.
struct Place {
  using Root = std::optional<ews::WellKnownFolderName>;
  Place(std::string ofPath, Root below = std::nullopt)  // NOLINT: a path is a place
      : path(std::move(ofPath)), root(below) {}
  Place(const char* ofPath, Root below = std::nullopt) : Place(std::string(ofPath), below) {}
  std::string path;
  Root root;
};

// Whether what a target tells of an item is that text, and not an empty one. Servers cut long
// texts, and may compare without regard to case; we do not.
bool IsFoundText(const CString& found, const std::string& wanted);

// Looks at what the target holds, and makes nothing there. Places lead to the folders that the
// engine would save into. Every function throws std::runtime_error with the reason when the target
// cannot be asked; Identity and List name the folder, too.
class TargetLook {
 public:
  virtual ~TargetLook() = default;

  // The same for paths that lead to one folder of the target; of one that is not there the path.
  virtual std::string Identity(const Place& place) = 0;

  virtual bool Has(const Place& place) = 0;

  using Take = std::function<void(const ews::FoundItem&)>;

  // What items are looked for by; by an empty text, or none at all, none is found.
  struct Names {
    std::vector<CString> keys;
    std::vector<CString> messageIds;
  };
  // Hands over the items of the folder that carry one of the names. A folder that is not there
  // holds none.
  virtual void Find(const Place& place, const Names& names, const Take& take) = 0;
  void Find(const Place& place, const CString& key, const CString& messageId, const Take& take) {
    Find(place, Names{{key}, {messageId}}, take);
  }
  // Whether any folder of the target holds such an item. Lists them all, of a mailbox with very
  // many folders not of all, until there is one.
  using Is = std::function<bool(const ews::FoundItem&)>;
  virtual bool HoldsAny(const Is& is) = 0;
  // Hands over every item of the folder.
  virtual void List(const Place& place, const Take& take) = 0;
};

// For a target, which must outlive it, and the kinds of items that go into its folders.
std::unique_ptr<TargetLook> LookAt(const Target& target, FolderKinds kinds);

}  // namespace client
