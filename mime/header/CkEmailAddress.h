#pragma once

#include <cstddef>
#include <string_view>

#include "base/ExtPtrArray.h"
#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"

namespace mail {

// A person as a mail names one. Nothing throws; everything is linear in its input.
class _ckEmailAddress : public LibraryObject {
 public:
  // What stands behind that many addresses of one list is passed over; the log says so.
  static constexpr std::size_t kMaxAddresses = 200000;

  // Takes the first address of a text (see loadList). False, and empty members, if there is none.
  bool load(std::string_view strValueUtf8, LogBase& log);

  // Adds the addresses of a field's value, in which encoded words may still stand, to arrAddresses.
  // Reads what mails hold rather than what they should: groups (their members), comments (a name
  // where there is no other, and part of one in front of brackets), commas in quotes and, where one
  // word or more and no address stands on both sides of it, in names without quotes
  // ("Lee, Ann <a@b>"), ";" for ",", addresses without brackets, brackets and quotes that never
  // end, names alone (m_address is empty then; one plain word is an address: "root"), whole lists
  // in one encoded word. An address is at least a name or an address: "<>" adds nothing.
  static void loadList(std::string_view strValueUtf8, ExtPtrArrayOf<_ckEmailAddress>& arrAddresses,
                       LogBase& log);

  // Appends "Name <address>" for a mail in that code page (0: UTF-8): the name in quotes or as an
  // encoded word where it must be. Not folded.
  void emit(StringBuffer& strOut, int nCodePage, LogBase& log) const;
  // The same for people: UTF-8, with no encoded words.
  void emitReadable(StringBuffer& strOut) const;
  // emit for each, with ", " between them.
  static void emitList(const ExtPtrArrayOf<_ckEmailAddress>& arrAddresses, StringBuffer& strOut,
                       int nCodePage, LogBase& log);

  StringBuffer m_friendlyName;  // UTF-8, decoded, without quotes
  StringBuffer m_address;       // without brackets

 private:
  bool isNameAlone() const { return m_address.isEmpty() && !m_friendlyName.isEmpty(); }
  void emitInFrontOf(const _ckEmailAddress* pNext, StringBuffer& strOut, int nCodePage,
                     LogBase& log) const;
  void appendBehindName(const _ckEmailAddress* pNext, StringBuffer& strOut) const;
};

}  // namespace mail
