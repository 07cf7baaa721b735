#include "target/CExchangeProfiles.h"

#include <array>

namespace {

constexpr std::array<DialogControl, 6> kControls{{
    {CExchangeProfiles::kPrompt, ControlKind::kText, u""},
    {CExchangeProfiles::kProfiles, ControlKind::kList, u"", true, 421, 57},
    {CExchangeProfiles::kStores, ControlKind::kList, u"", true, 421, 86},
    {CExchangeProfiles::kStatus, ControlKind::kText, u""},
    {kOkButton, ControlKind::kDefaultButton, u"OK"},
    {kCancelButton, ControlKind::kButton, u"Cancel"},
}};
constexpr DialogLayout kLayout{129, u"Exchange Server Configuration", 435, 257, kControls};

constexpr int kNameWidth = 200;
constexpr int kPathWidth = 250;

}  // namespace

const DialogLayout& CExchangeProfiles::Layout() { return kLayout; }

void CExchangeProfiles::OnInitDialog() {
  m_objView.AddColumn(kProfiles, u"Exchange Profiles", kNameWidth);
  m_objView.AddColumn(kStores, u"Exchange Profile Folders", kNameWidth);
  m_objView.AddColumn(kStores, u"Exchange Profile File Path", kPathWidth);
  for (const CString& strName : m_arrProfiles) m_objView.AddRow(kProfiles, {strName});
  m_objView.SetText(kPrompt, m_strPrompt);
  m_objView.Select(kProfiles, 0);
  m_arrProfiles.RemoveAll();
}

void CExchangeProfiles::OnClickProfiles() {
  const int nRow = m_objView.HitLabel(kProfiles);
  if (nRow < 0) return;
  const CString strProfile = m_objView.GetCell(kProfiles, nRow, 0);
  m_objView.RemoveRows(kStores);
  m_objView.SetText(kStatus, u"Please wait while Exchange Stores are enumerating");
  CStringArray arrStores;
  CStringArray arrPaths;
  if (!m_fnStoresOf(strProfile, arrStores, arrPaths)) return;  // kept: the status stays
  for (int n = 0; n < arrStores.GetSize(); ++n) {
    m_objView.AddRow(kStores, {arrStores[n], arrPaths[n]});
  }
  m_objView.SetText(kStatus, u"Enumeration Completed, now select exchange store");
  m_objView.Select(kStores, 0);
}

void CExchangeProfiles::OnOK() {
  const int nProfile = m_objView.GetSelectionMark(kProfiles);
  const int nStore = m_objView.GetSelectionMark(kStores);
  if (nProfile < 0 || nStore < 0) return;
  m_strProfile = m_objView.GetCell(kProfiles, nProfile, 0);
  m_strStore = m_objView.GetCell(kStores, nStore, 0);
  m_strFilePath = m_objView.GetCell(kStores, nStore, 1);
  m_objView.EndDialog();
}
