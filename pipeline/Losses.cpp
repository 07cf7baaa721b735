#include "pipeline/Losses.h"

#include "ews/Settings.h"

void NoteLoss(CLogManager& objLog, CString strWhat, std::u16string_view strWhy) {
  if (!ews::Settings().bSafe) return;
  for (const char16_t ch : {u'\r', u'\n', u'\0'}) strWhat.Replace(ch, u' ');
  objLog.WriteLog(CString(kGoesWithout) + strWhat + u" (" + CString(strWhy) + u")");
}
