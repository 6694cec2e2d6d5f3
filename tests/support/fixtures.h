#pragma once
// What the tests share: a fresh application folder with its own database for each test, and
// message boxes that answer from a script and remember what they showed.

#include "store/store.h"
#include "ui/kit.h"

#include <QTemporaryDir>
#include <QTreeWidget>
#include <gtest/gtest.h>

#include <deque>
#include <vector>

#include <ostream>

// Readable QStrings in failure messages.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace twtest {

// Replaces the real message box for the whole test run.
void installScriptedMessages();

// What was shown since the last clear, and the answers to give next (after those run out,
// every box answers with its first button: Ok or Yes).
struct Messages {
    std::vector<ui::ShownMessage> shown;
    std::deque<ui::Answer> answers;
    void clear() {
        shown.clear();
        answers.clear();
    }
    // The texts shown, in order.
    std::vector<QString> texts() const;
};
Messages& messages();

// The texts of row `row` of a report list, column by column; empty past the last row.
QStringList rowCells(const QTreeWidget* list, int row);

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
    tw::ConClass con_;
};

} // namespace twtest
