#include "mime/CkFileAccess.h"

#include "base/ClsOperation.h"
#include "base/LibraryFiles.h"

namespace mail {
namespace {

class ClsFileAccess final : public ClsBase {
 public:
  bool WriteEntireFile(XString& strPath, const DataBuffer& arrBytes) {
    ClsOperation objOperation(*this, "WriteEntireFile");
    m_log.LogData("path", strPath.utf8().view());
    m_log.LogDataLong("numBytes", arrBytes.getSize());
    return objOperation.done(writeWholeFile(strPath, arrBytes.view()));
  }

 private:
  ~ClsFileAccess() override = default;
};

}  // namespace
}  // namespace mail

CkFileAccess::CkFileAccess() : CkMultiByteBase(mail::makeOwned<mail::ClsFileAccess>()) {}

bool CkFileAccess::WriteEntireFile(const char* pszPath, CkByteData& objBytes) {
  return run(&mail::ClsFileAccess::WriteEntireFile, pszPath, objBytes.bytes());
}
