#include "cli.h"
#include "support/core_fixtures.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QUrl>

#include <tuple>

namespace {
struct Result {
    int code;
    QString out, err;
};
Result run(const QStringList& args) {
    QString out, err;
    QTextStream o(&out), e(&err);
    const int code = cli::run(args, o, e);
    o.flush();
    e.flush();
    return {code, out, err};
}
} // namespace

TEST(Cli, InitCreatesTheDatabaseInTheFolderAndSaysWhere) {
    QTemporaryDir dir;
    auto r = run({QStringLiteral("--folder"), dir.path(), QStringLiteral("init")});
    EXPECT_EQ(r.code, 0);
    const QString db = QDir::toNativeSeparators(dir.filePath(QStringLiteral("Tallywright.db")));
    EXPECT_EQ(r.out, QStringLiteral("Database created: ") + db + QLatin1Char('\n'));
    EXPECT_TRUE(r.err.isEmpty());
    EXPECT_TRUE(QFile::exists(db));
    r = run({QStringLiteral("--folder"), dir.path(), QStringLiteral("init")});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out, QStringLiteral("Database ready: ") + db + QLatin1Char('\n'));
}

TEST(Cli, ErrorsGoToStderrWithANonZeroExit) {
    QTemporaryDir dir;
    const struct {
        QStringList args;
        int code;
        const char* err;
    } cases[] = {
        {{}, 2, "Usage: tallywright-cli"},
        {{"frobnicate"}, 2, "tallywright-cli: unknown command frobnicate"},
        {{"--folder"}, 2, "tallywright-cli: --folder needs a folder"},
        {{"--folder", dir.filePath("missing"), "init"}, 2, "tallywright-cli: no such folder: "},
        {{"--fast", "init"}, 2, "tallywright-cli: unknown option --fast"},
        {{"init", "extra"}, 2, "tallywright-cli: init takes no arguments"},
    };
    for (const auto& c : cases) {
        const auto r = run(c.args);
        EXPECT_EQ(r.code, c.code) << c.args.join(u' ').toStdString();
        EXPECT_TRUE(r.err.startsWith(QString::fromLatin1(c.err))) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }
    // A file that is not ours is refused, named, and left byte for byte as it was.
    QFile foreign(dir.filePath(QStringLiteral("Tallywright.db")));
    ASSERT_TRUE(foreign.open(QIODevice::WriteOnly));
    const QByteArray bytes(4096, 'x');
    foreign.write(bytes);
    foreign.close();
    const auto r = run({QStringLiteral("--folder"), dir.path(), QStringLiteral("init")});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.startsWith(QStringLiteral("Tallywright: ") + foreign.fileName()))
        << r.err.toStdString();
    ASSERT_TRUE(foreign.open(QIODevice::ReadOnly));
    EXPECT_EQ(foreign.readAll(), bytes);
}

TEST(Cli, HelpAndVersion) {
    auto r = run({QStringLiteral("--help")});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.contains(QStringLiteral("init")));
    r = run({QStringLiteral("--version")});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(
        r.out.contains(QStringLiteral("tallywright-cli %1\n").arg(QStringLiteral(TW_VERSION))))
        << r.out.toStdString();
}

