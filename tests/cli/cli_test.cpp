#include "cli.h"
#include "support/core_fixtures.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

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
