#include <array>
#include <cstdlib>
#include <string>

#include "base/LogNull.h"
#include "mime/header/CkEmailAddress.h"
#include "platform/NarrowText.h"

// Any text gives a list that is no longer than it; and where addresses and names are plain, writing
// the list for any page and reading that gives the same list.
//
// The first byte chooses the page.
namespace {

using List = mail::ExtPtrArrayOf<mail::_ckEmailAddress>;

void Check(bool holds) {
  if (!holds) std::abort();
}

bool IsPlain(const mail::_ckEmailAddress& person) {
  for (const char ch : person.m_address.view()) {
    const bool letter = (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z');
    if (!letter && ch != '@' && ch != '.') return false;
  }
  const std::string_view name = person.m_friendlyName.view();
  if (person.m_address.isEmpty() && name.find_first_of("@\"\\") != name.npos) return false;
  for (const char ch : name) {
    if (ch == '?' || ch == '>' || static_cast<unsigned char>(ch) < 0x20 || (ch & 0x80) != 0)
      return false;
  }
  return true;
}

std::string Dump(const List& list) {
  std::string dump;
  for (std::size_t n = 0; n < list.getSize(); ++n) {
    dump += list.at(n)->m_friendlyName.view();
    dump += '\n';
    dump += list.at(n)->m_address.view();
    dump += '\n';
  }
  return dump;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  constexpr std::array kPages = {0, 20127, 65001, 28591, 1251, 932, 936, 50220, 1200};
  platform::SetAnsiCodePage(1252);
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  mail::LogNull log;
  List list;
  mail::_ckEmailAddress::loadList(text, list, log);
  Check(list.getSize() <= size);
  mail::StringBuffer written;
  mail::_ckEmailAddress::emitList(list, written, kPages[data[0] % kPages.size()], log);
  for (std::size_t n = 0; n < list.getSize(); ++n) {
    Check(!list.at(n)->m_friendlyName.isEmpty() || !list.at(n)->m_address.isEmpty());
    if (!IsPlain(*list.at(n))) return 0;
  }
  List again;
  mail::_ckEmailAddress::loadList(written.view(), again, log);
  Check(Dump(again) == Dump(list));
  return 0;
}
