#pragma once

#include <array>

#include "platform/CStringArray.h"
#include "target/RdoWrappers.h"

// The contacts that the process has seen, by group: a row is a group's name and, at the same index,
// the text of each field. Rows are only ever added.
extern CStringArray strListGroupName;
extern CStringArray strListFullName, strListFileAs, strListEmail1Address, strListBody,
    strListFirstName, strListBusinessTelephoneNumber, strListHomeTelephoneNumber, strListLastName,
    strListCompanyName, strListJobTitle, strListDepartment, strListOfficeLocation,
    strListCompanyMainTelephoneNumber, strListMobileTelephoneNumber, strListPagerNumber,
    strListBusinessFaxNumber, strListBusinessAddressCountry, strListBusinessAddressCity,
    strListBusinessAddressState, strListBusinessAddress, strListBusinessAddressPostalCode,
    strListMiddleName, strListTitle, strListPersonalHomePage, strListBusinessHomePage,
    strListHomeAddressCity, strListHomeAddressCountry, strListHomeAddressPostalCode,
    strListHomeAddressState, strListHomeAddress, strListSuffix;

// Those of the fields, in the order of rdo::ContactField.
extern const std::array<CStringArray*, rdo::kContactFields> arrListFields;

// The item that a search for a duplicate was asked to hand back.
extern IRDOContactItem gIRDOContactItem;
