#include "cli.h"
#include "store/backup.h"
#include "store/history.h"
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

#include <sys/wait.h>
#include <unistd.h>

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

// A new database in `dir` with the project S/1, its own schedule table of one item and its raised
// bill RA-1.
void booksOfOneProject(const QString& dir) {
    ASSERT_EQ(run({QStringLiteral("--folder"), dir, QStringLiteral("init")}).code, 0);
    tw::ConClass con(twtest::scripted());
    con.conopen();
    const qint64 key = con.insert("contractmaster", {{"tw_contract_num", "S/1"}});
    con.exec(QStringLiteral("create table Sch_%1 (tw_sch_num text, tw_item_desc text, tw_unit "
                            "text, tw_item_rate real, tw_deduction integer, tw_category_name text)")
                 .arg(key));
    con.exec(QStringLiteral("insert into Sch_%1 values ('1', 'Earth work', 'Cum', 10, 0, 'X')")
                 .arg(key));
    con.exec("insert into billsraised (tw_contract_num, tw_bill_num) values ('S/1', 'RA-1')");
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
        {{"measurements", "import", "--project", "P"},
         2,
         "tallywright-cli: measurements import needs --project NUMBER --bill ID FILE"},
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
    // The outside edits above are in the history it carries: the project added and removed.
    EXPECT_TRUE(r.out.contains(QRegularExpression("\nhistory +[0-9]+ rows")));
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
        const size_t copied = tw::history::read(con).size();
        EXPECT_EQ(con.insert("ContractMaster", {{"tw_contract_num", "Y"}}), 4);
        con.remove("ContractMaster", 4);
        // The history came whole, with no row of the copy's own; the server records from then on.
        const auto h = tw::history::read(con);
        ASSERT_EQ(h.size(), copied + 2);
        EXPECT_EQ(std::pair(h[0].action, h[1].action),
                  std::pair(QString("removed"), QString("added")));
        EXPECT_EQ(h[0].who, server.user);
        // The server knows the copied rows when it plans its first reads of them.
        EXPECT_EQ(con.first("select count(*) from pg_stat_user_tables where relname = "
                            "'billmaster' and last_analyze is not null")
                      ->text(0),
                  QStringLiteral("1"));
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

// payment add refuses as the payments screen does, naming the option; list prints the screen's
// columns and the total of the amounts.
TEST(Cli, PaymentAddChecksAsTheScreenAndListTotals) {
    QTemporaryDir dir;
    const QStringList folder{QStringLiteral("--folder"), dir.path()};
    ASSERT_EQ(run(folder + QStringList{"init"}).code, 0);
    {
        tw::ConClass con(twtest::scripted());
        con.conopen();
        con.exec("insert into contractmaster (tw_contract_num, tw_contract_name) values "
                 "('P1', 'Tower'), ('P2', 'Plot')");
        con.exec("insert into billsraised (tw_contract_num, tw_bill_num, tw_bill_amount) values "
                 "('P1', 'RA-1', 1000.125), ('P1', 'RA-2', 5)");
    }
    const QStringList add = folder + QStringList{"payment", "add",  "--project", "P1",
                                                 "--bill",  "RA-1", "--date",    "05-03-2024"};
    const QStringList rest{"--tds",    "2", "--recoveries", "0", "--type",   "Cash",
                           "--cheque", "-", "--bank",       "-", "--branch", "-"};
    const struct {
        QStringList args;
        int code;
        const char* err;
    } cases[] = {
        {add + QStringList{"--receipt", "R1", "--amount", "100"}, 1,
         "Tallywright: TDS Amount is blank!! (--tds)\n"},
        {add + QStringList{"--receipt", "R1", "--amount", " "} + rest, 1,
         "Tallywright: Payment Amount is blank!! (--amount)\n"},
        {add + QStringList{"--receipt", "R1", "--amount", "100.5"} + rest, 0, ""},
        {add + QStringList{"--receipt", "r1", "--amount", "40"} + rest, 1,
         "Tallywright: Details are already exisiting. Enter another Receipt/Voucher Number "
         "(--receipt)\n"},
        {add + QStringList{"--receipt", "R2", "--amount", "1.2.3"} + rest, 0, ""},
        {add + QStringList{"--amount", "40"} + rest, 2, "tallywright-cli: payment add needs "},
        {add + QStringList{"--receipt", "R3", "--amount", "1", "--cheque-date", "31-02-2024"}, 2,
         "tallywright-cli: --cheque-date takes a date as DD-MM-YYYY, not 31-02-2024\n"},
        {folder +
             QStringList{"payment", "add", "--project", "P2", "--bill", "RA-1", "--receipt", "R1",
                         "--date", "05-03-2024", "--amount", "1"} +
             rest,
         1, "tallywright-cli: Project P2 has raised no bill RA-1.\n"},
        {folder + QStringList{"payment", "list", "--project", "P9"}, 1,
         "tallywright-cli: No project has the number P9.\n"},
        {folder + QStringList{"payment", "pay"}, 2, "tallywright-cli: payment needs add or list"},
    };
    for (const auto& c : cases) {
        const auto r = run(c.args);
        EXPECT_EQ(r.code, c.code) << c.args.join(u' ').toStdString();
        const QString err = QString::fromUtf8(c.err);
        EXPECT_EQ(r.err.left(err.size()), err) << c.args.join(u' ').toStdString();
    }
    const auto r = run(folder + QStringList{"payment", "list", "--project", "p1"});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out, "Bill RA-1\tBill Amount\t1000.12\n"
                     "Sl. NO\tPayment Ref\tDate\tAmount\tTDS\tOther Recoveries\n"
                     "1\tR1\t05-03-2024\t100.5\t2\t0\n"
                     "2\tR2\t05-03-2024\t1.2\t2\t0\n"
                     "Total Payment / Receipt\t101.7\n"
                     "Bill RA-2\tBill Amount\t5\n"
                     "Sl. NO\tPayment Ref\tDate\tAmount\tTDS\tOther Recoveries\n"
                     "Total Payment / Receipt\t\n");
    // Only the two payments taken are in the history, each added by the one who ran the command.
    tw::ConClass con(twtest::scripted());
    con.conopen();
    const auto h = tw::history::read(con, {"P1", {}, "payment_rec", {}, {}});
    ASSERT_EQ(h.size(), 2U);
    for (const auto& e : h)
        EXPECT_EQ(std::tuple(e.action, e.bill, e.who, e.before),
                  std::tuple(QString("added"), QString("RA-1"), tw::history::user(), QString()));
    EXPECT_TRUE(h[1].after.startsWith("[\"P1\",\"RA-1\",\"R1\",\"05-03-2024\",100.5,0.0,2.0,"))
        << h[1].after.toStdString();
    EXPECT_TRUE(h[0].after.contains("\"R2\",\"05-03-2024\",1.2,")) << h[0].after.toStdString();
    // history lists them newest first, with who, the action and the figures; the days bound it.
    const QStringList history =
        folder + QStringList{"history", "--project", "p1", "--table", "payment_rec"};
    const auto listed = run(history);
    ASSERT_EQ(listed.code, 0) << listed.err.toStdString();
    const QStringList rows = listed.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(rows.size(), 3);
    EXPECT_EQ(rows[0],
              "When (UTC)\tWho\tComputer\tTable\tRow\tAction\tProject\tBill\tFrozen\tFigures");
    for (int i : {1, 2}) {
        const QStringList f = rows[i].split('\t');
        ASSERT_EQ(f.size(), 10) << rows[i].toStdString();
        EXPECT_EQ(f.mid(1, 1) + f.mid(3, 6),
                  QStringList({tw::history::user(), "payment_rec", QString::number(h[i - 1].row),
                               "added", "P1", "RA-1", ""}));
        EXPECT_TRUE(
            f[9].startsWith(QString("tw_contract_num=P1; tw_bill_num=RA-1; tw_recpt_num=R%1; "
                                    "tw_recpt_date=05-03-2024; tw_netamt=%2;")
                                .arg(3 - i)
                                .arg(i == 1 ? "1.2" : "100.5")))
            << f[9].toStdString();
    }
    const QString tomorrow = tw::dateText(QDate::currentDate().addDays(2));
    EXPECT_EQ(run(history + QStringList{"--since", tomorrow, "--csv"}).out,
              "When (UTC),Who,Computer,Table,Row,Action,Project,Bill,Frozen,Figures\r\n");
    EXPECT_EQ(run(history + QStringList{"--until", "31-02-2024"}).code, 2);
    // The history's report: the project's changes, or its bill's, with the command's figures.
    const QString csv = dir.filePath("history.csv");
    for (const auto& [bill, count] : {std::pair{"RA-1", 3}, {"", 5}}) {
        QStringList args =
            folder + QStringList{"report", "history", "--project", "Tower", "--out", csv};
        if (*bill)
            args << "--bill" << bill;
        ASSERT_EQ(run(args).code, 0) << bill;
        QFile file(csv);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QStringList lines =
            QString::fromUtf8(file.readAll()).split("\r\n", Qt::SkipEmptyParts);
        ASSERT_EQ(lines.size(), count + 1) << bill;
        EXPECT_TRUE(lines[1].endsWith(u',' + rows[1].split('\t')[9])) << lines[1].toStdString();
    }
}

