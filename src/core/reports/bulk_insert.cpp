#include "core/reports/bulk_insert.h"

#include <QSqlError>

namespace tw::reports {

BulkInsert::BulkInsert(const ConClass& con, const QString& table, const QStringList& columns)
    : query_(con.db()), columns_(columns.size()) {
    if (!con.db().isOpen())
        throw Error(QStringLiteral("Operation is not allowed when the object is closed."));
    QStringList names, marks;
    for (const QString& c : columns) {
        names << QLatin1Char('"') + c + QLatin1Char('"');
        marks << QStringLiteral("?");
    }
    if (!query_.prepare(QStringLiteral("insert into \"%1\" (%2) values (%3)")
                            .arg(table, names.join(u','), marks.join(u','))))
        throw Error(query_.lastError().text());
}

void BulkInsert::add(const QVariantList& values) {
    Q_ASSERT(values.size() == columns_);
    for (qsizetype i = 0; i < values.size(); ++i)
        query_.bindValue(int(i), values[i]);
    if (!query_.exec())
        throw Error(query_.lastError().text());
}

void emptyTable(const ConClass& con, const QString& table) {
    con.exec(QStringLiteral("delete from \"%1\"").arg(table));
}

} // namespace tw::reports
