#include "core/measurements/measurements.h"
#include "core/measurements/steel.h"
#include "core/reports/report_run.h"
#include "core/schedules/items.h"
#include "store/backup.h"
#include "store/files.h"
#include "store/history.h"
#include "store/rowwriter.h"
#include "store/schema.h"
#include "store/sqlitefile.h"
#include "store/store.h"
#include "support/core_fixtures.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlField>
#include <QSqlQuery>

#include <algorithm>
#include <future>
#include <limits>
#include <set>

#include <sqlite3.h>

using twtest::AppFolderTest;

namespace {

QStringList columnsOf(const tw::ConClass& con, const QString& table) {
    return con.columns(table);
}

int count(const tw::ConClass& con, const QString& table) {
    return con.first(QStringLiteral("select count(*) from \"%1\"").arg(table))->value(0).toInt();
}

QByteArray digest(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256);
}

// Runs statements on a file through a connection of its own, as another program would, and
// gives the first column of what the last one read.
QStringList runOn(const QString& path, const QStringList& statements) {
    QStringList out;
    {
        auto other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other"));
        other.setDatabaseName(path);
        EXPECT_TRUE(other.open());
        QSqlQuery q(other);
        for (const auto& sql : statements)
            EXPECT_TRUE(q.exec(sql)) << sql.toStdString();
        while (q.next())
            out << q.value(0).toString();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("other"));
    return out;
}

// Runs a script of tests/data/store on a copy of `base` (on an empty file when the script says
// so) and leaves the outcome at `target` as another program would hand it over: the file, and
// beside it what its writer has not yet folded into it (a WAL).
void makeHostile(const QString& script, const QString& base, const QString& target) {
    QFile f(script);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray sql = f.readAll();
    const QString work = target + QStringLiteral(".work");
    if (!sql.startsWith("-- an empty file")) {
        ASSERT_TRUE(QFile::copy(base, work));
    }
    sqlite3* h = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(work).constData(), &h), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(h, sql.constData(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(h);
    for (const char* suffix : {"", "-wal"})
        if (QFile::exists(work + QLatin1String(suffix)))
            QFile::copy(work + QLatin1String(suffix), target + QLatin1String(suffix));
    sqlite3_close(h);
    QFile::remove(work);
}

// Leaves the database at `path` as a crash in the middle of a write leaves it: changed pages in
// the file, their old content in a hot journal beside it.
void crashMidWrite(const QString& path) {
    const QString work = path + QStringLiteral(".crash");
    ASSERT_TRUE(QFile::copy(path, work));
    sqlite3* h = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(work).constData(), &h), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(h,
                           "pragma cache_size=2; begin; with recursive n(i) as (select 1 union "
                           "all select i+1 from n where i<5000) insert into units select "
                           "'crash' || i from n;",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    for (const char* suffix : {"", "-journal"}) {
        QFile::remove(path + QLatin1String(suffix));
        EXPECT_TRUE(QFile::copy(work + QLatin1String(suffix), path + QLatin1String(suffix)));
    }
    sqlite3_close(h);
    QFile::remove(work);
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

} // namespace

class StoreTest : public AppFolderTest {
protected:
    QString dbPath() const { return folder() + QStringLiteral("/Tallywright.db"); }
    // Opens a new connection on the folder's file and gives whether it opened.
    bool reopen() {
        db().conclose();
        tw::ConClass con(twtest::scripted());
        con.conopen();
        return con.isOpen();
    }
};

TEST_F(StoreTest, NewFileIsOwnerOnlyAndReopeningChangesNothing) {
    if (onServer())
        GTEST_SKIP() << "the local file's own";
    EXPECT_EQ(QFile::permissions(dbPath()) & ~(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                               QFileDevice::ReadUser | QFileDevice::WriteUser),
              QFileDevice::Permissions());
    // Users copy the file itself: every commit must be in it, with no write-ahead file beside.
    EXPECT_EQ(db().first(QStringLiteral("pragma journal_mode"))->text(0), QStringLiteral("delete"));
    EXPECT_EQ(db().first(QStringLiteral("pragma synchronous"))->value(0).toInt(), 2);
    db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QStringLiteral("50")}});
    EXPECT_FALSE(QFile::exists(dbPath() + QStringLiteral("-wal")));
    const QByteArray before = digest(dbPath());
    ASSERT_TRUE(reopen());
    EXPECT_EQ(digest(dbPath()), before);
    // Code stored in a file may call nothing that could harm, and no statement may corrupt it.
    db().conopen();
    EXPECT_EQ(db().first(QStringLiteral("pragma trusted_schema"))->value(0).toInt(), 0);
    db().exec(QStringLiteral("pragma writable_schema=1"));
    EXPECT_THROW(db().exec(QStringLiteral("update sqlite_master set sql=sql")), tw::Error);
}

// Each file of tests/data/store is one the program must not take: as its database and as a
// restore it is refused, named, and left byte for byte, with nothing made beside it.
TEST_F(StoreTest, FilesWhoseObjectsAreNotExactlyTheProgramsAreRefusedUntouched) {
    if (onServer())
        GTEST_SKIP() << "the local file's own";
    db().conclose();
    const QString fresh = folder() + QStringLiteral("/fresh.db");
    ASSERT_TRUE(QFile::rename(dbPath(), fresh));
    const QDir data(QStringLiteral(TW_STORE_DATA));
    const QStringList scripts = data.entryList({QStringLiteral("*.sql")});
    ASSERT_EQ(scripts.size(), 9);
    for (const QString& script : scripts) {
        SCOPED_TRACE(script.toStdString());
        const QString hostile = folder() + u'/' + QFileInfo(script).completeBaseName();
        makeHostile(data.filePath(script), fresh, hostile);
        makeHostile(data.filePath(script), fresh, dbPath());
        const QStringList files = QDir(folder()).entryList(QDir::Files | QDir::Hidden);
        QList<QByteArray> bytes;
        for (const QString& f : files)
            bytes << digest(folder() + u'/' + f);
        twtest::messages().clear();
        EXPECT_FALSE(reopen());
        ASSERT_EQ(twtest::messages().shown.size(), 1u);
        const QString said = twtest::messages().shown[0].text;
        EXPECT_TRUE(said.contains(dbPath() + " is not a Tallywright database"))
            << said.toStdString();
        try {
            tw::backup::restore(hostile);
            ADD_FAILURE() << "restored";
        } catch (const tw::Error& e) {
            EXPECT_TRUE(e.text().contains(hostile + " is not a Tallywright database"))
                << e.text().toStdString();
        }
        EXPECT_EQ(QDir(folder()).entryList(QDir::Files | QDir::Hidden), files);
        for (int i = 0; i < files.size(); ++i)
            EXPECT_EQ(digest(folder() + u'/' + files[i]), bytes[i]) << files[i].toStdString();
        for (const QString& f : files)
            if (f != QLatin1String("fresh.db"))
                QFile::remove(folder() + u'/' + f);
    }
}

