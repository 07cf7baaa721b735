#include "target/CTarnyOutlookHandler.h"

// Stand-in until the web archive builder comes: no page becomes an archive.
CString CTarnyOutlookHandler::ConvertHtmlToMime(CString) { return {}; }
