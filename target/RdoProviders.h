#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "platform/CString.h"
#include "target/RdoStore.h"

// Who provides the objects of stores in this process, by the objects' names.
namespace rdo {

using Maker = std::function<std::shared_ptr<Object>()>;

// A provider of objects of that name while this lives; the last one of a name counts.
class Provider {
 public:
  Provider(std::u16string_view strName, Maker fnMake);
  ~Provider();
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

 private:
  CString m_strName;
  Maker m_fnBefore;
};

// A new object of that name. Throws std::runtime_error where nobody provides one, and what its
// provider throws.
std::shared_ptr<Object> CreateObject(std::u16string_view strName);

}  // namespace rdo