TEST_F(StoreTest, FilesThisProgramDoesNotTakeAreRefusedNamedAndLeftAsTheyWere) {
    if (onServer())
        GTEST_SKIP() << "the local file's own";
    struct Case {
        const char* name;
        std::function<void(const QString&)> make;
        const char* says;
    } cases[] = {
        {"newer format",
         [](const QString& p) {
             runOn(
                 p,
                 {QStringLiteral("pragma user_version = %1").arg(tw::schema::currentVersion + 1)});
         },
         "newer version"},
        {"another program's SQLite file",
         [](const QString& p) {
             QFile::remove(p);
             runOn(p, {QStringLiteral("pragma journal_mode=wal"),
                       QStringLiteral("create table notes (x)"),
                       QStringLiteral("insert into notes values ('keep me')")});
         },
         "not a Tallywright database"},
        {"not a database at all", [](const QString& p) { writeFile(p, QByteArray(4096, 'x')); },
         ""},
        // SQLite would make the file the link points at, wherever that is.
        {"a link to nowhere",
         [](const QString& p) {
             QFile::remove(p);
             QFile::link(QStringLiteral("elsewhere.db"), p);
         },
         "is a symbolic link to a file that does not exist"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        db().conclose();
        c.make(dbPath());
        const QByteArray before = digest(dbPath());
        twtest::messages().clear();
        EXPECT_FALSE(reopen());
        ASSERT_EQ(twtest::messages().shown.size(), 1u);
        const auto& m = twtest::messages().shown[0];
        EXPECT_TRUE(m.text.contains(dbPath())) << m.text.toStdString();
        EXPECT_TRUE(m.text.contains(QString::fromLatin1(c.says))) << m.text.toStdString();
        EXPECT_EQ(digest(dbPath()), before);
        EXPECT_FALSE(QFile::exists(folder() + QStringLiteral("/elsewhere.db")));
        QFile::remove(dbPath());
        QFile::remove(dbPath() + QStringLiteral("-wal"));
        QFile::remove(dbPath() + QStringLiteral("-shm"));
        db().conopen();
    }
}

TEST_F(StoreTest, AFirstFormatFileIsUpgradedKeepingEveryRow) {
    if (onServer())
        GTEST_SKIP() << "the local file's own";
    db().conclose();
    QFile::remove(dbPath());
    // The first format: the same tables, text compared by case, lengths in inches as text,
    // diameters spelt with their unit.
    QStringList make;
    for (const auto& table : tw::schema::tables()) {
        if (table.name == tw::history::table)
            continue;
        QStringList defs;
        for (const auto& c : table.columns)
            defs << QStringLiteral("\"%1\" %2")
                        .arg(c.name, c.name == QLatin1String("tw_length_inches") ? "TEXT" : c.type);
        make << QStringLiteral("create table \"%1\" (%2)").arg(table.name, defs.join(u','));
    }
    make << QStringLiteral("create table Sch_7 (tw_sch_num TEXT, tw_item_rate REAL)")
         << QStringLiteral("insert into Sch_7 values ('A-1', 12.5)")
         << QStringLiteral("insert into contractmaster (tw_contract_num, tw_contract_name) "
                           "values ('P-1', 'Block A')")
         << QStringLiteral("insert into reinforcementmaster (tw_narration, tw_length_inches) "
                           "values ('beam', '6')")
         << QStringLiteral("insert into diameter values ('8 mm')")
         << QStringLiteral("pragma user_version = 1");
    runOn(dbPath(), make);
    db().conopen();
    ASSERT_TRUE(db().isOpen());
    EXPECT_EQ(db().first(QStringLiteral("pragma user_version"))->value(0).toInt(),
              tw::schema::currentVersion);
    const auto p = db().find(QStringLiteral("contractmaster"), QStringLiteral("tw_contract_num=?"),
                             {QStringLiteral("p-1")});
    ASSERT_TRUE(p);
    EXPECT_EQ(p->text(QStringLiteral("tw_contract_name")), QStringLiteral("Block A"));
    EXPECT_EQ(p->id(), 1);
    EXPECT_TRUE(db().find(QStringLiteral("Sch_7"), QStringLiteral("tw_sch_num='a-1'")));
    const auto r = db().find(QStringLiteral("reinforcementmaster"), QStringLiteral("1=1"));
    EXPECT_EQ(r->value(QStringLiteral("tw_length_inches")).typeId(), QMetaType::Double);
    EXPECT_EQ(db().rows(QStringLiteral("select * from diameter"))[0].text(0), QStringLiteral("8"));
    // The upgrade adds the history, the project's own schedule table recorded too.
    db().exec(QStringLiteral("update Sch_7 set tw_item_rate = 13"));
    db().exec(QStringLiteral("update contractmaster set tw_tax_rate = 5"));
    const auto changes = tw::history::read(db());
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[1].table, QStringLiteral("Sch_7"));
    EXPECT_EQ(changes[1].before, QStringLiteral("[\"A-1\",12.5]"));
    EXPECT_EQ(changes[1].after, QStringLiteral("[\"A-1\",13.0]"));
    EXPECT_EQ(changes[0].table, QStringLiteral("ContractMaster"));
}

TEST_F(StoreTest, TextMatchesWithoutRegardToCaseAndQuotesAreKept) {
    const QString num = QStringLiteral("P'01 \"x\"; drop table units; --");
    const QString name = QStringLiteral("O'Brien's \\ block");
    db().insert(QStringLiteral("ContractMaster"), {{QStringLiteral("tw_contract_num"), num},
                                                   {QStringLiteral("tw_contract_name"), name}});
    const auto r = db().first(QStringLiteral("select * from contractmaster where "
                                             "TW_CONTRACT_NUM=? and tw_contract_name in (?)"),
                              {num.toLower(), name.toUpper()});
    ASSERT_TRUE(r);
    EXPECT_EQ(r->text(QStringLiteral("tw_Contract_Name")), name);
    EXPECT_GT(count(db(), QStringLiteral("units")), 0);
    const QString key = tw::FindTableName(db(), QStringLiteral("  ") + num);
    EXPECT_EQ(key, r->text(0));
    EXPECT_EQ(tw::FindContractNo(db(), key), num);
    EXPECT_EQ(tw::FindTableName(db(), QStringLiteral(" ") + num, false), QString());
    // Columns read back carry the program's spelling, whatever the store calls them.
    EXPECT_EQ(r->columnName(9), QStringLiteral("tw_Client_Name"));

    // One case rule in every kind of statement: equal, LIKE, DISTINCT and ORDER BY, where the
    // folded text orders byte by byte.
    for (const char* u : {"b", "a-1", "Z", "A-1", "_x", "a1", "A 1"})
        db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QString::fromLatin1(u)}});
    QStringList ordered;
    for (const auto& row : db().rows(QStringLiteral("select units from units where units not "
                                                    "like '1%' order by units")))
        ordered << row.text(0).toLower();
    EXPECT_EQ(ordered, (QStringList{"_x", "a 1", "a-1", "a-1", "a1", "b", "z"}));
    EXPECT_EQ(db().first(QStringLiteral("select count(distinct units) from units where units "
                                        "like 'A%'"))
                  ->value(0)
                  .toInt(),
              3);
    EXPECT_EQ(count(db(), QStringLiteral("units")), 11);
    EXPECT_EQ(db().rows(QStringLiteral("select 1 from units where units = ?"), {"a-1"}).size(), 2u);
    EXPECT_EQ(db().rows(QStringLiteral("select 1 from units where %1")
                            .arg(db().sameText(QStringLiteral("units"))),
                        {"a-1"})
                  .size(),
              1u);
}

// A report run's working table is its connection's own: empty when made, found before the
// table of the same name, with the same columns, identity and case rule, and gone with the
// connection.
TEST_F(StoreTest, ATemporaryCopyIsTheConnectionsOwn) {
    const QString table = QStringLiteral("abstractbillrep");
    db().insert(table, {{QStringLiteral("tw_schno"), QStringLiteral("kept")}});
    tw::ConClass run(twtest::scripted());
    run.conopen();
    run.makeTemporaryCopy(QStringLiteral("AbstractBillRep"));
    EXPECT_EQ(count(run, table), 0);
    EXPECT_EQ(run.columns(table), db().columns(table));
    const qint64 id = run.insert(table, {{QStringLiteral("tw_schno"), QStringLiteral("A-1")}});
    run.update(table, id, {{QStringLiteral("tw_rate"), 2.5}});
    const auto mine = run.find(table, QStringLiteral("tw_schno=?"), {QStringLiteral("a-1")});
    ASSERT_TRUE(mine);
    EXPECT_EQ(mine->number(QStringLiteral("tw_rate")), 2.5);
    EXPECT_EQ(mine->count(), int(db().columns(table).size()));
    EXPECT_EQ(db().rows(QStringLiteral("select tw_schno from abstractbillrep"))[0].text(0),
              QStringLiteral("kept"));
    EXPECT_EQ(count(db(), table), 1);
    run.makeTemporaryCopy(table); // made again: empty again
    EXPECT_EQ(count(run, table), 0);
    run.conclose();
    run.conopen();
    EXPECT_EQ(count(run, table), 1);
    EXPECT_THROW(run.makeTemporaryCopy(QStringLiteral("no_such_table")), tw::Error);
}

