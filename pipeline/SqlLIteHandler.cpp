#include "pipeline/SqlLIteHandler.h"

#include "platform/Paths.h"

namespace {

constexpr int kMisuse = 21;  // SQLITE_MISUSE

// A read-only or locked database keeps the journal mode that it has.
void TrySet(platform::SqliteDatabase& objDatabase, std::string_view strPragma) {
  try {
    platform::SqliteStatement objStatement = objDatabase.Prepare(strPragma);
    while (objStatement.Step()) {
    }
  } catch (const platform::SqliteError&) {
  }
}

std::optional<CString> Run(platform::SqliteStatement& objStatement,
                           SqlLIteHandler::Values arrValues) {
  objStatement.Reset();  // a run before may have ended in the middle
  int nIndex = 0;
  for (const CString& strValue : arrValues) objStatement.Bind(++nIndex, strValue.ToUtf8());
  std::optional<CString> strFirst;
  if (objStatement.Step()) {
    if (!objStatement.IsNull(0)) strFirst = CString::FromUtf8(objStatement.Text(0));
    while (objStatement.Step()) {
    }
  }
  objStatement.Reset();
  return strFirst;
}

}  // namespace

SqlLIteHandler::SqlLIteHandler(CString dbName) : m_db(platform::ResolvePath(dbName)) {
  TrySet(m_db, "PRAGMA journal_mode=WAL");
  TrySet(m_db, "PRAGMA synchronous=FULL");
}

void SqlLIteHandler::Close() {
  m_mapPrepared.clear();
  m_db.Close();
}

platform::SqliteStatement SqlLIteHandler::Prepare(const CString& strQuery) {
  if (!m_db) throw platform::SqliteError(kMisuse, "Database is not open");
  platform::SqliteStatement objStatement = m_db.Prepare(strQuery.ToUtf8());
  if (objStatement.HasTail()) {
    throw platform::SqliteError(kMisuse, "text stands behind the statement");
  }
  return objStatement;
}

std::optional<CString> SqlLIteHandler::RunOne(const CString& strQuery, Values arrValues) {
  if (arrValues.size() == 0) {
    platform::SqliteStatement objStatement = Prepare(strQuery);
    return Run(objStatement, {});
  }
  auto it = m_mapPrepared.find(strQuery);
  if (it == m_mapPrepared.end()) it = m_mapPrepared.emplace(strQuery, Prepare(strQuery)).first;
  return Run(it->second, arrValues);
}

void SqlLIteHandler::ExecuteQuery(CString strQuery) { ExecuteBound(strQuery, {}); }

void SqlLIteHandler::QuerySingleValue(CString strQuery, CString& strResult) {
  QuerySingleValueBound(strQuery, {}, strResult);
}

void SqlLIteHandler::QueryMultipleValue(CString strQuery, CList<CStringArray>*, int) {
  (void)RunOne(strQuery, {});  // its rows have no taker
}

void SqlLIteHandler::ExecuteBound(const CString& strQuery, Values arrValues) {
  try {
    (void)RunOne(strQuery, arrValues);  // a statement without a result
  } catch (const std::exception&) {
    // kept: an item that is saved stays saved, whatever becomes of its row
  }
}

void SqlLIteHandler::QuerySingleValueBound(const CString& strQuery, Values arrValues,
                                           CString& strResult) {
  try {
    if (const auto strValue = RunOne(strQuery, arrValues)) strResult = *strValue;
  } catch (const std::exception& e) {
    strResult = CString::FromUtf8(e.what());
  }
}
