#pragma once

#include <string>

namespace mailbox {

// The files certificate.pem and key.pem of a data folder (path of this system): made once, for
// localhost and 127.0.0.1, valid for ten years. The certificate signs itself and serves as the one
// authority that a client has to trust.
struct Certificate {
  std::string certificateFile;
  std::string keyFile;
};

// Throws std::runtime_error when it can neither be found nor made.
Certificate EnsureCertificate(const std::string& folder);

}  // namespace mailbox