// A new database holds every table with its columns in the given order, and the seed rows.
TEST_F(StoreTest, EveryTableIsMadeWithItsColumnsInOrder) {
    for (const auto& t : tw::schema::tables()) {
        QStringList expected;
        for (const auto& c : t.columns)
            expected << c.name;
        EXPECT_EQ(db().columns(t.name), expected) << t.name.toStdString();
        const auto all = db().rows(QStringLiteral("select * from %1").arg(t.name));
        if (!all.empty()) {
            EXPECT_EQ(all[0].count(), expected.size()) << t.name.toStdString();
        }
    }
    EXPECT_EQ(count(db(), QStringLiteral("shapes")), 30);
    EXPECT_EQ(count(db(), QStringLiteral("volarea")), 6);
    EXPECT_EQ(count(db(), QStringLiteral("dummy_ded_det")), 1);
}

TEST_F(StoreTest, KeyedRowsCarryTheirIdentityApartFromTheTablesPositions) {
    const qint64 id = db().insert(QStringLiteral("CategoryList_Meter"),
                                  {{QStringLiteral("tw_category_name"), QStringLiteral("PCC")},
                                   {QStringLiteral("tw_matl1"), QStringLiteral("Cement")},
                                   {QStringLiteral("tw_matl10_rate"), 7.5}});
    const auto r = db().find(QStringLiteral("categorylist_meter"),
                             QStringLiteral("tw_category_name=?"), {QStringLiteral("pcc")});
    ASSERT_TRUE(r);
    EXPECT_EQ(r->id(), id);
    EXPECT_EQ(r->count(), 37);
    EXPECT_EQ(r->text(7), QStringLiteral("Cement"));
    EXPECT_EQ(r->number(36), 7.5);
    EXPECT_TRUE(r->isNull(8));
    EXPECT_THROW(r->value(QStringLiteral("no_such_column")), tw::Error);
    db().update(QStringLiteral("CategoryList_Meter"), r->id(), {{QStringLiteral("tw_rate"), 3}});
    EXPECT_EQ(db().keyed(QStringLiteral("CategoryList_Meter"))[0].number(5), 3.0);
    db().remove(QStringLiteral("CategoryList_Meter"), r->id());
    EXPECT_TRUE(db().keyed(QStringLiteral("CategoryList_Meter")).empty());

    // Writes reuse their statements: each insert still gives its own identity, a statement
    // whose table went away fails with the store's text, and works again once it is back.
    const QString table = QStringLiteral("Scratch");
    db().exec(QStringLiteral("create table Scratch (a text)"));
    const qint64 one = db().insert(table, {{QStringLiteral("a"), QStringLiteral("x")}});
    const qint64 two = db().insert(table, {{QStringLiteral("a"), QStringLiteral("it's")}});
    EXPECT_EQ(two, one + 1);
    db().exec(QStringLiteral("drop table Scratch"));
    try {
        db().insert(table, {{QStringLiteral("a"), QStringLiteral("y")}});
        ADD_FAILURE() << "an insert into a dropped table went through";
    } catch (const tw::Error& e) {
        EXPECT_TRUE(e.text().contains(QStringLiteral("scratch"), Qt::CaseInsensitive))
            << e.text().toStdString();
    }
    db().exec(QStringLiteral("create table Scratch (b integer, a text)"));
    EXPECT_EQ(db().insert(table, {{QStringLiteral("a"), QStringLiteral("z")}}), 1);
    const auto only =
        db().keyedColumns(table, {db().sameText(QStringLiteral("a"))}, QStringLiteral("a like ?"),
                          {QStringLiteral("Z"), QStringLiteral("z")});
    ASSERT_EQ(only.size(), 1u);
    EXPECT_EQ(only[0].count(), 1);
    EXPECT_EQ(only[0].number(0), 0.0); // "z" is not "Z" when compared exactly
}

namespace {
// Rows read compact are the rows as any read gives them, value for value and type for type,
// identities and all.
void expectSameRows(const tw::Rows& compact, const tw::Rows& plain) {
    ASSERT_EQ(compact.size(), plain.size());
    for (size_t r = 0; r < plain.size(); ++r) {
        EXPECT_EQ(compact[r].id(), plain[r].id()) << r;
        ASSERT_EQ(compact[r].count(), plain[r].count()) << r;
        for (int c = 0; c < plain[r].count(); ++c) {
            const QVariant &a = compact[r].value(c), &b = plain[r].value(c);
            EXPECT_EQ(a.typeId(), b.typeId()) << r << " " << c;
            EXPECT_EQ(a.isNull(), b.isNull()) << r << " " << c;
            EXPECT_EQ(a.toString().isNull(), b.toString().isNull()) << r << " " << c;
            EXPECT_EQ(a, b) << r << " " << c << " " << a.toString().toStdString();
            EXPECT_EQ(compact[r].columnName(c), plain[r].columnName(c));
        }
        for (int c = 0; c < plain[r].count(); ++c)
            EXPECT_EQ(compact[r].record().field(c).metaType(),
                      plain[r].record().field(c).metaType());
    }
}

// Where a row's text in `column` is held: rows holding one text hold it in one place.
const QChar* textAt(const tw::Rows& rows, size_t r, int column) {
    return rows[r].value(column).toString().constData();
}
} // namespace

// The rows of a long report read compact are the rows as any read gives them, value for value
// and type for type, identities and all; a text repeated down its column is held once.
TEST_F(StoreTest, RowsReadCompactAreTheRowsAsReadAnyOtherWay) {
    const bool file = !db().onServer();
    // On a server: the types of the program's own tables, whose rows come in its binary form, and
    // others, which come through the driver.
    const QStringList tables =
        file ? QStringList{"create table Scratch (n integer, x real, t text, e text, b blob, u)"}
             : QStringList{"create table Scratch (n bigint, x double precision, t citext, e text)",
                           "create table Scratch (n integer, x real, t varchar(80), e text)"};
    for (const QString& made : tables) {
        SCOPED_TRACE(made.toStdString());
        db().exec(made);
        const QVariant none;
        const QByteArray blob("\0\1\2", 3);
        // e opens with an empty text, which is no Null, nor is the one after a Null.
        const std::vector<QVariantList> written{
            {1, 2.5, QStringLiteral("Brick work"), QString(""), blob, QStringLiteral("75.")},
            {none, none, QStringLiteral("Brick work"), none, none, none},
            {-3, 1e-7, QStringLiteral("Brick work"), QString(""), QByteArray(), 12},
            {4, 0.1, QStringLiteral("\u00cftem \u2014 \u20b9 \u00abquoted\u00bb it's"), none, blob,
             QStringLiteral("text")},
            {5, 1.5, QString(""), QStringLiteral("x"), none, 7.5},
            {6, 2.0, QStringLiteral("brick work"), QString(""), blob, qlonglong(1) << 40},
            {7, -0.0, QStringLiteral("brick work"), none, none, QStringLiteral("brick work")}};
        const QStringList columns =
            file ? QStringList{"n", "x", "t", "e", "b", "u"} : QStringList{"n", "x", "t", "e"};
        for (const QVariantList& row : written) {
            tw::Values values;
            for (qsizetype c = 0; c < columns.size(); ++c)
                values.emplace_back(columns[c], row[c]);
            db().insert(QStringLiteral("Scratch"), values);
        }
        db().exec(QStringLiteral("delete from Scratch where n = 4")); // identities with a gap
        const tw::Rows compact = db().compactColumns(QStringLiteral("Scratch"), columns);
        ASSERT_EQ(compact.size(), written.size() - 1);
        expectSameRows(compact, db().keyedColumns(QStringLiteral("Scratch"), columns, {}, {}));
        // "Brick work" three times, one text; "brick work" is another.
        EXPECT_EQ(textAt(compact, 0, 2), textAt(compact, 1, 2));
        EXPECT_EQ(textAt(compact, 0, 2), textAt(compact, 2, 2));
        EXPECT_NE(textAt(compact, 4, 2), textAt(compact, 0, 2));
        EXPECT_EQ(compact[4].value(2).toString(), "brick work");
        db().exec(QStringLiteral("drop table Scratch"));
    }
}

