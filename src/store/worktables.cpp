#include "store/worktables.h"

#include <QCryptographicHash>
#include <QRegularExpression>

namespace tw {

void makeWorkingTables(const ConClass& con, const QStringList& tables) {
    static const QRegularExpression create(QStringLiteral("^\\s*create\\s+table\\s+"),
                                           QRegularExpression::CaseInsensitiveOption);
    for (const QString& table : tables) {
        // A server's temporary tables are its session's, as the file's are its connection's:
        // the program's own definition makes one there.
        if (con.onServer()) {
            con.makeTemporaryCopy(table);
            continue;
        }
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
    // The server locks the rows an action writes, so its writers never fail for having read
    // first; the file has one write lock, taken here by a write that touches no row, waiting
    // for another writer as a first statement may.
    if (con.onServer())
        return;
    con.exec(QStringLiteral("update main.ContractMaster set tw_contract_num=tw_contract_num "
                            "where 0"));
}

} // namespace tw
