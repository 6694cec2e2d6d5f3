// A server store's backups: the server's own dump (pg_dump, custom format), kept in backups/
// beside the local file's, and loaded into an empty database with pg_restore.

#include "store/backup.h"
#include "store/files.h"
#include "store/schema.h"
#include "store/server.h"
#include "store/store.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace tw::backup {
namespace {

// libpq's connection settings for `address`, each value quoted, without the password (which
// goes to the program in its environment, never on its command line, where anyone sees it).
QString connectionInfo(const ServerAddress& address) {
    const auto value = [](QString v) {
        return u'\'' +
               v.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'")) +
               u'\'';
    };
    QStringList parts{
        QStringLiteral("host=") + value(address.host), QStringLiteral("port=%1").arg(address.port),
        QStringLiteral("dbname=") + value(address.database), QStringLiteral("connect_timeout=10")};
    if (!address.user.isEmpty())
        parts << QStringLiteral("user=") + value(address.user);
    for (const QString& option : address.options.split(u';', Qt::SkipEmptyParts))
        parts << option.section(u'=', 0, 0) + u'=' + value(option.section(u'=', 1));
    return parts.join(u' ');
}

// Runs one of the server's programs to its end; throws with what it said when it fails.
QString runTool(const QString& name, const QStringList& args, const ServerAddress* address) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (address && !address->password.isEmpty())
        env.insert(QStringLiteral("PGPASSWORD"), address->password);
    env.insert(QStringLiteral("LC_MESSAGES"), QStringLiteral("C"));
    p.setProcessEnvironment(env);
    p.start(serverTool(name), args);
    if (!p.waitForStarted(-1))
        throw Error(QStringLiteral("%1 could not be started: %2").arg(name, p.errorString()));
    p.closeWriteChannel();
    p.waitForFinished(-1);
    const QString said = QString::fromLocal8Bit(p.readAllStandardError()).trimmed();
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        throw Error(
            QStringLiteral("%1 failed: %2").arg(name, said.isEmpty() ? p.errorString() : said));
    return QString::fromLocal8Bit(p.readAllStandardOutput());
}

// The entries of a dump's table of contents, as pg_restore lists them.
QStringList contents(const QString& path) {
    return runTool(QStringLiteral("pg_restore"), {QStringLiteral("--list"), path}, nullptr)
        .split(u'\n', Qt::SkipEmptyParts);
}

} // namespace

QString serverTool(const QString& name) {
    QString found = QStandardPaths::findExecutable(name);
    if (found.isEmpty()) {
        // The server's own programs lie in its versioned folder; the newest is taken.
        QStringList versions = QDir(QStringLiteral("/usr/lib/postgresql"))
                                   .entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        std::sort(versions.begin(), versions.end(),
                  [](const QString& a, const QString& b) { return a.toInt() > b.toInt(); });
        for (const QString& v : versions) {
            const QString candidate = QStringLiteral("/usr/lib/postgresql/%1/bin/%2").arg(v, name);
            if (QFileInfo(candidate).isExecutable()) {
                found = candidate;
                break;
            }
        }
    }
    if (found.isEmpty())
        throw Error(QStringLiteral("%1 was not found: the backups of a server store are made with "
                                   "the server's own programs (Debian package postgresql-client).")
                        .arg(name));
    return found;
}

QString checkDump(const QString& path) {
    const QString file = QDir::toNativeSeparators(path);
    if (!QFileInfo(path).isFile())
        return QStringLiteral("%1 does not exist.").arg(file);
    QStringList entries;
    try {
        entries = contents(path);
    } catch (const Error& e) {
        return QStringLiteral("%1 is not a backup of a server database: %2").arg(file, e.text());
    }
    for (const schema::Table& t : schema::tables()) {
        const QString table = QStringLiteral(" TABLE public %1 ").arg(t.name.toLower());
        const QString data = QStringLiteral(" TABLE DATA public %1 ").arg(t.name.toLower());
        const auto has = [&](const QString& what) {
            return std::any_of(entries.begin(), entries.end(),
                               [&](const QString& e) { return e.contains(what); });
        };
        if (!has(table) || !has(data))
            return QStringLiteral("%1 is not a backup of Tallywright's books: it has no table %2.")
                .arg(file, t.name);
    }
    return QStringLiteral("ok");
}

void dumpDatabase(const ServerAddress& address, AtomicFile& into) {
    runTool(QStringLiteral("pg_dump"),
            {QStringLiteral("--format=custom"), QStringLiteral("--file=") + into.path(),
             QStringLiteral("--dbname=") + connectionInfo(address)},
            &address);
    const QString verdict = checkDump(into.path());
    if (verdict != QLatin1String("ok"))
        throw Error(verdict);
}

void restoreDump(const QString& file, const ServerAddress& address) {
    const QString verdict = checkDump(file);
    if (verdict != QLatin1String("ok"))
        throw Error(verdict);
    QString owner;
    {
        server::Session session(address);
        if (schema::inspectServer(session.db()).version != 0)
            throw Error(QStringLiteral("The %1 is not empty: a backup is restored only into an "
                                       "empty database.")
                            .arg(address.shown()));
        QSqlQuery q = prepared(session.db(), QStringLiteral("select current_user"), {});
        owner = q.next() ? q.value(0).toString() : QString();
        // The case rule's extension is made as the program makes it; the dump's own entries for
        // it would ask for the right to change an extension another role made.
        if (prepared(session.db(), QStringLiteral("select 1 from pg_extension where extname = ?"),
                     {schema::caseExtension})
                .next() == false)
            prepared(session.db(), QStringLiteral("create extension %1").arg(schema::caseExtension),
                     {});
    }
    QTemporaryFile list;
    if (!list.open())
        throw Error(
            QStringLiteral("A list for pg_restore could not be made: %1").arg(list.errorString()));
    for (const QString& entry : contents(file))
        if (!entry.contains(QLatin1String(" EXTENSION ")))
            list.write(entry.toUtf8() + '\n');
    list.flush();
    // The tables become the database owner's, whoever made the backup.
    QStringList args{QStringLiteral("--exit-on-error"),
                     QStringLiteral("--single-transaction"),
                     QStringLiteral("--no-owner"),
                     QStringLiteral("--no-privileges"),
                     QStringLiteral("--use-list=") + list.fileName(),
                     QStringLiteral("--dbname=") + connectionInfo(address)};
    if (!owner.isEmpty() && owner != address.user)
        args << QStringLiteral("--role=") + owner;
    args << file;
    runTool(QStringLiteral("pg_restore"), args, &address);
    server::Session session(address);
    try {
        schema::inspectServer(session.db());
    } catch (const Error&) {
        // What came from the file is taken out again: the database was empty before.
        prepared(session.db(), QStringLiteral("drop owned by current_user"), {});
        throw;
    }
}

} // namespace tw::backup
