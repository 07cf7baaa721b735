#pragma once

#include <set>
#include <string>
#include <vector>

#include "ews/EmailAddress.h"
#include "ews/Item.h"

namespace ews {

// One member of a list, by an address read as EmailAddress reads it.
class GroupMember {
 public:
  explicit GroupMember(const CString& strText) : m_objAddress(strText) {}
  const EmailAddress& AddressInformation() const { return m_objAddress; }

 private:
  EmailAddress m_objAddress;
};

class GroupMemberCollection {
 public:
  // Passes over a member whose address, in whatever case, is there already, and over one without.
  void Add(const GroupMember& objMember);
  int Count() const { return static_cast<int>(m_arr.size()); }
  auto begin() const { return m_arr.begin(); }
  auto end() const { return m_arr.end(); }

 private:
  std::vector<GroupMember> m_arr;
  std::set<std::u16string> m_setKnown;  // addresses in upper case
};

// A list of people, with a name of its own.
class ContactGroup : public Item {
 public:
  // A null service is found out at Save.
  explicit ContactGroup(std::shared_ptr<ExchangeService> pService) : Item(std::move(pService)) {}

  void SetDisplayName(CString str) { m_strDisplayName = std::move(str); }
  const std::optional<CString>& DisplayName() const { return m_strDisplayName; }
  GroupMemberCollection& Members() { return m_objMembers; }

 private:
  std::string_view ElementName() const override { return "DistributionList"; }
  void WriteOwnFields(ItemFields& objFields) const override;

  std::optional<CString> m_strDisplayName;
  GroupMemberCollection m_objMembers;
};

}  // namespace ews
