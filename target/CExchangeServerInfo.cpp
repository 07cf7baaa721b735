#include "target/CExchangeServerInfo.h"

#include <array>

namespace {

constexpr int kNoId = -1;
constexpr std::array<DialogControl, 17> kControls{{
    {kNoId, ControlKind::kGroup, u"Exchange Server  Information"},  // sic
    {kNoId, ControlKind::kText, u"Type the name of Exchange Server computer "},
    {kNoId, ControlKind::kText, u"Microsoft Exchange Server :  *"},
    {CExchangeServerInfo::kServer, ControlKind::kEdit, u""},
    {kNoId, ControlKind::kText,
     u"Type the name of mailbox set up by your administrator. The mailbox name is usualy your user "
     u"name."},  // sic
    {kNoId, ControlKind::kText, u"User Name: *"},
    {CExchangeServerInfo::kUser, ControlKind::kEdit, u""},
    {kNoId, ControlKind::kText, u"Type the Password of mailbox set up by your administrator. "},
    {kNoId, ControlKind::kText, u"Password   :"},
    {CExchangeServerInfo::kPassword, ControlKind::kPassword, u""},
    {kNoId, ControlKind::kGroup, u"Login Information", false},
    {kNoId, ControlKind::kText, u"User Name : ", false},
    {CExchangeServerInfo::kSecondUser, ControlKind::kEdit, u"", false},
    {kNoId, ControlKind::kText, u"Computer Name or Ip   :", false},
    {CExchangeServerInfo::kComputer, ControlKind::kEdit, u"", false},
    {kOkButton, ControlKind::kDefaultButton, u"OK"},
    {kCancelButton, ControlKind::kButton, u"Cancel"},
}};
constexpr DialogLayout kLayout{130, u"Exchange Server Information", 414, 218, kControls};

}  // namespace

const DialogLayout& CExchangeServerInfo::Layout() { return kLayout; }

void CExchangeServerInfo::OnOK() {
  m_strServer = m_objView.GetText(kServer);
  m_strUser = m_objView.GetText(kUser);
  m_strSecondUser = m_objView.GetText(kSecondUser);
  m_strPassword = m_objView.GetText(kPassword);
  m_strComputer = m_objView.GetText(kComputer);
  if (m_strServer.IsEmpty() || m_strUser.IsEmpty()) return;
  m_objView.EndDialog();
}