// A long run of rows comes in parts: a text repeated across the seam between two is still held
// once, and every value is where it belongs.
TEST_F(StoreTest, ALongRunOfRowsReadCompactIsTheRunAsReadAnyOtherWay) {
    db().exec(db().onServer()
                  ? QStringLiteral("create table Scratch (n bigint, x double precision, t citext, "
                                   "e text)")
                  : QStringLiteral("create table Scratch (n integer, x real, t text, e text)"));
    // Runs of 100 rows of one text: the run of "Item 20" crosses row 2,048.
    db().exec(QStringLiteral(
        "insert into Scratch (n, x, t, e) with recursive c(i) as (select 0 union all select i + "
        "1 from c where i < 4999) select i, case when i % 7 = 0 then null else i * 0.5 end, "
        "'Item ' || (i / 100), case i % 3 when 0 then null when 1 then '' else 'x' end from c"));
    const QStringList columns{"n", "x", "t", "e"};
    const tw::Rows compact = db().compactColumns(QStringLiteral("Scratch"), columns);
    ASSERT_EQ(compact.size(), 5000u);
    expectSameRows(compact, db().keyedColumns(QStringLiteral("Scratch"), columns, {}, {}));
    EXPECT_EQ(textAt(compact, 2000, 2), textAt(compact, 2099, 2));
    EXPECT_EQ(textAt(compact, 2047, 2), textAt(compact, 2048, 2));
    EXPECT_NE(textAt(compact, 2099, 2), textAt(compact, 2100, 2));
    EXPECT_EQ(compact[4999].value(2).toString(), "Item 49");
}

// A failure met while a long run is read (here SQLite's interrupt) is the store's failure,
// thrown where the rows were asked for, and the next read of the same rows gets them all.
TEST_F(StoreTest, AFailureWhileALongRunIsReadIsThrownWhereItWasAskedFor) {
    if (db().onServer())
        GTEST_SKIP() << "the file's own reading";
    db().exec(QStringLiteral("create table Scratch (n integer, t text)"));
    db().exec(QStringLiteral(
        "insert into Scratch (n, t) with recursive c(i) as (select 0 union all select i + 1 from "
        "c where i < 9999) select i, 'Item ' || (i / 100) from c"));
    sqlite3* file = tw::sqlite::handleOf(db().db());
    ASSERT_NE(file, nullptr);
    // Some 5,000 rows into the reading (SQLite looks every 100 steps of its program, some five to
    // a row), when runs of rows were handed over already.
    int looks = 0;
    sqlite3_progress_handler(
        file, 100, [](void* n) { return ++*static_cast<int*>(n) > 250 ? 1 : 0; }, &looks);
    const QStringList columns{"n", "t"};
    try {
        db().compactColumns(QStringLiteral("Scratch"), columns);
        ADD_FAILURE() << "an interrupted read gave rows";
    } catch (const tw::Error& e) {
        EXPECT_TRUE(e.text().contains(QStringLiteral("interrupt"))) << e.text().toStdString();
    }
    EXPECT_EQ(looks, 251);
    sqlite3_progress_handler(file, 0, nullptr, nullptr);
    EXPECT_EQ(db().compactColumns(QStringLiteral("Scratch"), columns).size(), 10000u);
}

TEST_F(StoreTest, TransactionsNestAndAnActionsWritesStandOrFallTogether) {
    const auto add = [&](const char* u) {
        db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QString::fromLatin1(u)}});
    };
    const int seeded = count(db(), QStringLiteral("units"));
    {
        tw::Transaction action(db());
        add("a");
        {
            tw::Transaction inner(db());
            add("b");
        } // the inner routine failed: only its own writes go
        {
            tw::Transaction inner(db());
            add("c");
            inner.commit();
        }
        action.commit();
    }
    EXPECT_EQ(count(db(), QStringLiteral("units")), seeded + 2);
    {
        tw::Transaction action(db());
        {
            tw::Transaction inner(db());
            add("d");
            inner.commit();
        }
    } // the action failed after the inner routine had committed: nothing of it stays
    EXPECT_EQ(count(db(), QStringLiteral("units")), seeded + 2);
    {
        // A run that closes and re-opens its connection midway keeps the action one.
        tw::Transaction action(db());
        add("e");
        db().conclose();
        db().conopen();
        add("f");
        action.commit();
    }
    EXPECT_EQ(count(db(), QStringLiteral("units")), seeded + 4);
    EXPECT_TRUE(db().isOpen());
    {
        tw::Transaction action(db());
        db().conclose(); // closing inside an action waits for its end
        EXPECT_TRUE(db().isOpen());
        action.commit();
    }
    EXPECT_FALSE(db().isOpen());
}

