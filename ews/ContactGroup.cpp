#include "ews/ContactGroup.h"

#include "ews/ItemFields.h"
#include "platform/Unicode.h"

namespace ews {

void GroupMemberCollection::Add(const GroupMember& objMember) {
  const EmailAddress& objAddress = objMember.AddressInformation();
  if (objAddress.IsBlank()) return;
  if (m_setKnown.insert(platform::UpperUnits(objAddress.Address())).second) {
    m_arr.push_back(objMember);
  }
}

void ContactGroup::WriteOwnFields(ItemFields& objFields) const {
  objFields.Text("distributionlist:DisplayName", m_strDisplayName);
  objFields.Field("distributionlist:Members", m_objMembers.Count() > 0, [&](SoapWriter& objWriter) {
    for (const GroupMember& objMember : m_objMembers) {
      objWriter.Start(SoapWriter::kTypes, "Member");
      WriteMailbox(objWriter, objMember.AddressInformation());
      objWriter.End();
    }
  });
}

}  // namespace ews
