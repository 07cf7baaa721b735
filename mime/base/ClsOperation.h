#pragma once

#include <string_view>

#include "mime/base/ClsBase.h"
#include "mime/base/CritSecExitor.h"
#include "mime/base/LogContextExitor.h"

namespace mail {

// What every public operation of a working object does around its work: hold the critical section,
// begin a new log with a context named after the operation, and close with the verdict.
//
//   ClsOperation objOperation(*this, "SaveBody");
//   m_log.LogData("path", ...);
//   return objOperation.done(write(...));
class ClsOperation {
 public:
  ClsOperation(ClsBase& objBase, std::string_view strName)
      : m_objSection(objBase), m_log(cleared(objBase.m_log)), m_objContext(m_log, strName) {}

  bool done(bool bSuccess) {
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
};

}  // namespace mail
