#pragma once

#include "platform/CString.h"
#include "target/DialogView.h"

// Lets a person type in a server and who logs on there. Nothing uses the values yet.
class CExchangeServerInfo {
 public:
  static constexpr int kServer = 1004;
  static constexpr int kUser = 1005;
  static constexpr int kSecondUser = 1006;  // not shown
  static constexpr int kPassword = 1007;
  static constexpr int kComputer = 1008;  // not shown
  static const DialogLayout& Layout();

  explicit CExchangeServerInfo(DialogView& objView) : m_objView(objView) {}  // must outlive this

  void OnOK();  // the dialog stays without a server and a user

  CString m_strServer;
  CString m_strUser;
  CString m_strSecondUser;
  CString m_strPassword;
  CString m_strComputer;

 private:
  DialogView& m_objView;
};
