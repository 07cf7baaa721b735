#include "ews/Folder.h"

#include "ews/ExchangeService.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {

void Folder::Save(const FolderId& objParent) {
  if (!m_pService) throw ServiceException(kNoService);
  if (m_objId.IsSet()) throw ServiceException(kHasId);
  const ResponseMessage objAnswer =
      m_pService->CallForOne(ExchangeService::Effect::kOnceAtMost, [&](SoapWriter& objWriter) {
        objWriter.Start(SoapWriter::kMessages, "CreateFolder");
        objWriter.Start(SoapWriter::kMessages, "ParentFolderId");
        objParent.WriteTo(objWriter);
        objWriter.End();
        objWriter.Start(SoapWriter::kMessages, "Folders");
        objWriter.Start(SoapWriter::kTypes, ElementName());
        if (m_strDisplayName)
          objWriter.Element(SoapWriter::kTypes, "DisplayName", *m_strDisplayName);
        objWriter.End();
        objWriter.End();
        objWriter.End();
      });
  if (objAnswer.arrFolders.empty() || objAnswer.arrFolders.front().strId.empty()) {
    throw ServiceException(
        WithOpenOutcome("The request failed. The server named no id for the new folder.", "It"));
  }
  m_objId = FolderId(CString::FromUtf8(objAnswer.arrFolders.front().strId));
}

}  // namespace ews
