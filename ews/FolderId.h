#pragma once

#include <optional>

#include "ews/Types.h"
#include "platform/CString.h"

namespace ews {

class SoapWriter;

// Another mailbox than the one that the connection is for.
class Mailbox {
 public:
  explicit Mailbox(CString strAddress) : m_strAddress(std::move(strAddress)) {}
  const CString& Address() const { return m_strAddress; }

 private:
  CString m_strAddress;
};

// Names a folder: by a well-known name, in the connection's own mailbox or another, or by the text
// of an id. A value; it outlives the service that it came from.
class FolderId {
 public:
  FolderId() = default;                 // none
  FolderId(WellKnownFolderName eName);  // NOLINT: implicit by design
  FolderId(WellKnownFolderName eName, const Mailbox& objMailbox);
  explicit FolderId(CString strUniqueId, CString strChangeKey = {});

  bool IsSet() const { return m_eName.has_value() || !m_strUniqueId.IsEmpty(); }
  const CString& UniqueId() const { return m_strUniqueId; }  // empty for a well-known name
  std::optional<WellKnownFolderName> FolderName() const { return m_eName; }
  // The text that it was made from; the wire name of a well-known folder.
  CString ToString() const;

  // Writes DistinguishedFolderId or FolderId. Throws ServiceException for none.
  void WriteTo(SoapWriter& objWriter) const;

 private:
  std::optional<WellKnownFolderName> m_eName;
  CString m_strMailbox;
  bool m_bMailbox = false;
  CString m_strUniqueId;
  CString m_strChangeKey;
};

}  // namespace ews
