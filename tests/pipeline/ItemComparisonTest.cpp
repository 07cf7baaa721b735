#include "pipeline/ItemComparison.h"

#include <gmock/gmock.h>

#include <map>
#include <optional>
#include <stdexcept>

#include "target/CTarnyOutlookHandler.h"
#include "tests/pipeline/TempRunFolder.h"

// Contacts and lists of a local store, which a script stands in for.
namespace {

using rdo::ContactField;
using testing::ElementsAre;

std::vector<std::string> g_calls;

// What neither of the two below is asked for.
template <typename ITEM>
struct Plain : ITEM {
  void Import(const CString&, std::string_view) override {}
  void SetFields(const std::string&, const std::string&) override {}
  void SetOccurrence(std::int64_t, const std::string&) override {}
  std::shared_ptr<rdo::Attachments> GetAttachments() override { return nullptr; }
};

struct Person : Plain<rdo::ContactItem> {
  CString MessageClass() override { return messageClass; }
  void SetSubject(const CString&) override {}
  void Save() override {}
  CString Text(ContactField field) override {
    if (field == unreadable) throw std::runtime_error("no text");
    lastAsked = field;
    return texts[field];
  }

  CString messageClass = u"IPM.Contact";
  std::map<ContactField, CString> texts;
  std::optional<ContactField> unreadable;
  std::optional<ContactField> lastAsked;
};

struct List : Plain<rdo::DistListItem> {
  CString MessageClass() override {
    if (fails) throw std::runtime_error("no class");
    return messageClass;
  }
  void SetSubject(const CString& str) override { g_calls.push_back("subject " + str.ToUtf8()); }
  void Save() override { g_calls.push_back("save " + name.ToUtf8()); }
  CString DLName() override { return name; }
  void SetDLName(const CString& str) override { name = str; }
  void AddContact(rdo::Item& item, int address) override {
    g_calls.push_back("add " + dynamic_cast<List&>(item).name.ToUtf8() + " " +
                      std::to_string(address) + " to " + name.ToUtf8());
  }

  CString name;
  CString messageClass = u"IPM.DistList";
  bool fails = false;
};

struct Folder : rdo::Items {
  int Count() override {
    if (uncounted) throw std::runtime_error("no count");
    return static_cast<int>(items.size());
  }
  std::shared_ptr<rdo::Item> At(int index) override { return items.at(size_t(index) - 1); }
  std::shared_ptr<rdo::Item> Add(const CString& messageClass) override {
    if (full) throw std::runtime_error("full");
    g_calls.push_back("new " + messageClass.ToUtf8());
    items.push_back(std::make_shared<List>());
    return items.back();
  }

  void Find(const std::vector<std::string>&, const std::string&, const Take&) override {}
  void ForEach(const Take&) override {}

  std::vector<std::shared_ptr<rdo::Item>> items;
  bool full = false;
  bool uncounted = false;
};

class ItemComparison : public testing::Test {
 protected:
  ItemComparison() {
    strListGroupName.RemoveAll();
    for (CStringArray* list : arrListFields) list->RemoveAll();
    gIRDOContactItem.Release();
    g_calls.clear();
  }
  static std::shared_ptr<Person> NewPerson(const CString& name, const CString& body = u"b") {
    auto person = std::make_shared<Person>();
    person->texts[ContactField::FullName] = name;
    person->texts[ContactField::Body] = body;
    return person;
  }
  std::shared_ptr<List> AddList(const CString& name) {
    store->items.push_back(std::make_shared<List>());
    auto list = std::static_pointer_cast<List>(store->items.back());
    list->name = name;
    return list;
  }

  TempRunFolder folder;
  CTarnyOutlookHandler handler;
  std::shared_ptr<Folder> store = std::make_shared<Folder>();
  IRDOItems items{store};
};

TEST_F(ItemComparison, EveryFieldCountsToTheCharacter) {
  const IRDOContactItem ann(NewPerson(u"Ann"));
  EXPECT_TRUE(handler.IsEqual(ann, IRDOContactItem(NewPerson(u"Ann"))));
  EXPECT_FALSE(handler.IsEqual(ann, IRDOContactItem(NewPerson(u"Ann", u"b "))));
  EXPECT_FALSE(handler.IsEqual(ann, IRDOContactItem(NewPerson(u"ann"))));
  for (int n = 0; n < rdo::kContactFields; ++n) {
    const auto other = NewPerson(u"Ann");
    other->texts[static_cast<ContactField>(n)] += u"x";
    EXPECT_FALSE(handler.IsEqual(ann, IRDOContactItem(other))) << n;
    EXPECT_EQ(other->lastAsked, static_cast<ContactField>(n));  // none behind the first difference
  }
}

TEST_F(ItemComparison, AStoreIsSearchedPastWhatIsNoContact) {
  const IRDOContactItem ann(NewPerson(u"Ann"));
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(&items, ann, true));
  IRDOItems nothing;
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(&nothing, ann, true));
  AddList(u"Ann")->fails = true;
  store->items.push_back(nullptr);
  const auto note = NewPerson(u"Ann");
  note->messageClass = u"IPM.Contact.Note";
  store->items.push_back(note);
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(&items, ann, true));
  const auto same = NewPerson(u"Ann");
  store->items.push_back(same);
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(&items, ann, false));
  EXPECT_TRUE(gIRDOContactItem.IsEmpty());
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(&items, ann, true));
  EXPECT_EQ(gIRDOContactItem.Object(), same.get());
}

TEST_F(ItemComparison, WhatWasSeenIsKnownWithinItsGroup) {
  IRDOContactItem ann(NewPerson(u"Ann"));
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(u"Crew", &ann));
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(u"Staff", &ann));
  EXPECT_FALSE(ann.IsEmpty());
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(u"Crew", &ann));
  EXPECT_TRUE(ann.IsEmpty());
  const auto eve = NewPerson(u"Eve");
  eve->unreadable = ContactField::Body;
  EXPECT_ANY_THROW(handler.AddToGroupList(u"Crew", IRDOContactItem(eve)));
  EXPECT_EQ(strListGroupName.GetSize(), 2);
  for (const CStringArray* list : arrListFields) EXPECT_EQ(list->GetSize(), 2);
  strListFullName.Add(u"a row without a group");
  IRDOContactItem bob(NewPerson(u"Bob"));
  EXPECT_THROW(handler.CheckIfDublicateItemPresent(u"Crew", &bob), std::invalid_argument);
}

TEST_F(ItemComparison, AListIsMadeWhereItIsMissingAndItsChildAdded) {
  handler.SaveDLGroup(&items, u"All", u"Crew");
  EXPECT_THAT(g_calls,
              ElementsAre("new IPM.DistList", "subject All", "new IPM.DistList", "subject Crew",
                          "save Crew", "add Crew 0 to All", "save All", "save Crew"));
  g_calls.clear();
  AddList(u"Other")->fails = true;
  handler.SaveDLGroup(&items, u"All", u"Crew");
  EXPECT_THAT(g_calls, ElementsAre("add Crew 0 to All", "save All", "save Crew"));
  g_calls.clear();
  store->full = true;
  handler.SaveDLGroup(&items, u"None", u"Crew");
  EXPECT_THAT(g_calls, ElementsAre("save Crew"));
  g_calls.clear();
  store->full = false;
  store->uncounted = true;
  handler.SaveDLGroup(&items, u"All", u"Crew");
  EXPECT_THAT(g_calls, ElementsAre());  // nobody knows whether they are there
}

}  // namespace
