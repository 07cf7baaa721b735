#include "pipeline/ItemComparison.h"

#include <stdexcept>
#include <vector>

#include "target/CTarnyOutlookHandler.h"

// A contact of a local store has no message id to look up: it is known if every field that is kept
// of it is the same, to the character, as of one that is there. The fields are compared in the
// order of rdo::ContactField, up to the first difference.

CStringArray strListGroupName;
CStringArray strListFullName, strListFileAs, strListEmail1Address, strListBody, strListFirstName,
    strListBusinessTelephoneNumber, strListHomeTelephoneNumber, strListLastName, strListCompanyName,
    strListJobTitle, strListDepartment, strListOfficeLocation, strListCompanyMainTelephoneNumber,
    strListMobileTelephoneNumber, strListPagerNumber, strListBusinessFaxNumber,
    strListBusinessAddressCountry, strListBusinessAddressCity, strListBusinessAddressState,
    strListBusinessAddress, strListBusinessAddressPostalCode, strListMiddleName, strListTitle,
    strListPersonalHomePage, strListBusinessHomePage, strListHomeAddressCity,
    strListHomeAddressCountry, strListHomeAddressPostalCode, strListHomeAddressState,
    strListHomeAddress, strListSuffix;
const std::array<CStringArray*, rdo::kContactFields> arrListFields = {
    &strListFullName,
    &strListFileAs,
    &strListEmail1Address,
    &strListBody,
    &strListFirstName,
    &strListBusinessTelephoneNumber,
    &strListHomeTelephoneNumber,
    &strListLastName,
    &strListCompanyName,
    &strListJobTitle,
    &strListDepartment,
    &strListOfficeLocation,
    &strListCompanyMainTelephoneNumber,
    &strListMobileTelephoneNumber,
    &strListPagerNumber,
    &strListBusinessFaxNumber,
    &strListBusinessAddressCountry,
    &strListBusinessAddressCity,
    &strListBusinessAddressState,
    &strListBusinessAddress,
    &strListBusinessAddressPostalCode,
    &strListMiddleName,
    &strListTitle,
    &strListPersonalHomePage,
    &strListBusinessHomePage,
    &strListHomeAddressCity,
    &strListHomeAddressCountry,
    &strListHomeAddressPostalCode,
    &strListHomeAddressState,
    &strListHomeAddress,
    &strListSuffix};
IRDOContactItem gIRDOContactItem;

namespace {

template <typename TEST>
bool AllFields(TEST&& fnIsEqual) {
  for (int n = 0; n < rdo::kContactFields; ++n) {
    if (!fnIsEqual(static_cast<rdo::ContactField>(n))) return false;
  }
  return true;
}

CStringArray& ListOf(rdo::ContactField eField) {
  return *arrListFields.at(static_cast<size_t>(eField));
}

const CString& GroupOfRow(int nRow) {
  if (nRow >= strListGroupName.GetSize()) throw std::invalid_argument("A row has no group.");
  return strListGroupName[nRow];
}

}  // namespace

bool CTarnyOutlookHandler::IsEqual(IRDOContactItem rdonote, IRDOContactItem childItem) {
  return AllFields(
      [&](rdo::ContactField eField) { return rdonote.Get(eField) == childItem.Get(eField); });
}

bool CTarnyOutlookHandler::CheckIfDublicateItemPresent(IRDOItems* iRdoItems,
                                                       IRDOContactItem rdonote, bool ifGetPrt) {
  bool bFound = false;
  const int nCount = iRdoItems->GetCount();
  for (int n = 1; n <= nCount && !bFound; ++n) {
    Guarded(nullptr, [&] {
      const auto objItem = iRdoItems->Item<IRDOContactItem>(n);
      if (objItem.IsEmpty() || objItem.GetMessageClass() != rdo::kContactClass) return;
      if (!IsEqual(rdonote, objItem)) return;
      if (ifGetPrt) gIRDOContactItem = objItem;
      bFound = true;
    });
  }
  return bFound;
}

bool CTarnyOutlookHandler::CheckIfDublicateItemPresent(CString strGroupName,
                                                       IRDOContactItem* rdonote) {
  for (int nRow = 0; nRow < ListOf(rdo::ContactField::FullName).GetSize(); ++nRow) {
    if (GroupOfRow(nRow) != strGroupName) continue;
    const bool bEqual = AllFields(
        [&](rdo::ContactField eField) { return ListOf(eField)[nRow] == rdonote->Get(eField); });
    if (!bEqual) continue;
    rdonote->Release();
    return true;
  }
  AddToGroupList(strGroupName, *rdonote);
  return false;
}

void CTarnyOutlookHandler::AddToGroupList(CString strGroupName, IRDOContactItem rdonote) {
  // A text that cannot be read leaves no row behind that is one in some of the lists alone.
  std::vector<CString> arrTexts;
  (void)AllFields([&](rdo::ContactField eField) {
    arrTexts.push_back(rdonote.Get(eField));
    return true;
  });
  strListGroupName.Add(strGroupName);
  for (size_t n = 0; n < arrTexts.size(); ++n) arrListFields.at(n)->Add(arrTexts[n]);
}
