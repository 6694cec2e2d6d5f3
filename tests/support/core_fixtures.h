#pragma once
// What every test shares, widgets or not: a fresh application folder with its own database for
// each test, and messages that answer from a script and remember what they showed.

#include "store/store.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <deque>
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

// A new, empty application folder with a new database in it; twk.cfg is not written.
class AppFolderTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    QString folder() const { return dir_.path(); }
    tw::ConClass& db() { return con_; }
    // Writes twk.cfg in the folder.
    void writeConfig(const QString& user, const QString& password);

private:
    QTemporaryDir dir_;
    tw::ConClass con_{scripted()};
};

} // namespace twtest
