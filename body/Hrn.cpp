#include "body/Hrn.h"

#include <cerrno>
#include <system_error>

void Hrn::HrsConvertFile(const CString&, const CString&, int) {
  throw std::system_error(ENOSYS, std::generic_category(), "no converter for RTF");
}
