#pragma once

#include "target/StoreFiles.h"

namespace localstore {

class LocalStoreFiles : public rdo::StoreFiles {
 public:
  std::optional<bool> IsThere(const CString& path) override;
  std::string Problem(const CString& path) override;
  std::optional<std::string> Identity(const CString& path) override;
  std::shared_ptr<rdo::PstStore> Look(const CString& path) override;
};

}  // namespace localstore