// schedule export writes its workbook whole and only then says so; never onto the books or
// through a link.
TEST(Cli, ScheduleExportNeverWritesOverTheBooks) {
    QTemporaryDir dir;
    const QStringList folder{QStringLiteral("--folder"), dir.path()};
    booksOfOneProject(dir.path());
    const QString live = dir.filePath(QStringLiteral("Tallywright.db"));
    QFile books(live);
    ASSERT_TRUE(books.open(QIODevice::ReadOnly));
    const QByteArray before = books.readAll();
    books.close();
    QFile victim(dir.filePath(QStringLiteral("notes.txt")));
    ASSERT_TRUE(victim.open(QIODevice::WriteOnly) && victim.write("keep") == 4);
    victim.close();
    const QString link = dir.filePath(QStringLiteral("link.xlsx"));
    ASSERT_TRUE(victim.link(link));
    const QString good = dir.filePath(QStringLiteral("s.xlsx"));
    const struct {
        QString out;
        int code;
        QString text;
    } cases[] = {
        {live, 1, "tallywright-cli: " + live + " is the database in use; choose another file.\n"},
        {link, 1,
         "tallywright-cli: " + link +
             " is a symbolic link; Tallywright writes no file "
             "through one.\n"},
        {good, 0, "Export Completed Successfully...!\nFile Name is : 's.xlsx'\n"},
    };
    for (const auto& c : cases) {
        const auto r =
            run(folder + QStringList{"schedule", "export", "--project", "S/1", "--out", c.out});
        EXPECT_EQ(r.code, c.code) << c.out.toStdString();
        EXPECT_TRUE((c.code ? r.err : r.out).startsWith(c.text)) << (r.out + r.err).toStdString();
    }
    ASSERT_TRUE(books.open(QIODevice::ReadOnly) && victim.open(QIODevice::ReadOnly));
    EXPECT_EQ(books.readAll(), before);
    EXPECT_EQ(victim.readAll(), "keep");
    EXPECT_EQ(QDir(dir.path()).entryList({"*.part"}, QDir::Files), QStringList());
}

