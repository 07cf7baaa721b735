#pragma once

#include <deque>
#include <span>
#include <string>

#include "platform/CString.h"

namespace ews {

class SoapWriter;

// One file that travels with an item. Its bytes are read when the item is sent.
class Attachment {
 public:
  Attachment(CString strName, CString strPath)
      : m_strName(std::move(strName)), m_strPath(std::move(strPath)) {}

  const CString& Name() const { return m_strName; }
  const CString& Path() const { return m_strPath; }
  const CString& ContentId() const { return m_strContentId; }
  void SetContentId(CString str) { m_strContentId = std::move(str); }
  const CString& ContentType() const { return m_strContentType; }
  void SetContentType(CString str) { m_strContentType = std::move(str); }

  bool IsContactPhoto() const { return m_bContactPhoto; }
  void SetContactPhoto(bool bPhoto) { m_bContactPhoto = bPhoto; }

  // Empty until the server has told it.
  const CString& Id() const { return m_strId; }
  void SetId(CString str) { m_strId = std::move(str); }

  // Throws ServiceException if the file cannot be read any more.
  void WriteTo(SoapWriter& objWriter) const;

 private:
  CString m_strName;
  CString m_strPath;  // in Windows form
  CString m_strContentId;
  CString m_strContentType;
  bool m_bContactPhoto = false;
  CString m_strId;
};

class AttachmentCollection {
 public:
  // Both return the new attachment; the reference stays good while the collection lives. Throw
  // ServiceException at once for what is no readable file, a folder too, and for a name that XML
  // cannot hold, and then add nothing.
  Attachment& AddFileAttachment(const CString& strPath);  // named as the file
  Attachment& AddFileAttachment(const CString& strName, const CString& strPath);

  int Count() const { return static_cast<int>(m_arr.size()); }
  // Throws ServiceException ("index is out of range.") for an index that has no attachment.
  Attachment& operator[](int nIndex);
  const Attachment& operator[](int nIndex) const;

  // True if there are some that the server does not have yet.
  bool HasNew() const { return m_nStored < m_arr.size(); }
  // Writes one FileAttachment element for each of these.
  void WriteNewTo(SoapWriter& objWriter) const;
  // The server has them now, and told their ids in this order, UTF-8. It may tell of more or less.
  void SetStored(std::span<const std::string> arrIds);

 private:
  std::deque<Attachment> m_arr;
  size_t m_nStored = 0;  // the first ones are with the server
};

}  // namespace ews
