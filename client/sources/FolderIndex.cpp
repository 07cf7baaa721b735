#include "client/sources/FolderIndex.h"

#include <array>

#include "base/WholeNumber.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

enum class CellKind { kColumn, kText, kValue };
using TakeCell = std::function<void(CellKind kind, std::string_view cell)>;

// Finds the cells of an index, without their brackets: "A1=numMsgs", "83=12c", "^A1^83".
class Cells {
 public:
  explicit Cells(TakeCell take) : m_take(std::move(take)) {}
  void Feed(std::string_view piece) {
    for (const char c : piece) m_isCell ? TakeInCell(c) : TakeOutside(c);
  }

 private:
  static constexpr std::size_t kMost = 64;  // bytes of one: those of interest are short

  void TakeInCell(char c) {
    if (c == ')' && !m_isEscaped) return EndCell();
    m_isEscaped = c == '\\' && !m_isEscaped;
    if (m_cell.size() < kMost) m_cell += c;
  }
  void TakeOutside(char c) {
    if (m_isComment) {
      m_isComment = c != '\n';
      return;
    }
    if (c == '(') {
      m_isCell = true;
    } else if (c == '<') {
      if (++m_depth == 1) m_isOfColumns = false;
    } else if (c == '>' && m_depth > 0) {
      --m_depth;
    } else if (c == '/' && m_last == '/') {
      m_isComment = true;
    }
    m_last = c;
  }
  void EndCell() {
    m_isCell = false;
    if (m_depth > 1) {
      m_isOfColumns = m_isOfColumns || m_cell == "a=c";
    } else if (m_depth == 1) {
      m_take(m_isOfColumns ? CellKind::kColumn : CellKind::kText, m_cell);
    } else if (m_cell.starts_with('^')) {
      m_take(CellKind::kValue, m_cell);
    }
    m_cell.clear();
  }

  TakeCell m_take;
  bool m_isCell = false;
  bool m_isEscaped = false;
  bool m_isComment = false;
  bool m_isOfColumns = false;
  std::uint64_t m_depth = 0;  // of what defines numbers
  char m_last = 0;
  std::string m_cell;
};

enum class Column { kMails, kFlags, kValidity, kSearch };
constexpr std::size_t kColumns = 4;
constexpr std::array<std::string_view, kColumns> kNames = {"numMsgs", "imapFlags", "UIDValidity",
                                                           "searchStr"};

// The last cell of each column of interest.
class LastCells {
 public:
  void Read(const EachPiece& each) {
    Cells cells([this](CellKind kind, std::string_view cell) { Take(kind, cell); });
    each([&](std::string_view piece) { cells.Feed(piece); });
    m_isSecond = true;
  }
  bool StandsApart() const { return Of(Column::kMails).isApart || Of(Column::kFlags).isApart; }
  bool Has(Column column) const { return Of(column).isThere; }
  std::optional<std::uint64_t> Number(Column column) const {
    const Cell& cell = Of(column);
    return cell.isApart ? std::nullopt : mail::wholeNumber<std::uint64_t>(cell.text, 16);
  }

 private:
  struct Cell {
    std::string number;  // of the column
    bool isThere = false;
    bool isApart = false;  // its text is the number of the text so far
    std::string text;
  };
  const Cell& Of(Column column) const { return m_cells[static_cast<std::size_t>(column)]; }

  void Take(CellKind kind, std::string_view cell) {
    if (m_isSecond != (kind == CellKind::kText)) return;
    const std::size_t end = cell.find_first_of("=^", 1);
    if (end == std::string_view::npos) return;
    const std::string_view text = cell.substr(end + 1);
    for (std::size_t i = 0; i < kColumns; ++i) {
      Cell& own = m_cells[i];
      if (kind == CellKind::kColumn && text == kNames[i]) own.number = cell.substr(0, end);
      if (kind == CellKind::kValue && end > 1 && cell.substr(1, end - 1) == own.number) {
        own.isThere = true;
        own.isApart = cell[end] == '^';
        own.text = text;
      }
      if (kind == CellKind::kText && own.isApart && cell.substr(0, end) == own.text) {
        own.isApart = false;
        own.text = text;
      }
    }
  }

  std::array<Cell, kColumns> m_cells;
  bool m_isSecond = false;
};

}  // namespace

FolderIndex FolderIndexOf(const EachPiece& each) {
  constexpr std::uint64_t kNoSelect = 8;
  LastCells cells;
  cells.Read(each);
  if (cells.StandsApart()) cells.Read(each);
  FolderIndex index;
  index.mails = cells.Number(Column::kMails);
  // A count that never changed is not written.
  if (!cells.Has(Column::kMails) && cells.Has(Column::kValidity)) index.mails = 0;
  index.isSearch = cells.Has(Column::kSearch);
  index.isLevel = cells.Number(Column::kFlags).value_or(0) & kNoSelect;
  return index;
}

FolderIndex ReadFolderIndex(const std::string& path) {
  return FolderIndexOf([&](const std::function<void(std::string_view)>& take) {
    ReadPieces(OpenSourceFile(path, Links::kFollow), take);
  });
}

}  // namespace client