// The store itself records every change to the tables a bill is made of, whoever writes them,
// and its record cannot be changed.
TEST_F(StoreTest, EveryChangeIsRecordedWithItsWriterAndTheRecordStandsAsWritten) {
    if (onServer())
        GTEST_SKIP() << "the local file's own";
    tw::history::setUser(QStringLiteral("clerk1"));
    const auto shell = [&](const QString& sql) {
        QProcess p;
        p.start(QStringLiteral("sqlite3"), {dbPath(), sql});
        EXPECT_TRUE(p.waitForFinished());
        return std::pair{p.exitCode(), QString::fromUtf8(p.readAllStandardError())};
    };
    const auto latest = [&] { return tw::history::read(db()).front(); };
    const qint64 id = db().insert(QStringLiteral("payment_rec"),
                                  {{QStringLiteral("tw_contract_num"), QStringLiteral("P-1")},
                                   {QStringLiteral("tw_bill_num"), QStringLiteral("1")},
                                   {QStringLiteral("tw_recpt_num"), QStringLiteral("R'1\",\\")},
                                   {QStringLiteral("tw_netamt"), 1500.25}});
    auto e = latest();
    EXPECT_EQ(e.who, QStringLiteral("clerk1"));
    EXPECT_EQ(e.computer, tw::history::computer());
    EXPECT_EQ(std::tuple(e.table, e.row, e.action, e.project, e.bill),
              std::tuple(QStringLiteral("payment_rec"), id, QStringLiteral("added"),
                         QStringLiteral("P-1"), QStringLiteral("1")));
    EXPECT_TRUE(e.before.isEmpty());
    EXPECT_EQ(
        e.after,
        QStringLiteral(
            "[\"P-1\",\"1\",\"R'1\\\",\\\\\",null,1500.25,null,null,null,null,null,null,null]"));
    EXPECT_LE(std::abs(e.when.secsTo(QDateTime::currentDateTimeUtc())), 60);
    // The sqlite3 shell writes without the program: recorded, with no user, values before and
    // after; an update that changes nothing is no change, one of case alone is.
    db().conclose();
    EXPECT_EQ(shell(QStringLiteral("update payment_rec set tw_netamt = 1499.75")).first, 0);
    EXPECT_EQ(shell(QStringLiteral("update payment_rec set tw_netamt = 1499.75")).first, 0);
    EXPECT_EQ(shell(QStringLiteral("update payment_rec set tw_contract_num = 'p-1'")).first, 0);
    EXPECT_EQ(
        shell(QStringLiteral("insert into dummy_estimation (tw_bill_num) values ('1')")).first, 0);
    db().conopen();
    const auto all = tw::history::read(db());
    ASSERT_EQ(all.size(), 3u);
    EXPECT_TRUE(all[1].who.isEmpty());
    EXPECT_EQ(all[1].action, QStringLiteral("changed"));
    EXPECT_TRUE(all[1].before.contains(QStringLiteral(",1500.25,")));
    EXPECT_TRUE(all[1].after.contains(QStringLiteral(",1499.75,")));
    EXPECT_TRUE(all[0].after.startsWith(QStringLiteral("[\"p-1\"")));
    // Nobody changes or removes what was recorded: not the shell, not the program.
    db().conclose();
    for (const char* sql : {"delete from history", "update history set tw_who = 'x'"}) {
        const auto [code, said] = shell(QString::fromLatin1(sql));
        EXPECT_NE(code, 0) << sql;
        EXPECT_TRUE(said.contains(QStringLiteral("kept as written"))) << said.toStdString();
    }
    // A project's schedule table made by another program is recorded from the next opening.
    EXPECT_EQ(shell(QStringLiteral("insert into contractmaster (tw_contract_num) values ('P-9'); "
                                   "create table Sch_1 (tw_sch_num TEXT, tw_item_rate REAL)"))
                  .first,
              0);
    db().conopen();
    EXPECT_THROW(db().exec(QStringLiteral("delete from history")), tw::Error);
    db().insert(QStringLiteral("Sch_1"),
                {{QStringLiteral("tw_sch_num"), QStringLiteral("A\n1")},
                 {QStringLiteral("tw_item_rate"), QByteArray("\x00\xff", 2)}});
    e = latest();
    EXPECT_EQ(std::tuple(e.table, e.project, e.after),
              std::tuple(QStringLiteral("Sch_1"), QStringLiteral("P-9"),
                         QStringLiteral("[\"A\\n1\",{\"hex\":\"00FF\"}]")));
    // Days are UTC days, both ends included.
    const QDate today = QDateTime::currentDateTimeUtc().date();
    for (const auto& [since, until, count] : {std::tuple{today, today, 3u},
                                              {today.addDays(1), QDate(), 0u},
                                              {QDate(), today.addDays(-1), 0u},
                                              {today.addDays(-1), QDate(), 3u}})
        EXPECT_EQ(tw::history::read(db(), {QStringLiteral("p-1"),
                                           {},
                                           {},
                                           since.toString(Qt::ISODate),
                                           until.toString(Qt::ISODate)})
                      .size(),
                  count)
            << since.toString(Qt::ISODate).toStdString()
            << until.toString(Qt::ISODate).toStdString();
}

// Rows written in bulk hold what a statement of the same values holds, type and all, and a row
// the store refuses names the store's reason.
TEST_F(StoreTest, RowsWrittenInBulkAreStoredAsAStatementStoresThem) {
    if (onServer())
        GTEST_SKIP() << "the server's columns are typed: its rows go through a statement";
    const QVariantList values{QVariant(),
                              QString(),
                              QStringLiteral(""),
                              QStringLiteral("12.50"),
                              7,
                              true,
                              QVariant::fromValue(qint16(3)),
                              2.5,
                              QVariant::fromValue(1.5F),
                              QVariant::fromValue(qlonglong(1) << 40),
                              QVariant::fromValue(qulonglong(9)),
                              QByteArray("ab"),
                              QDate(2026, 4, 1),
                              QDate()};
    db().exec(QStringLiteral("create temp table bulk_one (v)"));
    db().exec(QStringLiteral("create temp table bulk_all (v not null)"));
    tw::RowWriter writer(db(), QStringLiteral("bulk_all"), {QStringLiteral("v")});
    QStringList expected;
    for (const QVariant& v : values) {
        db().exec(QStringLiteral("insert into bulk_one (v) values (?)"), {v});
        const auto stored = db().first(
            QStringLiteral("select typeof(v) || ' ' || quote(v) from bulk_one where rowid = "
                           "last_insert_rowid()"));
        expected << stored->text(0);
        if (stored->text(0) == QLatin1String("null NULL")) {
            try {
                writer.add({v});
                ADD_FAILURE() << "a Null was taken: " << v.typeName();
            } catch (const tw::Error& e) {
                EXPECT_EQ(tw::failureKind(e.text()), tw::StoreFailure::NotNull) << e.what();
            }
        } else {
            writer.add({v});
        }
    }
    QStringList written;
    for (const tw::Row& r :
         db().rows(QStringLiteral("select typeof(v) || ' ' || quote(v) from bulk_all")))
        written << r.text(0);
    expected.removeAll(QStringLiteral("null NULL"));
    EXPECT_EQ(written, expected);
    EXPECT_EQ(written.size(), values.size() - 3);
}

// Rows written in bulk are all in the table once the writer is done, whatever number of
// statements carried them, inside an action as outside one; the rows before one the store
// refuses stay written.
TEST_F(StoreTest, RowsWrittenInBulkAllArriveAndARefusedRowKeepsThoseBefore) {
    db().exec(QStringLiteral("create temp table bulk_n (n integer check (n <> 2600))"));
    const auto write = [&](int from, int to) {
        tw::RowWriter writer(db(), QStringLiteral("bulk_n"), {QStringLiteral("n")});
        for (int n = from; n <= to; ++n)
            writer.add({n});
        writer.flush();
    };
    const auto stored = [&] {
        return db().first(QStringLiteral("select count(*) || ' ' || sum(n) from bulk_n"))->text(0);
    };
    {
        tw::Transaction tx(db());
        write(1, 2500);
        tx.commit();
    }
    EXPECT_EQ(stored(), QStringLiteral("2500 3126250"));
    db().exec(QStringLiteral("delete from bulk_n"));
    EXPECT_THROW(write(2590, 2610), tw::Error);
    EXPECT_EQ(stored(), QStringLiteral("10 25945"));
}

