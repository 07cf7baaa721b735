#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "body/rtf/Formats.h"

namespace rtf {

inline constexpr int kListLevels = 9;
inline constexpr int kBulletFormat = 23;  // numbers of \levelnfc
inline constexpr int kNoNumber = 255;

struct ListLevel {
  int nFormat = 0;
  int nStart = 1;
  int nFont = kNoFont;
  // What stands before the paragraph; units below kListLevels are places of the levels' numbers.
  std::u16string strText;
  bool operator==(const ListLevel&) const = default;
};

// What stands before one paragraph of a list.
struct ListMarker {
  bool bOrdered = false;
  std::string_view strStyle{};  // the list-style-type that draws it; empty: only as text
  int nNumber = 0;
  int nFont = kNoFont;
  std::u16string strText;  // private characters of sign fonts among them
};

// The document's lists and how far each has been counted. A key is positive for a list override
// (\ls), negative for a list of the old form, 0 for none.
class ListTable {
 public:
  // Definitions, in the order in which the tables give them.
  void BeginList() { m_arrLists.emplace_back(); }
  ListLevel& BeginLevel();
  ListLevel& Level();  // the one begun last
  void NameList(int nId);
  void BeginOverride() { m_objOverride = {}; }
  void BeginOverrideLevel();
  void SetOverrideStart(int nStart);
  void SetOverrideList(int nId) { m_objOverride.nList = nId; }
  void NameOverride(int nKey) { m_mapOverrides[nKey] = m_objOverride; }
  // Returns the key of a list of the old form; the same as before for the same definition.
  int AddOld(const ListLevel& objLevel);

  // Counts one paragraph. A key or level that was not defined counts as decimal.
  ListMarker Next(int nKey, int nLevel);

 private:
  using Levels = std::vector<ListLevel>;
  struct Override {
    int nList = 0;
    std::vector<int> arrStarts;  // by level; 0 where the list's own holds
    bool bUsed = false;
  };
  using Counters = std::array<int, kListLevels>;  // the next numbers; 0: the level's start

  const Levels* LevelsOf(int nKey) const;
  Counters& CountersOf(int nKey);
  static std::u16string TextOf(const Levels& arrLevels, const Counters& arrCounters, int nLevel);

  std::vector<Levels> m_arrLists;
  std::unordered_map<int, std::size_t> m_mapLists;  // id to index
  std::unordered_map<int, Override> m_mapOverrides;
  std::vector<Levels> m_arrOld;
  Override m_objOverride;
  ListLevel m_objNoLevel;
  std::map<std::pair<bool, int>, Counters> m_mapCounters;  // of a list's id, or of a key
};

// "12", "xii", "L", … by the number of a \levelnfc.
std::u16string FormatListNumber(int nNumber, int nFormat);

}  // namespace rtf