// With a desktop copy running on the folder (its lock held by another process), every command
// works beside it but restore, which would replace the books under it.
TEST(Cli, CommandsWorkBesideARunningDesktopButRestore) {
    QTemporaryDir dir;
    const QStringList folder{QStringLiteral("--folder"), dir.path()};
    booksOfOneProject(dir.path());
    const QString backup = run(folder + QStringList{"backup"}).out.trimmed();
    const QString number = QStringLiteral("S/1");
    int ready[2], hold[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(hold), 0);
    const pid_t desktop = ::fork();
    if (desktop == 0) {
        ::close(hold[1]);
        const tw::AppLock lock(dir.path());
        char c = lock.state() == tw::AppLock::State::Held ? 'y' : 'n';
        if (::write(ready[1], &c, 1) == 1)
            c = char(::read(hold[0], &c, 1)); // until the test lets go
        ::_exit(0);
    }
    ::close(hold[0]);
    ::close(ready[1]);
    char held = 0;
    ASSERT_EQ(::read(ready[0], &held, 1), 1);
    ASSERT_EQ(held, 'y');
    const QString workbook = dir.filePath(QStringLiteral("s.xlsx"));
    const QStringList commands[] = {
        {"init"},
        {"backup"},
        {"backups"},
        {"payment", "add",        "--project", number, "--bill", "RA-1", "--receipt",    "V1",
         "--date",  "01-04-2024", "--amount",  "5",    "--tds",  "0",    "--recoveries", "0",
         "--type",  "Cash",       "--cheque",  "-",    "--bank", "-",    "--branch",     "-"},
        {"payment", "list", "--project", number},
        {"schedule", "export", "--project", number, "--out", workbook},
        {"schedule", "import", "--project", number, workbook},
    };
    for (const QStringList& c : commands) {
        const auto r = run(folder + c);
        EXPECT_EQ(r.code, 0) << c.join(u' ').toStdString() << ": " << r.err.toStdString();
    }
    const auto r = run(folder + QStringList{"restore", backup});
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.err, "tallywright-cli: Tallywright is running on " + dir.path() +
                         ": close it before restoring.\n");
    ::close(hold[1]);
    ::close(ready[0]);
    ::waitpid(desktop, nullptr, 0);
}
