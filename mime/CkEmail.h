#pragma once

#include "base/CkMultiByteBase.h"

// A mail: its text, sender and subject. See CkMultiByteBase for texts and results.
class CkEmail : public CkMultiByteBase {
 public:
  CkEmail();  // an empty mail, dated now

  // Replaces the mail by that of a file, whose path has at most 1,000 characters and holds no
  // "MIME-Version:"; any other text is taken for the mail itself. On failure the old mail stays.
  bool LoadEml(const char* pszPathOrMime);
  bool SetFromMimeText(const char* pszMime);
  // Writes the mail to a file, and then takes the field X-Unsent out of the object. False when it
  // cannot be written; what is there then is unspecified.
  bool SaveEml(const char* pszPath);
  // Whether the mail has an HTML text; and the first one, with CR LF line ends and otherwise as it
  // is, the charset that it names for itself included. Null if there is none.
  bool HasHtmlBody();
  const char* getHtmlBody();
  // "Name <address>" or an address alone; a name may hold commas. Further addresses may follow.
  void put_From(const char* pszFrom);
  void put_Subject(const char* pszSubject);
};
