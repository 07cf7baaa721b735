#pragma once

#include <string_view>

#include "base/ClsBase.h"
#include "base/CritSecExitor.h"
#include "base/LogContextExitor.h"

namespace mail {

// What every public operation of a working object does around its work: hold the critical section,
// begin a new log with a context named after the operation, and close with the verdict. One that
// ends without a verdict, by an exception for one, failed.
//
//   ClsOperation objOperation(*this, "SaveBody");
//   m_log.LogData("path", ...);
//   return objOperation.done(write(...));
class ClsOperation {
 public:
  ClsOperation(ClsBase& objBase, std::string_view strName)
      : m_objSection(objBase), m_log(cleared(objBase.m_log)), m_objContext(m_log, strName) {}
  ~ClsOperation() {
    if (!m_bDone) (void)done(false);
  }
  ClsOperation(const ClsOperation&) = delete;
  ClsOperation& operator=(const ClsOperation&) = delete;

  bool done(bool bSuccess) {
    m_bDone = true;
    m_log.LogInfo(bSuccess ? "Success." : "Failed.");
    return bSuccess;
  }

 private:
  static _ckLogger& cleared(_ckLogger& log) {
    log.clearLog();
    return log;
  }

  CritSecExitor m_objSection;
  _ckLogger& m_log;
  LogContextExitor m_objContext;
  bool m_bDone = false;
};

}  // namespace mail