TEST(Cli, BackupListAndRestore) {
    QTemporaryDir dir;
    const QString folder = dir.path();
    ASSERT_EQ(run({QStringLiteral("--folder"), folder, QStringLiteral("init")}).code, 0);
    auto r = run({QStringLiteral("--folder"), folder, QStringLiteral("backup")});
    EXPECT_EQ(r.code, 0);
    const QString made = r.out.trimmed();
    EXPECT_TRUE(made.startsWith(folder + QStringLiteral("/backups/Tallywright-")))
        << made.toStdString();
    r = run({QStringLiteral("--folder"), folder, QStringLiteral("backups")});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.contains(QStringLiteral("  ok  ") + made)) << r.out.toStdString();
    const QString copy = dir.filePath(QStringLiteral("copy.db"));
    EXPECT_EQ(run({QStringLiteral("--folder"), folder, QStringLiteral("backup"),
                   QStringLiteral("--to"), copy})
                  .out,
              copy + QLatin1Char('\n'));
    // Never onto the books themselves or their journal.
    const QString live = dir.filePath(QStringLiteral("Tallywright.db"));
    QFile books(live);
    ASSERT_TRUE(books.open(QIODevice::ReadOnly));
    const QByteArray bytes = books.readAll();
    books.close();
    for (const QString& onto : {live, live + QStringLiteral("-journal")}) {
        r = run({QStringLiteral("--folder"), folder, QStringLiteral("backup"),
                 QStringLiteral("--to"), onto});
        EXPECT_EQ(r.code, 1);
        EXPECT_TRUE(r.err.startsWith(QStringLiteral("tallywright-cli: ") + onto + " is the "))
            << r.err.toStdString();
    }
    ASSERT_TRUE(books.open(QIODevice::ReadOnly));
    EXPECT_EQ(books.readAll(), bytes);
    EXPECT_FALSE(QFile::exists(live + QStringLiteral("-journal")));

    QFile junk(dir.filePath(QStringLiteral("junk.db")));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("junk");
    junk.close();
    r = run({QStringLiteral("--folder"), folder, QStringLiteral("restore"), junk.fileName()});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.startsWith(QStringLiteral("tallywright-cli: ") + junk.fileName()))
        << r.err.toStdString();
    r = run({QStringLiteral("--folder"), folder, QStringLiteral("restore"), copy});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("Kept the replaced database as ")));
    EXPECT_EQ(run({QStringLiteral("--folder"), folder, QStringLiteral("restore")}).code, 2);
}

namespace {
// The command line on the test server: each test has a database of its own there, and makes
// more as it needs them.
class CliServer : public twtest::AppFolderTest {
protected:
    void SetUp() override {
        if (!onServer())
            GTEST_SKIP() << "needs the test server (TW_TEST_SERVER)";
        AppFolderTest::SetUp();
    }
    // The address with the role and password, as a user would give it to --server.
    static QString urlOf(const tw::ServerAddress& a) {
        QUrl u(a.url());
        u.setUserName(a.user);
        u.setPassword(a.password);
        return u.toString();
    }
    // Every row of every table of a file, with its identity, and where each key stands.
    static QStringList rowsOf(const QString& path) {
        QStringList out;
        {
            auto db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("look"));
            db.setDatabaseName(path);
            EXPECT_TRUE(db.open());
            QSqlQuery tables(QStringLiteral("select name from sqlite_master where type = 'table' "
                                            "order by name"),
                             db);
            while (tables.next()) {
                const QString t = tables.value(0).toString();
                QSqlQuery q(QStringLiteral("select %1* from \"%2\"")
                                .arg(t == QLatin1String("sqlite_sequence") ? "" : "rowid, ", t),
                            db);
                while (q.next()) {
                    QStringList row{t};
                    for (int i = 0; i < q.record().count(); ++i)
                        row << q.value(i).toString();
                    out << row.join(u'|');
                }
            }
        }
        QSqlDatabase::removeDatabase(QStringLiteral("look"));
        return out;
    }
};
} // namespace