// Lines written in bulk are recorded as lines written one at a time, inside an action and
// outside one; a writer stopped by a failure leaves later changes recorded as ever.
TEST_F(StoreTest, LinesWrittenInBulkAreRecordedAsLinesWrittenOneAtATime) {
    tw::history::setUser(QStringLiteral("clerk2"));
    const QStringList columns{QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num"),
                              QStringLiteral("tw_item_narration"), QStringLiteral("tw_cal_Area")};
    // Plain figures, texts JSON must escape, a huge figure; on the file, whose columns take
    // anything, also a control character, a text in a number column, a blob and an infinity.
    std::vector<QVariantList> lines{
        {QStringLiteral("P-1"), QStringLiteral("RA-1"), QStringLiteral("Wall, line 1"), 12.5},
        {QStringLiteral("P-1"), QStringLiteral("RA-1"), QStringLiteral("q\"'\\\n\t\r"), 1e300},
        {QStringLiteral("P-1"), QStringLiteral("RA-1"), QStringLiteral("bell\x07"), 2.5},
        {QStringLiteral("P-1"), QStringLiteral("RA-1"), QStringLiteral("Wall"),
         QStringLiteral("12.5.1")},
        {QStringLiteral("P-1"), QStringLiteral("RA-1"), QByteArray("\x01\xff", 2), 0.5},
        {QStringLiteral("P-1"), QStringLiteral("RA-1"), QStringLiteral("Wall"),
         std::numeric_limits<double>::infinity()},
    };
    if (onServer())
        lines.resize(2);
    const auto one = [&] {
        for (const QVariantList& line : lines) {
            tw::Values v;
            for (qsizetype i = 0; i < columns.size(); ++i)
                v.push_back({columns[i], line[i]});
            db().insert(QStringLiteral("BillMaster"), v);
        }
    };
    const auto bulk = [&] {
        tw::RowWriter writer(db(), QStringLiteral("BillMaster"), columns);
        for (const QVariantList& line : lines)
            writer.add(line);
    };
    one();
    {
        tw::Transaction tx(db());
        bulk();
        // Each line alone, so that no other line's value of the same column hides how its own
        // are recorded.
        for (const QVariantList& line : lines)
            tw::RowWriter(db(), QStringLiteral("BillMaster"), columns).add(line);
        tx.commit();
    }
    bulk();
    try {
        tw::Transaction tx(db());
        bulk();
        throw tw::Error(QStringLiteral("stopped"));
    } catch (const tw::Error&) {
    }
    one();
    auto all = tw::history::read(db());
    std::reverse(all.begin(), all.end());
    ASSERT_EQ(all.size(), 5 * lines.size());
    std::set<qint64> rows;
    for (const tw::Row& r :
         db().rows(QStringLiteral("select tw_recordkey from BillMaster order by tw_recordkey")))
        rows.insert(qint64(r.number(0)));
    for (size_t i = 0; i < all.size(); ++i) {
        const auto& e = all[i];
        // The values after the row's own key, as the same line written alone has them.
        EXPECT_EQ(std::tuple(e.who, e.table, e.action, e.project, e.bill, e.before,
                             e.after.section(u',', 1)),
                  std::tuple(writer(), QStringLiteral("BillMaster"), QStringLiteral("added"),
                             QStringLiteral("P-1"), QStringLiteral("RA-1"), QString(),
                             all[i % lines.size()].after.section(u',', 1)))
            << i;
        EXPECT_TRUE(rows.erase(e.row)) << e.row;
    }
    EXPECT_TRUE(rows.empty());
}

// The lists the screens offer keep the order the rows were written in, a row changed since
// included: the server moves a changed row to the end of its table.
TEST_F(StoreTest, ListsKeepTheOrderTheRowsWereWrittenIn) {
    for (const char* name : {"Alpha", "Beta"})
        db().insert(QStringLiteral("ContractMaster"),
                    {{QStringLiteral("tw_contract_num"), QString::fromLatin1(name).left(1)},
                     {QStringLiteral("tw_contract_name"), QString::fromLatin1(name)}});
    for (const char* n : {"1", "2"}) {
        db().insert(QStringLiteral("Sch_master"),
                    {{QStringLiteral("tw_contract_num"), QStringLiteral("A")},
                     {QStringLiteral("tw_sch_num"), QString::fromLatin1(n)}});
        db().insert(QStringLiteral("BillMaster"),
                    {{QStringLiteral("tw_contract_num"), QStringLiteral("A")},
                     {QStringLiteral("tw_bill_num"), QStringLiteral("RA-1")},
                     {QStringLiteral("tw_sch_num"), QString::fromLatin1(n)}});
        db().insert(QStringLiteral("Reinforcementmaster"),
                    {{QStringLiteral("tw_contract_num"), QStringLiteral("A")},
                     {QStringLiteral("tw_bill_num"), QStringLiteral("RA-1")},
                     {QStringLiteral("tw_narration"), QString::fromLatin1(n)}});
    }
    for (const char* sql : {"update ContractMaster set tw_contract_name = 'Alpha 2' where "
                            "tw_contract_num = 'A'",
                            "update Sch_master set tw_item_desc = 'Earth' where tw_sch_num = '1'",
                            // a line moved to another bill and back
                            "update BillMaster set tw_bill_num = 'RA-2' where tw_sch_num = '1'",
                            "update BillMaster set tw_bill_num = 'RA-1' where tw_sch_num = '1'",
                            "update Reinforcementmaster set tw_bill_num = 'RA-2' where "
                            "tw_narration = '1'",
                            "update Reinforcementmaster set tw_bill_num = 'RA-1', tw_remarks = 'x' "
                            "where tw_narration = '1'"})
        db().exec(QString::fromLatin1(sql));
    EXPECT_EQ(tw::projectNames(db()), (QStringList{"Alpha 2", "Beta"}));
    QStringList numbers;
    db().contractno(numbers, QStringLiteral("Edit"));
    EXPECT_EQ(numbers, (QStringList{"A", "B"}));
    const auto items = tw::schedules::itemNames(db(), QStringLiteral("A"));
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0], std::pair(QStringLiteral("1"), QStringLiteral("Earth")));
    const auto lines = tw::measurements::Show_Measurements(db(), "A", "RA-1");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].front(), QStringLiteral("1"));
    const auto steel = tw::steel::Show_Reinforcement(db(), "A", "RA-1", false);
    ASSERT_EQ(steel.size(), 2u);
    EXPECT_TRUE(steel[0].contains(QStringLiteral("1"))) << steel[0].join('|').toStdString();
    EXPECT_FALSE(steel[1].contains(QStringLiteral("x")));
}

// A file made before the program kept its indexes gets them when it is opened, and its lists
// keep the order the rows were written in.
TEST_F(StoreTest, AFileWithoutTheIndexesGetsThemAndListsKeepTheirOrder) {
    if (onServer())
        GTEST_SKIP() << "the local file's own";
    const auto indexNames = [&] {
        QStringList names;
        for (const tw::Row& r : db().rows(QStringLiteral(
                 "select name from sqlite_master where type='index' and sql is not null "
                 "order by name")))
            names << r.text(0);
        return names;
    };
    const QStringList made = indexNames();
    ASSERT_EQ(made.size(), qsizetype(tw::schema::indexes().size()));
    db().insert(QStringLiteral("ContractMaster"),
                {{QStringLiteral("tw_contract_num"), QStringLiteral("P1")},
                 {QStringLiteral("tw_contract_name"), QStringLiteral("School")}});
    for (const QString table : {"BillMaster", "Reinforcementmaster"})
        for (const char* bill : {"RA-2", "ra-1", "RA-1", "A-3"})
            db().insert(table, {{QStringLiteral("tw_contract_num"), QStringLiteral("P1")},
                                {QStringLiteral("tw_bill_num"), QString::fromLatin1(bill)}});
    db().conclose();
    {
        sqlite3* h = nullptr;
        ASSERT_EQ(sqlite3_open(QFile::encodeName(dbPath()).constData(), &h), SQLITE_OK);
        for (const QString& name : made)
            EXPECT_EQ(sqlite3_exec(h, ("drop index " + name.toStdString()).c_str(), nullptr,
                                   nullptr, nullptr),
                      SQLITE_OK);
        sqlite3_close(h);
    }
    tw::schema::inspect(dbPath()); // a file of the program, indexes or not
    db().conopen();
    EXPECT_EQ(indexNames(), made);
    tw::schema::inspect(dbPath());
    // The bill lists of the measurement, steel and report screens, in the order of entry.
    const QStringList entered{"RA-2", "ra-1", "A-3"};
    EXPECT_EQ(tw::measurements::billNumbers(db(), QStringLiteral("P1")), entered);
    EXPECT_EQ(tw::steel::billNumbers(db(), QStringLiteral("P1")), entered);
    tw::reports::ReportRun run;
    EXPECT_EQ(tw::reports::BillNumbers(run, db(), QStringLiteral("School"),
                                       QStringLiteral("reinforcementmaster")),
              entered);
}

