#include "ews/Settings.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/RdoWrappers.h"

// Lists of a local store: that there are two of given names, and one is a member of the other.
namespace {

bool IsListOf(const IRDODistListItem& objItem, const CString& strName) {
  return !objItem.IsEmpty() && objItem.GetMessageClass() == rdo::kDistListClass &&
         objItem.GetDLName() == strName;
}

}  // namespace

IRDODistListItem CTarnyOutlookHandler::FindList(const IRDOItems& objItems, int nCount,
                                                const CString& strName) {
  IRDODistListItem objFound;
  for (int n = 1; n <= nCount && objFound.IsEmpty(); ++n) {
    Guarded(nullptr, [&] {
      const auto objItem = objItems.Item<IRDODistListItem>(n);
      if (IsListOf(objItem, strName)) objFound = objItem;
    });
  }
  return objFound;
}

void CTarnyOutlookHandler::SaveDLGroup(IRDOItems* iRdoItems, CString strAddressGroupName,
                                       CString strChildGroupName) {
  const auto AddNamed = [&](IRDODistListItem& objList, const CString& strName) {
    const auto objNew = iRdoItems->Add<IRDODistListItem>(rdo::kDistListClass);
    // One that does not get its name is saved below all the same, where nobody finds it again.
    if (!ews::Settings().bSafe) objList = objNew;
    objNew.SetSubject(strName);
    objNew.SetDLName(strName);
    objList = objNew;
  };
  int nCount = 0;
  if (!Succeeds([&] { nCount = iRdoItems->GetCount(); })) return;  // else both could come twice
  IRDODistListItem objParent = FindList(*iRdoItems, nCount, strAddressGroupName);
  if (objParent.IsEmpty()) Guarded(nullptr, [&] { AddNamed(objParent, strAddressGroupName); });
  IRDODistListItem objChild = FindList(*iRdoItems, nCount, strChildGroupName);
  if (objChild.IsEmpty()) {
    Guarded(nullptr, [&] {
      AddNamed(objChild, strChildGroupName);
      objChild.Save();
    });
  }
  Guarded(nullptr, [&] {
    if (objParent.IsEmpty() || objChild.IsEmpty()) return;
    objParent.AddContact(objChild, 0);
    objParent.Save();
  });
  Guarded(nullptr, [&] { objChild.Save(); });
}
