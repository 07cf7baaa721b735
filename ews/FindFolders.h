#pragma once

#include <vector>

#include "ews/Folder.h"

namespace ews {

// How much of a search's result is wanted: one page behind the first nOffset, of direct children or
// of all that lies below.
class FolderView {
 public:
  enum class Traversal { kShallow, kDeep };
  explicit FolderView(int nPageSize, int nOffset = 0, Traversal eTraversal = Traversal::kShallow)
      : m_nPageSize(nPageSize), m_nOffset(nOffset), m_eTraversal(eTraversal) {}
  int PageSize() const { return m_nPageSize; }
  int Offset() const { return m_nOffset; }
  bool Deep() const { return m_eTraversal == Traversal::kDeep; }

 private:
  int m_nPageSize;
  int m_nOffset;
  Traversal m_eTraversal;
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
