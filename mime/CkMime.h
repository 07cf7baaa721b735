#pragma once

#include "base/CkByteData.h"
#include "base/CkMultiByteBase.h"

namespace mail {
class ClsMime;
}

// A MIME message, or one entity of it. See CkMultiByteBase for texts and results.
class CkMime : public CkMultiByteBase {
 public:
  CkMime();

  // Replaces the message by that of a file. Objects got from GetPart before look at nothing then.
  // False when the file cannot be read, or is nothing but a header of more than 20 MB.
  bool LoadMimeFile(const char* pszPath);
  // The child of that index, from 0, as a new object that the caller deletes. It looks at the same
  // tree, and a change through one is seen through the other. Null on a bad index.
  CkMime* GetPart(int nIndex);
  // Writes the decoded body, in its charset, to a file. False when it cannot be written.
  bool SaveBody(const char* pszPath);
  // The entity with its header. As text, binary bodies come out as base64; as bytes, every body
  // comes in the encoding that its header names. The bytes replace what objBytes held.
  const char* getMime();
  bool GetMimeBytes(CkByteData& objBytes);
  // Sets the first field of that name, or adds it; an empty value deletes all of that name. Always
  // true.
  bool SetHeaderField(const char* pszName, const char* pszValue);

 private:
  explicit CkMime(mail::OwnedPtr<mail::ClsMime> pImpl);
};
