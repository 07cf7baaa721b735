#pragma once

#include <string>
#include <string_view>

#include "client/run/WorkFolder.h"
#include "pipeline/MailAddressing.h"

namespace client {

inline constexpr std::string_view kMimeName = "EmlFile.Eml";

// What the descriptor of a mail says besides its MIME content. Texts are UTF-8.
struct MailDescription {
  std::string key;   // its key in the ledger
  std::string date;  // as DescriptorDate gives it; empty leaves the dates to the MIME content
  bool read = true;
  MailAddressing addressing = {};  // what is empty is left to the MIME content
};

// The lines of the descriptor, in UTF-8. The importance stays empty: the engine sets only
// what is not empty, and so the MIME content decides. An empty line has no label: the engine trims
// a line before it takes the label away, and would take a label that stands alone for the value.
// Each line ends in CR LF but the second, whose value the engine takes with all that stands before
// the LF.
std::string DescriptorText(const MailDescription& mail);

// The mail as it is sent: without "From " and ">From " lines in front, and with CR LF at the end of
// its lines where it has none at all, those aside in which its store notes what became of it. Other
// bytes stay.
std::string MimeBytes(std::string bytes);

// Writes the files of one mail into the work folder, the descriptor last. The folder must have been
// emptied. Throws WriteError.
void WriteMail(const std::string& workFolder, const MailDescription& mail, std::string_view mime);

}  // namespace client
