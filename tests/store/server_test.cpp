// The server store: its address, its logins, and the databases it refuses.

#include "store/history.h"
#include "store/schema.h"
#include "store/store.h"
#include "store/worktables.h"
#include "support/core_fixtures.h"

#include <QProcess>

#include <atomic>
#include <latch>
#include <thread>

#include <unistd.h>

using twtest::AppFolderTest;

namespace {

TEST(ServerAddress, TwkCfgsFirstValueChoosesTheStore) {
    const struct {
        const char* text;
        const char* url; // empty: the local file
        const char* user;
        const char* options;
    } cases[] = {
        {"", "", "", ""},
        {"local", "", "", ""},
        {"localhost", "", "", ""}, // an older installation's server name, never used
        {"db.office/books", "postgresql://db.office:5432/books", "", ""},
        {"postgresql://10.0.0.5:6543/tally", "postgresql://10.0.0.5:6543/tally", "", ""},
        {" postgres://anita:s3cret@db/books?sslmode=require ", "postgresql://db:5432/books",
         "anita", "sslmode=require"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto a = tw::ServerAddress::parse(QString::fromLatin1(c.text));
        ASSERT_EQ(a.has_value(), *c.url != 0);
        if (!a)
            continue;
        EXPECT_EQ(a->url(), QString::fromLatin1(c.url));
        EXPECT_EQ(a->user, QString::fromLatin1(c.user));
        EXPECT_EQ(a->options, QString::fromLatin1(c.options));
    }
    for (const char* bad : {"postgresql://db.office", "postgresql:///books", "db:port/books"}) {
        try {
            tw::ServerAddress::parse(QString::fromLatin1(bad));
            ADD_FAILURE() << bad << " was read";
        } catch (const tw::Error& e) {
            EXPECT_TRUE(e.text().contains(QStringLiteral("postgresql://HOST[:PORT]/DATABASE")))
                << e.text().toStdString();
        }
    }
}

class ServerTest : public AppFolderTest {
protected:
    void SetUp() override {
        if (!onServer())
            GTEST_SKIP() << "needs the test server (TW_TEST_SERVER)";
        AppFolderTest::SetUp();
    }
    // What a connection opened on `address` told the user; empty when it opened.
    static QString refusalOf(const tw::ServerAddress& address) {
        const auto kept = tw::Store::server();
        tw::Store::use(address);
        twtest::messages().clear();
        tw::ConClass con(twtest::scripted());
        con.conopen();
        tw::Store::use(kept);
        const auto said = twtest::messages().texts();
        return con.isOpen() || said.empty() ? QString() : said.front();
    }
};

// The server decides who logs in; its refusals are told apart where it says which.
TEST_F(ServerTest, LoginsAreTheServersRoles) {
    const QString clerk = QStringLiteral("tw_clerk_%1").arg(::getpid());
    const QString barred = QStringLiteral("tw_barred_%1").arg(::getpid());
    twtest::asSuperuser(QStringLiteral("create role %1 login password 'Right one'").arg(clerk));
    twtest::asSuperuser(QStringLiteral("create role %1 nologin password 'x'").arg(barred));
    const tw::ServerAddress books = *tw::Store::server();
    tw::ServerAddress nowhere = books;
    nowhere.port = 1;
    tw::ServerAddress missing = books;
    missing.database = QStringLiteral("no_such_books");
    using tw::server::Refusal;
    const struct {
        const tw::ServerAddress& at;
        QString user;
        const char* password;
        Refusal refusal;
        const char* says;
    } cases[] = {
        {books, clerk, "Right one", Refusal::None, ""},
        {books, clerk, "right one", Refusal::Password, "password authentication failed"},
        {books, QStringLiteral("tw_nobody"), "x", Refusal::Password, "password"},
        {books, barred, "x", Refusal::UserName, "not permitted to log in"},
        {nowhere, clerk, "Right one", Refusal::Unreachable, "The server 127.0.0.1:1 cannot be"},
        {missing, clerk, "Right one", Refusal::Other, "database no_such_books on server"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        const auto r = tw::server::login(c.at, c.user, QString::fromLatin1(c.password));
        EXPECT_EQ(r.refusal, c.refusal) << r.text.toStdString();
        EXPECT_TRUE(r.text.contains(QString::fromLatin1(c.says))) << r.text.toStdString();
    }
    // A seat that logged in works as the books' owner: what it makes is every seat's.
    twtest::asSuperuser(QStringLiteral("alter database %1 owner to %2").arg(books.database, clerk));
    twtest::asSuperuser(
        QStringLiteral("create role %1_b login password 'b' in role %2").arg(clerk, clerk));
    tw::ServerAddress seat = books;
    seat.user = clerk + QStringLiteral("_b");
    seat.password = QStringLiteral("b");
    tw::Store::use(seat);
    {
        tw::ConClass con(twtest::scripted());
        con.conopen();
        ASSERT_TRUE(con.isOpen());
        EXPECT_EQ(con.first(QStringLiteral("select current_user"))->text(0), clerk);
        EXPECT_EQ(con.first(QStringLiteral("select session_user"))->text(0), seat.user);
    }
    tw::Store::use(books);
    db().conclose();
    twtest::dropDatabase(books);
    for (const QString& role : {clerk + QStringLiteral("_b"), clerk, barred})
        twtest::asSuperuser(QStringLiteral("drop role %1").arg(role));
}

// Every change to the books is recorded with the server's role and the computer, by the
// program and by psql alike, even for a role that may not touch the history; nobody changes the
// record, its owner included.
TEST_F(ServerTest, EveryChangeIsRecordedWithTheRoleAndTheRecordStandsAsWritten) {
    const tw::ServerAddress books = *tw::Store::server();
    db().insert(QStringLiteral("payment_rec"),
                {{QStringLiteral("tw_contract_num"), QStringLiteral("P-1")},
                 {QStringLiteral("tw_bill_num"), QStringLiteral("1")},
                 {QStringLiteral("tw_netamt"), 1500.25}});
    auto h = tw::history::read(db());
    ASSERT_EQ(h.size(), 1U);
    EXPECT_EQ(std::tuple(h[0].who, h[0].computer, h[0].action, h[0].project, h[0].bill),
              std::tuple(books.user, tw::history::computer(), QStringLiteral("added"),
                         QStringLiteral("P-1"), QStringLiteral("1")));
    EXPECT_TRUE(h[0].after.startsWith(QStringLiteral("[\"P-1\", \"1\", null, null, 1500.25,")))
        << h[0].after.toStdString();
    const QString plain = QStringLiteral("tw_plain_%1").arg(::getpid());
    twtest::asSuperuser(QStringLiteral("create role %1 login password 'p'").arg(plain));
    twtest::asSuperuser(QStringLiteral("grant select, update on payment_rec to %1; grant select, "
                                       "insert on history to %1")
                            .arg(plain),
                        books.database);
    const auto psql = [&](const QString& user, const QString& sql) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("PGPASSWORD"),
                   user == plain ? QStringLiteral("p") : books.password);
        p.setProcessEnvironment(env);
        p.start(QStringLiteral("psql"),
                {QStringLiteral("-X"), QStringLiteral("-v"), QStringLiteral("ON_ERROR_STOP=1"),
                 QStringLiteral("-h"), books.host, QStringLiteral("-p"),
                 QString::number(books.port), QStringLiteral("-U"), user, QStringLiteral("-d"),
                 books.database, QStringLiteral("-c"), sql});
        EXPECT_TRUE(p.waitForFinished());
        return std::pair{p.exitCode(), QString::fromUtf8(p.readAllStandardError())};
    };
    EXPECT_EQ(psql(plain, QStringLiteral("update payment_rec set tw_netamt = 1499.75")).first, 0);
    h = tw::history::read(db());
    ASSERT_EQ(h.size(), 2U);
    EXPECT_EQ(std::tuple(h[0].who, h[0].computer, h[0].action),
              std::tuple(plain, QStringLiteral("psql"), QStringLiteral("changed")));
    EXPECT_TRUE(h[0].before.contains(QStringLiteral(", 1500.25,")));
    EXPECT_TRUE(h[0].after.contains(QStringLiteral(", 1499.75,")));
    for (const QString& user : {plain, books.user})
        for (const char* sql :
             {"delete from history", "update history set tw_who = 'x'", "truncate history"}) {
            const auto [code, said] = psql(user, QString::fromLatin1(sql));
            EXPECT_NE(code, 0) << sql;
            EXPECT_TRUE(said.contains(QStringLiteral("kept as written")) ||
                        (user == plain && said.contains(QStringLiteral("permission denied"))))
                << said.toStdString();
        }
    EXPECT_EQ(tw::history::read(db()).size(), 2U);
    db().conclose();
    twtest::dropDatabase(books);
    twtest::asSuperuser(QStringLiteral("drop role %1").arg(plain));
}

// A database from elsewhere is taken only when its objects are exactly the program's.
TEST_F(ServerTest, DatabasesWhoseObjectsAreNotExactlyTheProgramsAreRefused) {
    const struct {
        const char* change;
        const char* says;
    } cases[] = {
        {"create table notes (x int)", "it holds a table notes"},
        {"create view v as select 1 as x", "it holds a view v"},
        {"create index on billmaster (tw_bill_num)",
         "it holds an index billmaster_tw_bill_num_idx"},
        {"create function f() returns int language sql as 'select 1'", "it holds a function f"},
        {"create or replace function history_kept() returns trigger language plpgsql security "
         "definer as 'begin return null; end'",
         "its function history_kept is not as Tallywright makes it"},
        {"create trigger history_units after insert on units for each row execute function "
         "history_record('', '', '', 'units')",
         "its trigger history_units is not as Tallywright makes it"},
        {"drop index tw_billmaster_bill; create unique index tw_billmaster_bill on billmaster "
         "(tw_contract_num, tw_bill_num)",
         "it holds an index tw_billmaster_bill"},
        {"drop index tw_billmaster_bill; create index tw_billmaster_bill on billmaster "
         "(tw_bill_num, tw_contract_num)",
         "it holds an index tw_billmaster_bill"},
        {"alter table units add column extra text", "its table units is not as Tallywright"},
        {"alter table payment_rec alter tw_netamt set default 0", "its table payment_rec is not"},
        {"drop table costitems", "it has no table costitems"},
        {"comment on table contractmaster is 'Tallywright format 99'", "newer version"},
        {"", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.change);
        const tw::ServerAddress other = twtest::newServerDatabase();
        if (*c.change)
            twtest::asSuperuser(QString::fromLatin1(c.change), other.database);
        const QString said = refusalOf(other);
        EXPECT_TRUE(said.contains(QString::fromLatin1(c.says))) << said.toStdString();
        EXPECT_EQ(said.contains(other.database), *c.says != 0) << said.toStdString();
        twtest::dropDatabase(other);
    }
    // A database made before the program kept its indexes gets them on opening.
    const tw::ServerAddress older = twtest::newServerDatabase();
    twtest::asSuperuser(QStringLiteral("drop index tw_billmaster_bill"), older.database);
    EXPECT_EQ(refusalOf(older), QString());
    EXPECT_NO_THROW(
        twtest::asSuperuser(QStringLiteral("drop index tw_billmaster_bill"), older.database));
    twtest::dropDatabase(older);
    // An empty database gets every table; one holding anything else is not taken for empty.
    const tw::ServerAddress empty = twtest::newServerDatabase(true);
    twtest::asSuperuser(QStringLiteral("create sequence stray"), empty.database);
    EXPECT_TRUE(refusalOf(empty).contains(QStringLiteral("it holds a sequence stray")));
    twtest::dropDatabase(empty);
}

// Two seats that wait on each other: the server gives one of them up, and that one's action is
// run again from its start and then done, so both end well.
TEST_F(ServerTest, AnActionTheServerGaveUpForAnotherIsRunAgain) {
    for (const char* label : {"Bag", "Nos"})
        db().insert(QStringLiteral("unitlbls"), {{QStringLiteral("tw_unit_lbl"), label}});
    std::latch bothHoldOne(2);
    std::atomic<int> runs{0};
    std::atomic<int> failed{0};
    const auto seat = [&](const char* first, const char* second) {
        tw::ConsoleMessenger out;
        tw::ConClass con(out);
        con.conopen();
        bool waited = false;
        try {
            tw::asOneAction(con, [&] {
                tw::Transaction tx(con);
                ++runs;
                const QString touch = QStringLiteral(
                    "update unitlbls set tw_unit_lbl=tw_unit_lbl where tw_unit_lbl=?");
                con.exec(touch, {QString::fromLatin1(first)});
                if (!waited) {
                    waited = true;
                    bothHoldOne.arrive_and_wait();
                }
                con.exec(touch, {QString::fromLatin1(second)});
                tx.commit();
            });
        } catch (const tw::Error& e) {
            ADD_FAILURE() << e.text().toStdString();
            ++failed;
        }
    };
    std::thread one(seat, "Bag", "Nos");
    std::thread two(seat, "Nos", "Bag");
    one.join();
    two.join();
    EXPECT_EQ(failed, 0);
    EXPECT_GT(runs, 2); // one at least was given up and run again
}

} // namespace
