#include "ews/Attachment.h"

#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"
#include "platform/Files.h"
#include "platform/Paths.h"

namespace ews {
namespace {

constexpr const char* kIndexOut = "index is out of range.";

}  // namespace

void Attachment::WriteTo(SoapWriter& objWriter) const {
  using enum SoapWriter::Vocabulary;
  objWriter.Start(kTypes, "FileAttachment");
  objWriter.Element(kTypes, "Name", m_strName);
  if (!m_strContentType.IsEmpty()) objWriter.Element(kTypes, "ContentType", m_strContentType);
  if (!m_strContentId.IsEmpty()) objWriter.Element(kTypes, "ContentId", m_strContentId);
  // kept: a picture with a content id is no inline attachment by this flag.
  objWriter.Element(kTypes, "IsInline", std::string_view("false"));
  objWriter.Element(kTypes, "IsContactPhoto", std::string_view(m_bContactPhoto ? "true" : "false"));
  objWriter.Start(kTypes, "Content");
  objWriter.Base64File(m_strPath);
  objWriter.End();
  objWriter.End();
}

Attachment& AttachmentCollection::AddFileAttachment(const CString& strPath) {
  return AddFileAttachment(CString(platform::FileNameOf(strPath)), strPath);
}

Attachment& AttachmentCollection::AddFileAttachment(const CString& strName,
                                                    const CString& strPath) {
  if (!IsXmlText(strName)) throw InvalidValue(strName, "Name");
  // A path ends at a NUL for the system, so another file would be read.
  if (strPath.Contains(std::u16string_view(u"\0", 1)) ||
      !platform::File::Open(strPath, platform::OpenMode::kRead)) {
    throw ServiceException(u"The file '" + strPath + u"' cannot be read.");
  }
  return m_arr.emplace_back(strName, strPath);
}

Attachment& AttachmentCollection::operator[](int nIndex) {
  if (nIndex < 0 || nIndex >= Count()) throw ServiceException(kIndexOut);
  return m_arr[static_cast<size_t>(nIndex)];
}

const Attachment& AttachmentCollection::operator[](int nIndex) const {
  if (nIndex < 0 || nIndex >= Count()) throw ServiceException(kIndexOut);
  return m_arr[static_cast<size_t>(nIndex)];
}

void AttachmentCollection::WriteNewTo(SoapWriter& objWriter) const {
  for (size_t n = m_nStored; n < m_arr.size(); ++n) m_arr[n].WriteTo(objWriter);
}

void AttachmentCollection::SetStored(std::span<const std::string> arrIds) {
  for (const std::string& strId : arrIds) {
    if (m_nStored == m_arr.size()) break;
    m_arr[m_nStored++].SetId(CString::FromUtf8(strId));
  }
  m_nStored = m_arr.size();
}

}  // namespace ews
