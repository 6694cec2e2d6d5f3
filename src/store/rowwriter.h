#pragma once
// Many rows written into one table of a connection: a report run writes up to a million, and on
// the file binding each value through Qt costs more than the insert itself, so there the rows go
// to SQLite directly, on the connection's own handle and inside its action.

#include "store/store.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

#include <memory>
#include <optional>

namespace tw {

class RowWriter {
public:
    // Prepares the insert of `columns` into `table`; throws tw::Error when the connection is
    // closed or the store refuses the statement.
    RowWriter(const ConClass& con, const QString& table, const QStringList& columns);
    ~RowWriter();
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;
    // Writes one row; `values` are in the order of the columns and are stored as a Qt statement
    // would store them. Throws tw::Error with the store's text.
    void add(const QVariantList& values);

private:
    struct File;
    std::unique_ptr<File> file_;
    std::optional<Statement> server_;
    qsizetype columns_;
};

} // namespace tw
