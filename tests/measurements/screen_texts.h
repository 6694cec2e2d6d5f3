#pragma once
// Reading a screen's controls by name in one go, so that a test states what the user sees as
// one list of texts; list columns and clicks on list rows.

#include "support/fixtures.h"

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <QTreeWidget>

#include <initializer_list>

namespace meastest {

// The text shown by each named control: a field's text, a list's current text, a caption.
inline QStringList texts(const QWidget& screen, std::initializer_list<const char*> names) {
    QStringList out;
    for (const char* name : names) {
        const auto* c = screen.findChild<const QWidget*>(QString::fromLatin1(name));
        if (const auto* edit = qobject_cast<const QLineEdit*>(c))
            out << edit->text();
        else if (const auto* list = qobject_cast<const QComboBox*>(c))
            out << list->currentText();
        else if (const auto* label = qobject_cast<const QLabel*>(c))
            out << label->text();
        else if (const auto* box = qobject_cast<const QPlainTextEdit*>(c))
            out << box->toPlainText();
        else
            out << QStringLiteral("(no control %1)").arg(QString::fromLatin1(name));
    }
    return out;
}

// The messages shown since the last clear, each as "title: text".
inline QStringList shown() {
    QStringList out;
    for (const auto& m : twtest::messages().shown)
        out << m.title + QStringLiteral(": ") + m.text;
    return out;
}

// The items a list offers, in order.
inline QStringList items(const QComboBox* list) {
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out << list->itemText(i);
    return out;
}

// Every column of a list but the last (which takes the rest of the width) shows its heading
// and its widest cell whole.
inline void expectColumnsFit(const QTreeWidget* list) {
    const QAbstractItemView* view = list; // where the width of the widest cell is public
    for (int c = 0; c + 1 < list->columnCount(); ++c) {
        SCOPED_TRACE(list->headerItem()->text(c).toStdString());
        EXPECT_GE(list->columnWidth(c), list->header()->sectionSizeHint(c));
        EXPECT_GE(list->columnWidth(c), view->sizeHintForColumn(c));
    }
}

// A click on row `row` of a list, as the user gives it.
inline void clickRow(QTreeWidget* list, int row) {
    const QTreeWidgetItem* item = list->topLevelItem(row);
    ASSERT_NE(item, nullptr) << list->objectName().toStdString() << " " << row;
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(item).center());
}

// Presses Down in a bill list once for each step, a real key to the focused control, and checks
// after each press the bill shown, the number of lines listed for it and that the focus stayed.
inline void expectDownWalks(QComboBox* bills, const QTreeWidget* lines,
                            std::initializer_list<std::pair<const char*, int>> steps) {
    bills->setFocus(Qt::TabFocusReason);
    for (const auto& [bill, count] : steps) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
        EXPECT_EQ(bills->currentText(), bill);
        EXPECT_EQ(lines->topLevelItemCount(), count) << bill;
        EXPECT_TRUE(twtest::hasFocus(bills)) << bill;
    }
}

} // namespace meastest
