#pragma once

#include <vector>

#include "ews/Folder.h"

namespace ews {

// How much of a search's result is wanted: one page from the beginning, direct children only.
class FolderView {
 public:
  explicit FolderView(int nPageSize) : m_nPageSize(nPageSize) {}
  int PageSize() const { return m_nPageSize; }

 private:
  int m_nPageSize;
};

// The answer of a search, in the server's order.
class FindFoldersResults {
 public:
  FindFoldersResults(std::vector<Folder> arrFolders, int nTotalCount)
      : m_arrFolders(std::move(arrFolders)), m_nTotalCount(nTotalCount) {}
  const std::vector<Folder>& Folders() const { return m_arrFolders; }
  int TotalCount() const { return m_nTotalCount; }  // all matches, not only this page

 private:
  std::vector<Folder> m_arrFolders;
  int m_nTotalCount;
};

}  // namespace ews
