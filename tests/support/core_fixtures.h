#pragma once
// What every test shares, widgets or not: a fresh application folder with its own database for
// each test, and messages that answer from a script and remember what they showed.

#include "store/store.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <ostream>
#include <vector>

// Readable QStrings in failure messages.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace twtest {

// What was shown since the last clear, and the answers to give next (after those run out,
// every message answers with its first button: Ok or Yes).
struct Messages {
    std::vector<tw::Message> shown;
    std::deque<tw::Answer> answers;
    void clear() {
        shown.clear();
        answers.clear();
    }
    // The texts shown, in order.
    std::vector<QString> texts() const;
    // Records m and gives the next scripted answer.
    tw::Answer answer(const tw::Message& m);
};
Messages& messages();

// A messenger for core code under test: records into messages() and answers from its script.
tw::Messenger& scripted();

// The server the core suites run against, when TW_TEST_SERVER names one: its address (a
// superuser's, to make and drop databases), or a file holding it as scripts/pg-cluster.sh
// writes it. nullopt: the suites run on the local file.
const std::optional<tw::ServerAddress>& testServer();
// A new database on the test server, made from the program's tables and seed rows (empty when
// `empty`), and its address; dropped by dropDatabase or at the end of the run.
tw::ServerAddress newServerDatabase(bool empty = false);
void dropDatabase(const tw::ServerAddress& database);
// Runs one statement as the test server's superuser on `database` (its own maintenance
// database when empty).
void asSuperuser(const QString& sql, const QString& database = {});
// Drops what the run made on the test server. main() calls it after the tests.
void finishServer();

// A new, empty application folder with a new database in it, on the test server when there is
// one; twk.cfg is not written.
class AppFolderTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    QString folder() const { return dir_.path(); }
    // Whether this test runs on the test server.
    static bool onServer() { return testServer().has_value(); }
    // Who the history names for this test's own writes: the server's role, or the login.
    static QString writer();
    tw::ConClass& db() { return con_; }
    // Writes twk.cfg in the folder.
    void writeConfig(const QString& user, const QString& password);

private:
    QTemporaryDir dir_;
    tw::ConClass con_{scripted()};
    std::optional<tw::ServerAddress> database_;
};

} // namespace twtest
