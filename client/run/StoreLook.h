#pragma once

#include <string>
#include <vector>

#include "client/run/Target.h"
#include "client/run/TargetLook.h"
#include "target/RdoWrappers.h"

namespace client {

class Journal;

// Looks into a store of this machine, beside the engine, whichever profile lists it. A store that
// is not made yet holds nothing.
class StoreLook : public TargetLook {
 public:
  explicit StoreLook(const Target& target);

  std::string Identity(const Place& place) override;
  bool Has(const Place& place) override { return !FolderAt(place).IsEmpty(); }
  using TargetLook::Find;
  void Find(const Place& place, const Names& names, const Take& take) override;
  bool HoldsAny(const Is& is) override;
  void List(const Place& place, const Take& take) override;

 private:
  IRDOFolder Root();
  // The folder of that path, with its names as they are there; empty where it is not there. Below
  // the folders that servers know nothing is ever put into a store.
  IRDOFolder FolderAt(const Place& place, std::string* names = nullptr);

  CString m_path;
  IRDOPstStore m_store;
};

// Whether an item's failure with that text is its store's, and the next item would meet it, too.
bool IsOfStore(const std::string& text);
// Whether the target is a store that is not there any more, or that another file took the place of,
// by the text of an item's failure; not where nobody can tell.
bool IsStoreGone(const Target& target, const std::string& text);
std::string StoreGoneText(const Target& target);  // for people, of one that held items

// Throws RunError for a store that holds items of the run, by its journal, and that is gone, for
// whoever opens it next would make an empty one in its place; and for another one in its place.
void RequireStoreKept(const Target& target, Journal& journal);
// To be called when the run has logged on to it: that is its store from now on.
void KeepStore(const Target& target, Journal& journal);

// Why the store can be neither used nor made; empty where it can.
std::string StoreProblem(const Target& target);
// The same, and opens it as the engine does.
std::string TryStore(const Target& target);

}  // namespace client
