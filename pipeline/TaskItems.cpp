#include "ews/Settings.h"
#include "ews/Task.h"
#include "pipeline/ItemBodies.h"
#include "pipeline/RecurrenceText.h"
#include "pipeline/SaverSteps.h"
#include "target/CTarnyOutlookHandler.h"

// Fills a task from its record and its work files. kept: unlike with appointments, a step that
// fails costs the task, which then counts as known and is lost without a word; a series is the one
// that does. With the safe switch a series is made of what is valid of it.

namespace {

// kept: exactly these words; any other leaves what the importance says.
void SetPriority(ews::Task& objTask, const CString& strPriority) {
  if (strPriority == u"High") objTask.SetImportance(ews::Importance::High);
  if (strPriority == u"Low") objTask.SetImportance(ews::Importance::Low);
  if (strPriority == u"Normal") objTask.SetImportance(ews::Importance::Normal);
}

}  // namespace

int CTarnyOutlookHandler::SaveTaskItem(ews::Task& objCkEmail, CString strHtmPath,
                                       ST_EML_INFO* p_ST_EML_INFO) {
  try {
    if (IsKnownItem(*p_ST_EML_INFO)) return kFailure;
    FillTask(objCkEmail, *p_ST_EML_INFO);
    Guarded(nullptr, [&] {
      SetRecordBody(objCkEmail, strHtmPath, *p_ST_EML_INFO, kTaskRtf, m_objLogManager);
    });
    AttachListed(objCkEmail, strHtmPath, kAttachmentList, EmptyLines::kTried, m_objLogManager);
    return kSuccess;
  } catch (...) {
    if (ews::Settings().bSafe) throw;
    return kFailure;
  }
}

void CTarnyOutlookHandler::FillTask(ews::Task& objTask, const ST_EML_INFO& objInfo) {
  SetImportance(objTask, objInfo.strImportance);
  if (!objInfo.strCategory.IsEmpty()) {
    objTask.SetCategories(std::vector{SentText(objInfo.strCategory)});
  }
  SetPriority(objTask, objInfo.strTaskPriority);
  SetToFromBodyCreationDateProrityReadSubject(objTask, objInfo.dtCreationDate, objInfo.strSubject,
                                              objInfo.bRead);
  if (IsDate(objInfo.dtStartDate)) objTask.SetStartDate(WallClock(objInfo.dtStartDate));
  if (IsDate(objInfo.dtDueDate)) objTask.SetDueDate(WallClock(objInfo.dtDueDate));
  if (objInfo.strRecurrence.IsEmpty()) return;
  std::optional<ews::Recurrence> objSeries;
  ReadRecurrence(objInfo.strRecurrence, objInfo.dtStartDate, kTaskSeries, objSeries);
  if (!objSeries && ews::Settings().bSafe) m_objLogManager.WriteLog(kSeriesLeftOut);
  if (objSeries) objTask.SetRecurrence(objSeries);
}
