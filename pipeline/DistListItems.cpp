#include "ews/ContactGroup.h"
#include "pipeline/SaverSteps.h"
#include "target/CTarnyOutlookHandler.h"

// Fills a list of people from its record.

int CTarnyOutlookHandler::SaveDistListItem(ews::ContactGroup& objContactGroup,
                                           ST_EML_INFO* pobjST_EML_INFO) {
  const ST_EML_INFO& objInfo = *pobjST_EML_INFO;
  Guarded(u"SaveContactItem_End_catch", [&] {  // kept: the text of contacts
    CList<CString, CString> objMembers;
    GetMembersList(SentText(objInfo.strGroup) + u";", &objMembers);
    for (const CString& strMember : objMembers) {
      if (!strMember.IsEmpty()) objContactGroup.Members().Add(ews::GroupMember(strMember));
    }
    if (!objInfo.strListName.IsEmpty()) {
      objContactGroup.SetDisplayName(SentText(objInfo.strListName));
    }
    if (!objInfo.strListDescription.IsEmpty()) {
      objContactGroup.SetBody(SentText(objInfo.strListDescription));
    }
  });
  return kSuccess;
}
