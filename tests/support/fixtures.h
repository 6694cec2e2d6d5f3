#pragma once
// What screen tests share: the core fixtures, message boxes answered from the same script, a
// fixture that opens one screen on the test's database, and the real message box driven by a
// timer for the tests that must go through it.

#include "support/core_fixtures.h"
#include "ui/kit.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QTreeWidget>
#include <QWidget>

#include <functional>
#include <memory>

namespace twtest {

// Replaces the real message box for the whole test run.
void installScriptedMessages();

// The texts of row `row` of a report list, column by column; empty past the last row.
QStringList rowCells(const QTreeWidget* list, int row);

// True when the focus is in w (or in a child of it, as in a combo box's editor).
bool hasFocus(const QWidget* w);

// Picks `text` in a list as a user would: selects it and sends activated().
void pick(QComboBox* list, const QString& text);

// Runs `action` with the real message box: each box that shows is answered by clicking the
// button with the given text in turn ("OK", "Cancel", "&Yes", "&No"), and its text is kept.
// Gives the texts of the boxes shown.
QStringList withRealBoxes(const QStringList& buttons, const std::function<void()>& action);

// Serves the event loop until `done` holds, as a user waiting for work done off the window's
// thread; gives false when it still does not after a minute.
bool waitUntil(const std::function<bool()>& done);

// One screen of class S opened on the test's database (rows put in before it opens are there).
template <class S> class ScreenTest : public AppFolderTest {
protected:
    S& open() {
        screen = std::make_unique<S>();
        screen->setAttribute(Qt::WA_DeleteOnClose, false);
        screen->show();
        return *screen;
    }
    template <class W = QWidget> W* field(const char* name) const {
        auto* w = screen->template findChild<W*>(QString::fromLatin1(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    QLineEdit* edit(const char* name) const { return field<QLineEdit>(name); }
    void click(const char* button) const { field<QAbstractButton>(button)->click(); }
    void TearDown() override {
        screen.reset();
        AppFolderTest::TearDown();
    }
    std::unique_ptr<S> screen;
};

} // namespace twtest
