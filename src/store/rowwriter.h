#pragma once
// Many rows written into one table of a connection: a report run writes up to a million, and on
// the file binding each value through Qt costs more than the insert itself, so there the rows go
// to SQLite directly, on the connection's own handle and inside its action.

#include "store/store.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

#include <memory>

namespace tw {

class RowWriter {
public:
    // Prepares the insert of `columns` into `table`; throws tw::Error when the connection is
    // closed or the store refuses the statement.
    RowWriter(const ConClass& con, const QString& table, const QStringList& columns);
    // Writes the rows still held (see add). When an exception is already on its way the rows
    // are written all the same, as row by row they would have been, and a failure to write
    // them is left unsaid; otherwise it is thrown.
    ~RowWriter() noexcept(false);
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;
    // Writes one row; `values` are in the order of the columns and are stored as a Qt statement
    // would store them. Throws tw::Error with the store's text. On a server the rows are held
    // and sent many to a statement (each statement is a round trip), so they are in the table
    // once flush() has run or the writer is gone.
    void add(const QVariantList& values);
    // Writes the rows held, and on the file records in the history the rows added to a
    // recorded table. Throws tw::Error with the text of the first row the store refuses, the
    // rows before it written. Until then, the connection writes nothing else: on the file its
    // triggers may be off while the writer lives.
    void flush();

private:
    struct File;
    struct Server;
    std::unique_ptr<File> file_;
    std::unique_ptr<Server> server_;
    qsizetype columns_;
    int exceptionsAtStart_;
};

} // namespace tw
