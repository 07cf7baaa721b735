#pragma once

#include <functional>

#include "platform/CString.h"
#include "platform/CStringArray.h"
#include "target/DialogView.h"

// Lets a person choose a profile, and a store of it.
class CExchangeProfiles {
 public:
  static constexpr int kProfiles = 1000;
  static constexpr int kStores = 1001;
  static constexpr int kPrompt = 1002;
  static constexpr int kStatus = 1003;
  static const DialogLayout& Layout();

  // Names and paths of a profile's stores (CTarnyOutlookHandler::GetAllProfilesPath).
  using StoresOf =
      std::function<int(CString strProfile, CStringArray& strArrStore, CStringArray& strArrPath)>;
  // Both must outlive this. The names are taken out of the list when the dialog opens.
  CExchangeProfiles(DialogView& objView, CStringArray& arrProfiles, StoresOf fnStoresOf)
      : m_objView(objView), m_arrProfiles(arrProfiles), m_fnStoresOf(std::move(fnStoresOf)) {}

  void OnInitDialog();
  void OnClickProfiles();
  void OnOK();  // the dialog stays unless a profile and a store are chosen

  CString m_strPrompt;
  CString m_strProfile;  // what was chosen
  CString m_strStore;
  CString m_strFilePath;

 private:
  DialogView& m_objView;
  CStringArray& m_arrProfiles;
  StoresOf m_fnStoresOf;
};
