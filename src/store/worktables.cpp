#include "store/worktables.h"

#include <QRegularExpression>

namespace tw {

void makeWorkingTables(const ConClass& con, const QStringList& tables) {
    static const QRegularExpression create(QStringLiteral("^\\s*create\\s+table\\s+"),
                                           QRegularExpression::CaseInsensitiveOption);
    for (const QString& table : tables) {
        // The file's own statement, so the run's table has its columns exactly as the file has.
        const auto made = con.first(QStringLiteral("select sql from main.sqlite_master where "
                                                   "type='table' and name=? collate nocase"),
                                    {table});
        QString sql = made ? made->text(0) : QString();
        if (!create.match(sql).hasMatch())
            throw Error(QStringLiteral("The database has no table %1.").arg(table));
        con.exec(sql.replace(create, QStringLiteral("create temp table ")));
    }
}

void writeFirst(const ConClass& con) {
    // A write that touches no row: the first statement of an action, it takes the file's write
    // lock, waiting for another writer as a first statement may.
    con.exec(QStringLiteral("update main.ContractMaster set tw_contract_num=tw_contract_num "
                            "where 0"));
}

} // namespace tw
