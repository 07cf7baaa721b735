#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Sqlite.h"

namespace mailbox {

// How the rows of a table become records: its columns as data, each with the member that it fills,
// so that the list of a SELECT and what reads its rows cannot part.
template <typename Record>
class RowShape {
 public:
  using Take = void (*)(const platform::SqliteStatement& row, int column, Record& record);
  struct Column {
    std::string_view expression;  // SQL
    Take take;
  };

  RowShape(std::string_view table, std::span<const Column> columns) {
    for (const Column& column : columns) {
      m_select.append(m_select.empty() ? "SELECT " : ",").append(column.expression);
      m_takes.push_back(column.take);
    }
    m_select.append(" FROM ").append(table).append(" ");
  }
  RowShape(std::string_view table, std::initializer_list<Column> columns)
      : RowShape(table, std::span(columns.begin(), columns.size())) {}

  // "SELECT … FROM table " for what follows: "WHERE …".
  const std::string& Select() const { return m_select; }

  Record Read(const platform::SqliteStatement& row) const {
    Record record;
    int column = 0;
    for (const Take take : m_takes) take(row, column++, record);
    return record;
  }

 private:
  std::string m_select;
  std::vector<Take> m_takes;
};

inline void TakeColumn(const platform::SqliteStatement& row, int column, std::int64_t& value) {
  value = row.Int(column);
}
inline void TakeColumn(const platform::SqliteStatement& row, int column, bool& value) {
  value = row.Int(column) != 0;
}
inline void TakeColumn(const platform::SqliteStatement& row, int column, std::string& value) {
  value = row.Text(column);  // "" for NULL
}
inline void TakeColumn(const platform::SqliteStatement& row, int column,
                       std::optional<bool>& value) {
  if (!row.IsNull(column)) value = row.Int(column) != 0;
}

// The column as that member, by its type; NULL is its empty value.
template <auto kMember, typename Record>
void Into(const platform::SqliteStatement& row, int column, Record& record) {
  TakeColumn(row, column, record.*kMember);
}

}  // namespace mailbox
