#include "core/reports/bulk_insert.h"

namespace tw::reports {

void emptyTable(const ConClass& con, const QString& table) {
    con.exec(QStringLiteral("delete from \"%1\"").arg(table));
}

} // namespace tw::reports
