#include "ews/Appointment.h"
#include "ews/Settings.h"
#include "pipeline/ItemBodies.h"
#include "pipeline/ItemDescriptor.h"
#include "pipeline/RecurrenceText.h"
#include "pipeline/SaverSteps.h"
#include "target/CTarnyOutlookHandler.h"

// Fills an appointment from its record and its work files, each property by itself. Who attends is
// the import driver's affair.

int CTarnyOutlookHandler::SaveCalenderItem(ews::Appointment& objCkEmail, CString strHtmPath,
                                           ST_EML_INFO* p_ST_EML_INFO) {
  const auto Log = [&](std::u16string_view str) { m_objLogManager.WriteLog(str); };
  ST_EML_INFO& objInfo = *p_ST_EML_INFO;
  Log(u"SaveCalenderItem_0");
  if (IsKnownItem(objInfo)) {
    Log(u"SaveCalenderItem_Dupl_return");
    return kFailure;
  }
  if (!CString(objInfo.strMessageId).Trim().IsEmpty() && GetAllowDuplicates()) {
    Log(u"SaveCalenderItem_Dup_CLose");  // sic; of an item without an id nothing was asked
  }
  strHtmPath.MakeUpper();
  Guarded(u"SaveCalenderItem_2_catch", [&] {
    Log(u"SaveCalenderItem_1");
    SetMimeFromPath(objCkEmail, strHtmPath);
    Log(u"SaveCalenderItem_2");
  });
  try {
    FillAppointment(objCkEmail, objInfo);
    Guarded(u"SaveCalenderItem_TextFile1_catch", [&] {
      SetRecordBody(objCkEmail, strHtmPath, objInfo, kAppointmentRtf, m_objLogManager);
    });
    Guarded(u"SaveCalenderItem_11comtextjjAttach_catch", [&] {
      Log(u"SaveCalenderItem_11comtextjjAttach_t");
      AttachListed(objCkEmail, strHtmPath, kAttachmentList, EmptyLines::kSkipped, m_objLogManager);
    });
    return kSuccess;
  } catch (...) {
    Log(u"SaveCalenderItem_11comtextjjAttach_catch_1");
    if (ews::Settings().bSafe) throw;  // it must not count as an item that is known
    return kFailure;
  }
}

void CTarnyOutlookHandler::FillAppointment(ews::Appointment& objItem, const ST_EML_INFO& objInfo) {
  Guarded(u"SaveCalenderItem_2_SetToFromBodyCreationDateProrityReadSubject_catch", [&] {
    SetToFromBodyCreationDateProrityReadSubject(objItem, objInfo.dtCreationDate, objInfo.strSubject,
                                                objInfo.bRead);
    m_objLogManager.WriteLog(
        u"SaveCalenderItem_2_SetToFromBodyCreationDateProrityReadSubject_Afetr");  // sic
  });
  Guarded(u"SaveCalenderItem_2_Location_catch", [&] {
    const CString strLocation = CString(objInfo.strLocation).Trim();
    if (!strLocation.IsEmpty()) objItem.SetLocation(SentText(strLocation));
  });
  Guarded(u"SaveCalenderItem_2_DateTime_catch", [&] {
    if (IsDate(objInfo.dtStartDate)) objItem.SetStart(WallClock(objInfo.dtStartDate));
  });
  Guarded(u"SaveCalenderItem_2_DateTime2_catch", [&] {
    if (IsDate(objInfo.dtEndDate)) objItem.SetEnd(WallClock(objInfo.dtEndDate));
  });
  SetImportance(objItem, CString(objInfo.strImportance).Trim());
  const CString strCategory = CString(objInfo.strCategory).Trim();
  if (!strCategory.IsEmpty()) objItem.SetCategories(std::vector{SentText(strCategory)});
  std::optional<ews::Recurrence> objSeries;
  Guarded(u"SaveCalenderItem_2_Recurrence_catch", [&] {
    const CString strRecurrence = CString(objInfo.strRecurrence).Trim();
    if (strRecurrence.IsEmpty()) return;
    ReadRecurrence(strRecurrence, objInfo.dtStartDate, kAppointmentSeries, objSeries);
    if (!objSeries && ews::Settings().bSafe) m_objLogManager.WriteLog(kSeriesLeftOut);
  });
  if (objSeries) objItem.SetRecurrence(objSeries);
}
