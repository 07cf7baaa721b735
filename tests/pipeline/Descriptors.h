#pragma once

#include <string>

// Descriptors of items that are no mail.
namespace descriptors {

// The lines of a descriptor up to the subject.
inline std::u16string Common(const std::u16string& type, const std::u16string& to = u"") {
  return type + u"\n1\nCreation Date : 2024-03-01 10:00:00\n\nFrom : a@example.com\nTo : " + to +
         u"\n\n\nSubject : s\n";
}
// Form A has a blank line where form B goes on at once, with a lost line in front of the body.
inline std::u16string Calendar(const std::u16string& recurrence, bool formB = false,
                               const std::u16string& to = u"") {
  return Common(u"CALENDAR", to) + (formB ? u"" : u"\n") +
         u"StartDate:2024-03-11 10:00:00\nEndDate:2024-03-11 11:00:00\nLocation : Room 1\nWork\n" +
         recurrence + (formB ? u"\nlost" : u"") + u"\nBody : text";
}
inline std::u16string Task(const std::u16string& recurrence, bool formB = false) {
  return Common(u"TASK") + (formB ? u"" : u"\n") +
         u"StartDate:2024-03-11\nDueDate:2024-03-15\nWork\nLow\n" + recurrence + u"\nextra\n" +
         (formB ? u"lost\n" : u"") + u"Body : text";
}
inline std::u16string Contact(const std::u16string& fields, const std::u16string& folder = u"") {
  return Common(u"CONTACT") + u"\n" + folder + u"\n\n\n" + fields;
}
inline std::u16string List(const std::u16string& members) {
  return Common(u"DIST_LIST") + u"<ITEM>Group :" + members +
         u"</ITEM>\n<ITEM>ListName :Crew</ITEM>\n<ITEM>Description :Who sails</ITEM>\n";
}

}  // namespace descriptors
