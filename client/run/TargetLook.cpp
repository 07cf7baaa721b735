#include "client/run/TargetLook.h"

#include <utility>

#include "client/run/ServerLook.h"
#include "client/run/StoreLook.h"
#include "client/run/Target.h"

namespace client {

bool IsFoundText(const CString& found, const std::string& wanted) {
  return !wanted.empty() && found == CString::FromUtf8(wanted).Left(ews::kLongestFoundText);
}

std::unique_ptr<TargetLook> LookAt(const Target& target, FolderKinds kinds) {
  if (target.Store()) return std::make_unique<StoreLook>(target);
  return std::make_unique<ServerLook>(target, std::move(kinds));
}

}  // namespace client
