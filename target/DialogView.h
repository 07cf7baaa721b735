#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/CString.h"

// What shows a dialog to a person: a dialog is logic over this, whatever draws it. Controls have
// the numbers of DialogLayout; rows and columns count from 0.
class DialogView {
 public:
  virtual ~DialogView() = default;
  virtual void SetText(int nControl, const CString& str) = 0;
  virtual CString GetText(int nControl) = 0;
  virtual void AddColumn(int nList, const CString& strTitle, int nWidth) = 0;
  virtual void AddRow(int nList, const std::vector<CString>& arrCells) = 0;  // at the end
  virtual void RemoveRows(int nList) = 0;
  virtual CString GetCell(int nList, int nRow, int nColumn) = 0;
  // Selects the row and puts the selection mark on it; nothing where there is none.
  virtual void Select(int nList, int nRow) = 0;
  virtual int GetSelectionMark(int nList) = 0;  // -1 for none
  // The row whose label is below the cursor; -1 elsewhere.
  virtual int HitLabel(int nList) = 0;
  virtual void EndDialog() = 0;  // as by OK
};

enum class ControlKind { kText, kEdit, kPassword, kList, kButton, kDefaultButton, kGroup };

struct DialogControl {
  int nId;  // -1 for one that only shows its text
  ControlKind eKind;
  std::u16string_view strText;
  bool bVisible = true;
  int nWidth = 0;  // dialog units; 0 where it is the view's affair
  int nHeight = 0;
};

struct DialogLayout {
  int nId;
  std::u16string_view strCaption;
  int nWidth;  // dialog units
  int nHeight;
  std::span<const DialogControl> arrControls;
};
inline constexpr std::u16string_view kDialogFont = u"MS Sans Serif";
inline constexpr int kDialogFontSize = 8;
inline constexpr int kOkButton = 1;
inline constexpr int kCancelButton = 2;
