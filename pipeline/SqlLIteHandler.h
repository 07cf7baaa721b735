#pragma once

#include <initializer_list>
#include <map>
#include <optional>

#include "platform/CList.h"
#include "platform/CString.h"
#include "platform/CStringArray.h"
#include "platform/Sqlite.h"

// One connection to the SQLite database of the duplicate ledger. Every call runs one statement:
// text behind it is an error like any other, and nothing of it runs then. A change is on disk
// before the call returns.
class SqlLIteHandler {  // sic
 public:
  SqlLIteHandler() = default;  // without a connection; every call fails as told there
  // Opens or creates the database (a path in Windows form). Throws platform::SqliteError.
  explicit SqlLIteHandler(CString dbName);

  // Harmless when it is closed already; for good.
  void Close();

  // Failures are swallowed.
  void ExecuteQuery(CString strQuery);
  // The text of the first column of the first row; strResult stays when there is none or it is
  // NULL. On failure strResult becomes the failure's text.
  void QuerySingleValue(CString strQuery, CString& strResult);
  // Runs the query to its end and stores nothing; kept for its signature. Throws SqliteError.
  void QueryMultipleValue(CString strQuery, CList<CStringArray>* strRecordSetList,
                          int nColumnCount);

  // The same with a value for each `?`, so that no text can become part of the statement. The texts
  // are few and come again for every item: each is prepared once.
  using Values = std::initializer_list<CString>;
  void ExecuteBound(const CString& strQuery, Values arrValues);
  void QuerySingleValueBound(const CString& strQuery, Values arrValues, CString& strResult);

 private:
  // Both throw SqliteError, also without a connection.
  platform::SqliteStatement Prepare(const CString& strQuery);
  std::optional<CString> RunOne(const CString& strQuery, Values arrValues);

  platform::SqliteDatabase m_db;
  std::map<CString, platform::SqliteStatement> m_mapPrepared;  // those with values
};
