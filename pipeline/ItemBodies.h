#pragma once

#include "ews/Item.h"
#include "pipeline/ST_EML_INFO.h"
#include "platform/CLogManager.h"
#include "platform/CString.h"

// The bodies of appointments, tasks and contacts. Mails have their own (pipeline/MailItems.cpp).
// The folder strHtmPath ends in a backslash.

// The end of every Content-ID that the engine makes.
inline constexpr std::u16string_view kContentIdEnd = u"@01C77B50.1E294610";

// What differs between the types where the body is rich text: their lines in the trace, and one
// clean-up.
struct RtfBodyRules {
  const char16_t* pszBegin;    // null for none
  const char16_t* pszImage;    // for each image of the page
  const char16_t* pszLast;     // behind the last one
  const char16_t* pszFailure;  // for a picture that cannot be attached; null for none
  bool bMendsHtm;              // an extension that reads "htm" gets its point
};
inline constexpr RtfBodyRules kTaskRtf{nullptr, u"<1img\r\n", u"break <1img\r\n", nullptr,
                                       /*bMendsHtm=*/true};
inline constexpr RtfBodyRules kAppointmentRtf{u"SaveCalenderItem_ch111_IN", u"<2img\r\n",
                                              u"break <2img\r\n", u"SaveCalenderItem_ch111_catch",
                                              /*bMendsHtm=*/false};
inline constexpr RtfBodyRules kContactRtf{u"SaveContactItem_ch111_IN", u"<3img\r\n",
                                          u"break <3img\r\n", u"SaveContactItem_ch111_Catch",
                                          /*bMendsHtm=*/false};

// Converts "ch2111.rtf", sets the page as the body and attaches the pictures that it shows. False
// where no page came of it, with the safe switch none with words or pictures either: nothing is set
// then.
bool SetPageFromRtf(ews::Item& objItem, const CString& strHtmPath, const RtfBodyRules& objRules,
                    CLogManager& objLog);

// The body of an appointment or a task: rich text, or the record's text, as plain text where there
// is a "TextFile1.eml", else as a page where there is a "ch111.html". A page is completed in the
// record, too.
void SetRecordBody(ews::Item& objItem, const CString& strHtmPath, ST_EML_INFO& objInfo,
                   const RtfBodyRules& objRules, CLogManager& objLog);

// The rule of the two page tags: a page that lacks one of them gets it, and one that has both
// begins at its "<HTML>". kept: it ends as many characters behind "</HTML>" as "<HTML>" stands
// behind the text's beginning.
CString WithPageTags(CString strText);
