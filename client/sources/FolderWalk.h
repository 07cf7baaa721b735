#pragma once

#include <functional>
#include <string>
#include <vector>

#include "client/sources/Source.h"

namespace client {

// A folder of a source on the way through it.
struct SourceFolder {
  std::string path;
  std::string levels;        // its target below the root's, each level ended by a backslash
  std::string parent;        // the levels of the folder that it lies in
  bool isInMaildir = false;  // it is one, or lies in one
  bool isServers = false;    // it lies in what a server keeps, or a program that copies one
};

// Where mail of a folder of those levels goes: the root's goes to the Inbox.
std::string TargetOf(const std::string& levels);

// Where items of another kind go, to whose folder ("Contacts\") the levels are added. A folder of
// that name at the top, as exports have it, is that folder.
std::string TargetOfKind(const std::string& own, const std::string& levels);

// Adds what a folder holds to the listing, and the folders to go on with to `below`, both in order.
using TakeFolder = std::function<void(const SourceFolder& folder, Listing& listing,
                                      std::vector<SourceFolder>& below)>;

// Walks a tree of folders: a folder's own mail comes before that of the folders below it. One with
// a descriptor is a prepared item of the folder above it, whatever else it holds, and is not
// entered.
Listing WalkFolders(const std::string& root, const TakeFolder& take);

}  // namespace client