TEST_F(StoreTest, MissingProjectTableIsMadeOnlyForTheThreeFamilies) {
    const QString key = QStringLiteral("17");
    EXPECT_FALSE(tw::reporttableerror(twtest::scripted(), QString(), key));
    EXPECT_FALSE(tw::reporttableerror(twtest::scripted(),
                                      QStringLiteral("no such table: prev_dummy_x"), key));
    EXPECT_TRUE(tw::reporttableerror(
        twtest::scripted(), QStringLiteral("no such table: BL_17 Unable to execute"), key));
    // The table made is the bare key, with the columns of the reinforcement table.
    EXPECT_EQ(columnsOf(db(), QStringLiteral("17")),
              columnsOf(db(), QStringLiteral("Reinforcementmaster")));
    EXPECT_TRUE(columnsOf(db(), QStringLiteral("Bl_17")).isEmpty());
}

TEST(AppFolderRule, TheProgramsFolderWhenItHoldsTheBooksOrCanBeWritten) {
    const QString program = QStringLiteral("/opt/tw/bin"), user = QStringLiteral("/home/a/tw");
    const struct {
        tw::AppFolder::Program here;
        const QString& chosen;
    } cases[] = {
        {{false, true, false}, program},
        {{false, false, false}, user},
        {{false, true, true}, user},
        // The books stay where they are, even where they cannot be written (the lock says why).
        {{true, false, false}, program},
        {{true, false, true}, program},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tw::AppFolder::choose(program, c.here, user), c.chosen)
            << c.here.holdsDatabase << c.here.writable << c.here.installed;
    // The user's data folder is the user's alone, made so however it was found.
    QTemporaryDir home;
    const QString data = home.filePath(QStringLiteral("Tallywright"));
    for (int round = 0; round < 2; ++round) {
        tw::AppFolder::secureDataFolder(data);
        EXPECT_EQ(QFileInfo(data).permissions() & 0x0777,
                  QFileDevice::ExeUser | QFileDevice::ReadUser | QFileDevice::WriteUser);
        QFile::setPermissions(data, QFile::permissions(data) | QFileDevice::ReadGroup |
                                        QFileDevice::ExeGroup | QFileDevice::ReadOther);
    }
    // Files shipped with the program are found beside it whatever folder holds the data.
    tw::AppFolder::set(QDir::tempPath());
    EXPECT_TRUE(tw::AppFolder::resource(QStringLiteral("layouts/det_estimation.html"))
                    .startsWith(QCoreApplication::applicationDirPath()));
    EXPECT_EQ(tw::AppFolder::resource(QStringLiteral("layouts/no_such.html")), QString());
}

TEST(LoginConfig, FreeFormatInput) {
    const struct {
        const char* line;
        QStringList values;
    } cases[] = {
        {R"(server,admin,secret)", {"server", "admin", "secret"}},
        {R"("server", "admin" , "se,cret")", {"server", "admin", "se,cret"}},
        {R"( srv ,  Admin  ,  pass word )", {"srv", "Admin", "pass word"}},
        {R"("  lead",x,"")", {"  lead", "x", ""}},
        {R"(a,,c)", {"a", "", "c"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tw::splitFreeFormat(QString::fromLatin1(c.line)), c.values) << c.line;
}

TEST(LoginConfig, OwnerOnlyRoundTripAndDamagedFilesNamed) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("twk.cfg"));
    EXPECT_FALSE(tw::readLoginConfig(path));
    tw::writeLoginConfig(
        path, {QStringLiteral("srv"), QStringLiteral("Admin"), QStringLiteral(" s3,cret")});
    const auto cfg = tw::readLoginConfig(path);
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->userid, QStringLiteral("Admin"));
    EXPECT_EQ(cfg->password, QStringLiteral(" s3,cret"));
    EXPECT_EQ(QFile::permissions(path) & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0);
    for (const char* content : {"", "only,two\n"}) {
        writeFile(path, content);
        try {
            tw::readLoginConfig(path);
            ADD_FAILURE() << "a damaged file was read: " << content;
        } catch (const tw::Error& e) {
            EXPECT_TRUE(e.text().contains(path)) << e.text().toStdString();
        }
    }
}

// The backups of the local file; a server's are made by its own tools (server_test).
class BackupTest : public StoreTest {
protected:
    void SetUp() override {
        if (onServer())
            GTEST_SKIP() << "the local file's own";
        StoreTest::SetUp();
    }
    QString backupsDir() const { return folder() + QStringLiteral("/backups"); }
    QStringList backupNames() const {
        return QDir(backupsDir()).entryList({QStringLiteral("*")}, QDir::Files, QDir::Name);
    }
};

TEST_F(BackupTest, BackupsAreCheckedCopiesKeptByTheRetentionRule) {
    db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QStringLiteral("kept")}});
    const QString made = tw::backup::makeNow(QDateTime(QDate(2026, 11, 21), QTime(9, 0)));
    EXPECT_EQ(made, backupsDir() + QStringLiteral("/Tallywright-2026-11-21-090000.db"));
    EXPECT_EQ(tw::backup::check(made), QStringLiteral("ok"));
    EXPECT_EQ(QFile::permissions(made) & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0);
    EXPECT_TRUE(tw::backup::madeOn(QDate(2026, 11, 21)));
    EXPECT_FALSE(tw::backup::madeOn(QDate(2026, 11, 22)));
    // A copy that never finished does not count, and is never listed.
    QFile part(backupsDir() + QStringLiteral("/Tallywright-2026-11-22-080000.db.part"));
    ASSERT_TRUE(part.open(QIODevice::WriteOnly));
    part.close();
    EXPECT_FALSE(tw::backup::madeOn(QDate(2026, 11, 22)));
    EXPECT_EQ(tw::backup::list().size(), 1u);

    // Daily backups over fifteen months: the newest ten stay, and the newest of each of the
    // last twelve months.
    QDateTime day(QDate(2025, 9, 1), QTime(18, 30));
    for (int i = 0; i < 450; i += 3, day = day.addDays(3))
        QFile::copy(made, tw::backup::nameFor(day));
    tw::backup::prune(day);
    const auto kept = tw::backup::list();
    std::set<QString> months;
    for (const auto& e : kept)
        months.insert(e.made.toString(QStringLiteral("yyyy-MM")));
    EXPECT_EQ(kept.size(), 10u + 12u - 2u); // the newest ten fall in the last two months
    EXPECT_EQ(months.size(), 12u);
    EXPECT_EQ(*months.begin(), QStringLiteral("2025-12"));
    EXPECT_EQ(kept.front().made, day.addDays(-3));
}

TEST_F(BackupTest, RestoreRefusesWhatItMustAndKeepsWhatItReplaces) {
    const QString good = folder() + QStringLiteral("/good.db");
    db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QStringLiteral("old")}});
    tw::backup::copyDatabase(dbPath(), good);
    db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QStringLiteral("new")}});
    db().conclose();

    const QString garbage = folder() + QStringLiteral("/garbage.db");
    writeFile(garbage, QByteArray(8192, 'z'));
    const QString foreign = folder() + QStringLiteral("/foreign.db");
    runOn(foreign, {QStringLiteral("create table notes (x)")});
    const QString newer = folder() + QStringLiteral("/newer.db");
    tw::backup::copyDatabase(good, newer);
    runOn(newer, {QStringLiteral("pragma user_version = 99")});

    const QByteArray live = digest(dbPath());
    for (const QString& bad : {garbage, foreign, newer, folder() + QStringLiteral("/none.db")})
        EXPECT_THROW(tw::backup::restore(bad), tw::Error) << bad.toStdString();
    {
        const tw::AppLock desktop(folder()); // a running desktop program
        ASSERT_EQ(desktop.state(), tw::AppLock::State::Held);
        EXPECT_THROW(tw::backup::restore(good), tw::Error);
    }
    EXPECT_EQ(digest(dbPath()), live);
    EXPECT_FALSE(QDir(backupsDir()).exists());

    const auto unitsIn = [](const QString& file) {
        return runOn(file,
                     {QStringLiteral("select units from units where units in ('old', 'new')")});
    };
    const QString kept = tw::backup::restore(good);
    EXPECT_EQ(unitsIn(kept), (QStringList{"old", "new"}));
    EXPECT_EQ(unitsIn(dbPath()), QStringList{"old"});
}

