#pragma once

namespace mail {

// How the fields of a header are read and written.
struct MimeControl {
  // Fields are neither folded nor encoded and have no type of their own.
  bool m_bRawFields = false;
  // Address fields are written as lists of addresses, and the white space of Received and its like
  // is shrunk.
  bool m_bMailAddresses = false;
};

}  // namespace mail
