#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "ews/FolderId.h"

namespace ews {

class ExchangeService;

// A folder of the mailbox. The class that the server gives a new one follows from the class here
// alone.
class Folder {
 public:
  explicit Folder(std::shared_ptr<ExchangeService> pService) : m_pService(std::move(pService)) {}
  // One that the server told of.
  Folder(std::shared_ptr<ExchangeService> pService, FolderId objId, CString strDisplayName,
         CString strClass)
      : m_pService(std::move(pService)),
        m_objId(std::move(objId)),
        m_strDisplayName(std::move(strDisplayName)),
        m_strClass(std::move(strClass)) {}
  virtual ~Folder() = default;
  Folder(const Folder&) = default;
  Folder& operator=(const Folder&) = default;

  void SetDisplayName(CString strName) { m_strDisplayName = std::move(strName); }
  CString DisplayName() const { return m_strDisplayName.value_or(CString()); }
  // As the server told it, "IPF.Note" for one; empty for one that it gave none, or that is new.
  const CString& Class() const { return m_strClass; }
  const FolderId& Id() const { return m_objId; }

  // Makes the folder below objParent and fills Id. Throws ServiceException: the server's text when
  // it refuses, and for a folder that has an id already.
  void Save(const FolderId& objParent);

 private:
  virtual std::string_view ElementName() const { return "Folder"; }

  std::shared_ptr<ExchangeService> m_pService;
  FolderId m_objId;
  std::optional<CString> m_strDisplayName;  // one never set is not sent; an empty one is
  CString m_strClass;
};

class CalendarFolder : public Folder {
 public:
  using Folder::Folder;

 private:
  std::string_view ElementName() const override { return "CalendarFolder"; }
};

class TasksFolder : public Folder {
 public:
  using Folder::Folder;

 private:
  std::string_view ElementName() const override { return "TasksFolder"; }
};

class ContactsFolder : public Folder {
 public:
  using Folder::Folder;

 private:
  std::string_view ElementName() const override { return "ContactsFolder"; }
};

}  // namespace ews