// No file is written through a symbolic link, nor onto the books: each target is refused,
// named, and what it points at is left as it was.
TEST_F(StoreTest, NothingIsWrittenThroughALinkNorOverTheDatabaseInUse) {
    if (onServer())
        GTEST_SKIP() << "the local file's own";
    const QString victim = folder() + QStringLiteral("/victim.txt");
    writeFile(victim, "keep me");
    const QFile::Permissions mode = QFile::permissions(victim);
    const QByteArray books = digest(dbPath());
    const auto linked = [&](const QString& name) {
        const QString path = folder() + u'/' + name;
        QFile::link(QStringLiteral("victim.txt"), path);
        return path;
    };
    const struct {
        QString target;
        std::function<void(const QString&)> write;
        const char* says;
    } cases[] = {
        {linked("report.pdf"), [](const QString& t) { tw::writeFileAtomically(t, "pdf"); },
         "is a symbolic link"},
        {linked("twk.cfg"), [](const QString& t) { tw::writeLoginConfig(t, {}); },
         "is a symbolic link"},
        {linked("copy.db"), [&](const QString& t) { tw::backup::copyDatabase(dbPath(), t); },
         "is a symbolic link"},
        {linked("Tallywright.lock"),
         [](const QString& t) {
             const tw::AppLock lock(QFileInfo(t).path());
             if (lock.state() == tw::AppLock::State::Failed)
                 throw tw::Error(lock.error());
         },
         "is a symbolic link"},
        {dbPath(), [](const QString& t) { tw::writeFileAtomically(t, "pdf"); },
         "is the database in use"},
        {dbPath() + "-journal", [](const QString& t) { tw::writeFileAtomically(t, "x"); },
         "is the journal of the database in use"},
        {folder() + "/again.db",
         [&](const QString& t) {
             QFile::link(dbPath(), t);
             tw::backup::copyDatabase(t, t);
         },
         "is the database in use"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.target.toStdString());
        try {
            c.write(c.target);
            ADD_FAILURE() << "written";
        } catch (const tw::Error& e) {
            EXPECT_TRUE(e.text().contains(c.target + u' ' + QLatin1String(c.says)))
                << e.text().toStdString();
        }
        EXPECT_EQ(digest(victim), QCryptographicHash::hash("keep me", QCryptographicHash::Sha256));
        EXPECT_EQ(QFile::permissions(victim), mode);
        EXPECT_EQ(digest(dbPath()), books);
        EXPECT_FALSE(QFile::exists(dbPath() + QStringLiteral("-journal")));
        EXPECT_TRUE(QDir(folder()).entryList({QStringLiteral("*.part")}).isEmpty());
    }
}

// Backups made at once all succeed, each under a name of the second it was made in (never a
// later one), and the backup just made is never the one the retention rule takes.
// A backup tells how far its copy has come, run by run, and stops when told to: nothing of it
// stays, and the day still has no backup.
TEST_F(BackupTest, ABackupTellsHowItGoesAndStopsWhenTold) {
    // Some 3 MB, so that the copy takes several runs of pages.
    db().exec(QStringLiteral(
        "with recursive n(i) as (select 1 union all select i + 1 from n where i < 3000) insert "
        "into units (units) select i || printf('%.1000c', 'x') from n"));
    std::vector<std::pair<int, int>> told;
    const QString made =
        tw::backup::makeNow(QDateTime(QDate(2026, 11, 21), QTime(9, 0)), [&](int pages, int of) {
            told.emplace_back(pages, of);
            return true;
        });
    EXPECT_EQ(tw::backup::check(made), QStringLiteral("ok"));
    ASSERT_GT(told.size(), 3u);
    EXPECT_GT(told.back().second, 700);
    EXPECT_EQ(told.back().first, told.back().second);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));

    const QStringList before = backupNames();
    int asked = 0;
    EXPECT_THROW(tw::backup::makeNow(QDateTime(QDate(2026, 11, 22), QTime(9, 0)),
                                     [&](int, int) { return ++asked < 2; }),
                 tw::backup::Stopped);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(backupNames(), before);
    EXPECT_FALSE(tw::backup::madeOn(QDate(2026, 11, 22)));

    // Every page copied, the copy's check is told as all pages, and a stop there is heard too.
    int whole = 0;
    EXPECT_THROW(tw::backup::makeNow(QDateTime(QDate(2026, 11, 22), QTime(9, 0)),
                                     [&](int pages, int of) { return pages < of || ++whole < 2; }),
                 tw::backup::Stopped);
    EXPECT_EQ(whole, 2);
    EXPECT_EQ(backupNames(), before);
}

TEST_F(BackupTest, BackupsAtOnceAllSucceedUnderTheirOwnSecond) {
    const QDateTime now(QDate(2026, 5, 4), QTime(10, 0));
    std::vector<std::future<QString>> runs;
    for (int i = 0; i < 4; ++i)
        runs.push_back(std::async(std::launch::async, [&] { return tw::backup::makeNow(now); }));
    QSet<QString> made;
    for (auto& r : runs)
        made << r.get();
    for (int i = 0; i < 10; ++i) {
        const QString path = tw::backup::makeNow(now);
        EXPECT_EQ(tw::backup::check(path), QStringLiteral("ok"));
        made << path;
    }
    QSet<QString> named;
    for (int i = 1; i <= 14; ++i)
        named << tw::backup::nameFor(now, i);
    EXPECT_EQ(made, named);
    EXPECT_EQ(tw::backup::list().front().path, tw::backup::nameFor(now, 14));
}

// After a crash midway through a write (a hot journal beside the database), a backup and a
// restore work, on the database as it was at its last commit; a restored backup stays, even the
// oldest the retention rule keeps; and what killed copies left behind is swept away, while a
// copy being written stays.
TEST_F(BackupTest, BackupAndRestoreAfterACrashKeepTheRestoredBackupAndSweepLeftovers) {
    db().conclose();
    QDateTime when(QDate(2026, 6, 1), QTime(8, 0));
    for (int i = 0; i < 10; ++i, when = when.addSecs(60))
        tw::backup::makeNow(when);
    const QString oldest = tw::backup::list().back().path;
    crashMidWrite(dbPath());
    const auto crashRows = [](const QString& file) {
        return runOn(file,
                     {QStringLiteral("select count(*) from units where units like 'crash%'")});
    };
    EXPECT_EQ(tw::backup::restore(oldest, when), tw::backup::nameFor(when));
    EXPECT_EQ(crashRows(tw::backup::nameFor(when)), QStringList{"0"});
    EXPECT_EQ(tw::backup::check(oldest), QStringLiteral("ok"));
    EXPECT_EQ(tw::backup::list().size(), 11u);
    // The program opens such a database too, as it was at its last commit.
    crashMidWrite(dbPath());
    ASSERT_TRUE(reopen());
    EXPECT_EQ(crashRows(dbPath()), QStringList{"0"});

    const QStringList leftovers{backupsDir() + "/Tallywright-2026-06-01-080000.db.part",
                                backupsDir() + "/Tallywright-2026-06-01-080000.db.part-journal",
                                dbPath() + ".restoring.part", dbPath() + ".restoring.part-journal"};
    for (const QString& f : leftovers)
        writeFile(f, "cut short");
    const tw::AtomicFile busy(backupsDir() + QStringLiteral("/Tallywright-busy.db"));
    tw::backup::sweep();
    for (const QString& f : leftovers)
        EXPECT_FALSE(QFile::exists(f)) << f.toStdString();
    EXPECT_TRUE(QFile::exists(busy.path()));
    EXPECT_EQ(tw::backup::list().size(), 11u);
}