// The books go to a server and come back row for row, identities, project tables and the next
// keys included; a target that holds anything is refused.
TEST_F(CliServer, BooksMoveToAServerAndBackUnchanged) {
    QTemporaryDir one, two;
    ASSERT_EQ(run({"--folder", one.path(), "--server", "local", "demo"}).code, 0);
    {
        auto db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("edit"));
        db.setDatabaseName(one.filePath(QStringLiteral("Tallywright.db")));
        ASSERT_TRUE(db.open());
        QSqlQuery q(db);
        // A project table from an older file, a deleted project whose key must not come back,
        // and a measurement whose row moved.
        for (const char* sql :
             {"create table Sch_1 (tw_sch_num text, tw_item_desc text, tw_item_rate real)",
              "insert into Sch_1 values ('1', 'Earth work', 12.5), ('A-2', null, 0)",
              "insert into ContractMaster (tw_contract_num, tw_contract_name) values ('X', 'Gone')",
              "delete from ContractMaster where tw_contract_num = 'X'",
              "delete from BillMaster where rowid = 3"})
            EXPECT_TRUE(q.exec(QString::fromLatin1(sql))) << sql;
    }
    QSqlDatabase::removeDatabase(QStringLiteral("edit"));
    const tw::ServerAddress server = twtest::newServerDatabase(true);
    auto r = run({"--folder", one.path(), "copy-store", "--from", "local", "--to", urlOf(server)});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(
        r.out.contains(QRegularExpression("\nBillMaster +299 rows  checksum [0-9a-f]{16}\n")))
        << r.out.toStdString();
    EXPECT_TRUE(r.out.contains(QRegularExpression("\nSch_1 +2 rows")));
    EXPECT_TRUE(r.out.endsWith(QStringLiteral("to %1\n").arg(server.shown())));
    r = run({"--folder", two.path(), "copy-store", "--from", urlOf(server), "--to", "local"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QStringList back = rowsOf(two.filePath("Tallywright.db"));
    const QStringList original = rowsOf(one.filePath("Tallywright.db"));
    for (qsizetype i = 0; i < std::max(back.size(), original.size()); ++i)
        ASSERT_EQ(back.value(i), original.value(i)) << "row " << i;
    // The server's next project takes the key after the deleted one, as the file's would.
    tw::Store::use(server);
    {
        tw::ConClass con(twtest::scripted());
        con.conopen();
        ASSERT_TRUE(con.isOpen());
        EXPECT_EQ(con.insert("ContractMaster", {{"tw_contract_num", "Y"}}), 4);
        con.remove("ContractMaster", 4);
    }
    for (const auto& [folder, from, to, says] :
         {std::tuple{one.path(), QStringLiteral("local"), urlOf(server), server.shown()},
          std::tuple{two.path(), urlOf(server), QStringLiteral("local"),
                     "file " + QDir::toNativeSeparators(two.filePath("Tallywright.db"))}}) {
        r = run({"--folder", folder, "copy-store", "--from", from, "--to", to});
        EXPECT_EQ(r.code, 1);
        EXPECT_EQ(r.err, QStringLiteral("tallywright-cli: The %1 is not empty: the books are "
                                        "copied only into an empty database.\n")
                             .arg(says));
    }
    twtest::dropDatabase(server);
}

// init, backup, backups and restore work on the server named by --server or by twk.cfg.
TEST_F(CliServer, InitBackupAndRestoreOnAServer) {
    const tw::ServerAddress empty = twtest::newServerDatabase(true);
    const QString url = urlOf(empty);
    auto r = run({"--folder", folder(), "--server", url, "init"});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, "Database created: " + empty.shown() + "\n");
    // twk.cfg names the server and the role; the password comes the usual way.
    tw::writeLoginConfig(folder() + "/twk.cfg", {empty.url(), empty.user, QString()});
    qputenv("PGPASSWORD", empty.password.toUtf8());
    r = run({"--folder", folder(), "init"});
    EXPECT_EQ(r.out, "Database ready: " + empty.shown() + "\n");
    r = run({"--folder", folder(), "backup"});
    qunsetenv("PGPASSWORD");
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QString dump = r.out.trimmed();
    EXPECT_TRUE(
        QRegularExpression("/backups/Tallywright-[0-9-]{17}\\.dump$").match(dump).hasMatch())
        << dump.toStdString();
    r = run({"--folder", folder(), "--server", url, "backups"});
    EXPECT_TRUE(r.out.contains("  ok  " + dump)) << r.out.toStdString();

    const tw::ServerAddress other = twtest::newServerDatabase(true);
    r = run({"--folder", folder(), "--server", urlOf(other), "restore", dump});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, "Restored " + dump + " to " + other.shown() + "\n");
    r = run({"--folder", folder(), "--server", urlOf(other), "init"});
    EXPECT_EQ(r.out, "Database ready: " + other.shown() + "\n") << r.err.toStdString();
    r = run({"--folder", folder(), "--server", urlOf(other), "restore", dump});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(other.shown() + " is not empty")) << r.err.toStdString();
    const QString junk = folder() + "/junk.dump";
    QFile f(junk);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("junk");
    f.close();
    r = run({"--folder", folder(), "--server", urlOf(empty), "restore", junk});
    EXPECT_TRUE(r.err.contains(junk + " is not a backup of a server database"))
        << r.err.toStdString();
    EXPECT_EQ(run({"--server", "localhost", "init"}).code, 2);
    twtest::dropDatabase(empty);
    twtest::dropDatabase(other);
}
