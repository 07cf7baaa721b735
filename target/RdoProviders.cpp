#include "target/RdoProviders.h"

#include <map>
#include <stdexcept>
#include <utility>

namespace rdo {
namespace {

std::map<CString, Maker>& Makers() {
  static std::map<CString, Maker> objMakers;
  return objMakers;
}

}  // namespace

Provider::Provider(std::u16string_view strName, Maker fnMake)
    : m_strName(strName), m_fnBefore(std::exchange(Makers()[m_strName], std::move(fnMake))) {}

Provider::~Provider() { Makers()[m_strName] = std::move(m_fnBefore); }

std::shared_ptr<Object> CreateObject(std::u16string_view strName) {
  const auto it = Makers().find(CString(strName));
  if (it == Makers().end() || !it->second) {
    throw std::runtime_error("nothing here provides " + CString(strName).ToUtf8());
  }
  return it->second();
}

}  // namespace rdo
