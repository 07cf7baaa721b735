#pragma once

#include "base/StringBuffer.h"

namespace mail {

// Cuts the attributes that hold scripts ("onclick=…" and the like, in any case) out of the text,
// wherever they stand: a value in quotes, or up to white space or ">". What the cuts bring together
// is looked at again. One pass, linear.
void removeEventAttributes(StringBuffer& strHtml);

}  // namespace mail
