#include "core_fixtures.h"

#include "store/history.h"
#include "store/schema.h"
#include "store/server.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <unistd.h>

namespace twtest {

Messages& messages() {
    static Messages m;
    return m;
}

std::vector<QString> Messages::texts() const {
    std::vector<QString> out;
    for (const auto& m : shown)
        out.push_back(m.text);
    return out;
}

tw::Answer Messages::answer(const tw::Message& m) {
    shown.push_back(m);
    if (!answers.empty()) {
        const tw::Answer a = answers.front();
        answers.pop_front();
        return a;
    }
    return tw::buttonsOf(m.flags) == tw::YesNo ? tw::Answer::Yes : tw::Answer::Ok;
}

namespace {
class Scripted : public tw::Messenger {
protected:
    tw::Answer show(const tw::Message& m) override { return messages().answer(m); }
};
} // namespace

tw::Messenger& scripted() {
    static Scripted s;
    return s;
}

const std::optional<tw::ServerAddress>& testServer() {
    static const std::optional<tw::ServerAddress> server = [] {
        QString named = qEnvironmentVariable("TW_TEST_SERVER").trimmed();
        if (QFile f(named); !named.isEmpty() && f.open(QIODevice::ReadOnly))
            named = QString::fromUtf8(f.readAll()).trimmed();
        return tw::ServerAddress::parse(named);
    }();
    return server;
}

namespace {
struct Made {
    std::optional<tw::ServerAddress> pattern; // the database every test's is copied from
    QStringList databases;                    // made and not yet dropped
};
Made& made() {
    static Made m;
    return m;
}

QString uniqueName(const char* kind) {
    static int counter = 0;
    return QStringLiteral("tw_%1_%2_%3").arg(QLatin1String(kind)).arg(::getpid()).arg(++counter);
}
} // namespace

void asSuperuser(const QString& sql, const QString& database) {
    const QString name = QStringLiteral("tw-test-superuser");
    {
        QSqlDatabase db = QSqlDatabase::contains(name)
                              ? QSqlDatabase::database(name, false)
                              : QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        tw::ServerAddress a = *testServer();
        if (!database.isEmpty())
            a.database = database;
        if (db.isOpen() && db.databaseName() != a.database)
            db.close();
        if (!db.isOpen())
            tw::server::open(db, a);
        QSqlQuery q(db);
        if (!q.exec(sql))
            throw tw::Error(q.lastError().text() + QStringLiteral("\n") + sql);
    }
}

tw::ServerAddress newServerDatabase(bool empty) {
    Made& m = made();
    tw::ServerAddress a = *testServer();
    if (!empty && !m.pattern) {
        // The tables and seed rows are made once a run, then copied for each test.
        tw::ServerAddress pattern = newServerDatabase(true);
        const auto kept = tw::Store::server();
        tw::Store::use(pattern);
        {
            tw::ConClass con(scripted());
            con.conopen();
            if (!con.isOpen()) {
                const auto said = messages().texts();
                throw tw::Error(
                    QStringLiteral("The test server's pattern database was not made: ") +
                    QStringList(said.begin(), said.end()).join(u'\n'));
            }
        }
        tw::Store::use(kept);
        m.pattern = pattern;
    }
    a.database = uniqueName(empty ? "empty" : "test");
    // The C locale folds ASCII letters only, as the local file does.
    asSuperuser(empty ? QStringLiteral("create database %1 template template0 encoding 'UTF8' "
                                       "locale 'C'")
                            .arg(a.database)
                      : QStringLiteral("create database %1 template %2")
                            .arg(a.database, m.pattern->database));
    m.databases << a.database;
    return a;
}

void dropDatabase(const tw::ServerAddress& database) {
    asSuperuser(QStringLiteral("drop database if exists %1 with (force)").arg(database.database));
    made().databases.removeAll(database.database);
}

void finishServer() {
    if (!testServer())
        return;
    Made& m = made();
    if (m.pattern)
        m.databases << m.pattern->database;
    m.pattern.reset();
    for (const QString& name : QStringList(m.databases))
        dropDatabase(tw::ServerAddress{QString(), 0, name, {}, {}, {}});
    QSqlDatabase::removeDatabase(QStringLiteral("tw-test-superuser"));
}

QString AppFolderTest::writer() {
    return onServer() ? tw::Store::server()->user : tw::history::user();
}

void AppFolderTest::SetUp() {
    ASSERT_TRUE(dir_.isValid());
    tw::AppFolder::set(dir_.path());
    messages().clear();
    if (testServer()) {
        database_ = newServerDatabase();
        tw::Store::use(database_);
    }
    con_.conopen();
    ASSERT_TRUE(con_.isOpen()) << (messages().shown.empty()
                                       ? std::string()
                                       : messages().shown[0].text.toStdString());
}

void AppFolderTest::TearDown() {
    con_.conclose();
    if (database_) {
        dropDatabase(*database_);
        database_.reset();
    }
    tw::Store::use(std::nullopt);
}

void AppFolderTest::writeConfig(const QString& user, const QString& password) {
    tw::writeLoginConfig(dir_.filePath(QStringLiteral("twk.cfg")),
                         {QStringLiteral("localhost"), user, password});
}

} // namespace twtest
