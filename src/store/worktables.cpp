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

void holdFor(const ConClass& con, const QStringList& what) {
    if (!con.onServer()) {
        // A write that touches no row takes the file's one write lock, waiting for another
        // writer as a first statement may.
        con.exec(QStringLiteral("update main.ContractMaster set tw_contract_num=tw_contract_num "
                                "where 0"));
        return;
    }
    // The server's locks of an action are keyed by one 64-bit number: the start of a digest of
    // the key stands for it, and two keys sharing one only wait for each other.
    const QByteArray digest = QCryptographicHash::hash(what.join(QChar(0)).toCaseFolded().toUtf8(),
                                                       QCryptographicHash::Sha256);
    qint64 key = 0;
    for (int i = 0; i < 8; ++i)
        key = static_cast<qint64>((static_cast<quint64>(key) << 8) |
                                  static_cast<unsigned char>(digest[i]));
    con.first(QStringLiteral("select pg_advisory_xact_lock(?)"), {key});
}

} // namespace tw
