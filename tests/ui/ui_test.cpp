#include "support/fixtures.h"
#include "ui/kit.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QClipboard>
#include <QFontDatabase>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QStyle>
#include <QTest>
#include <QTimer>

using twtest::messages;

namespace {
// What the real message boxes showed: title, icon, text; and the width the last one took.
struct BoxSpy : QObject {
    QStringList seen;
    int width = 0;
    BoxSpy() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* o, QEvent* e) override {
        if (auto* b = qobject_cast<QMessageBox*>(o); b && e->type() == QEvent::Show)
            seen << b->windowTitle() + u'|' + QString::number(b->icon()) + u'|' + b->text();
        if (qobject_cast<QMessageBox*>(o) && e->type() == QEvent::Resize)
            width = static_cast<QResizeEvent*>(e)->size().width();
        return false;
    }
};

// Text offered to `field` by one way of pasting; gives the field's text afterwards.
QString pasted(QLineEdit& field, const QString& text, const char* how) {
    QGuiApplication::clipboard()->setText(text);
    const std::string way = how;
    if (way == "ctrl+v") {
        QTest::keyClick(&field, Qt::Key_V, Qt::ControlModifier);
    } else if (way == "shift+insert") {
        QTest::keyClick(&field, Qt::Key_Insert, Qt::ShiftModifier);
    } else if (way == "menu") {
        QTimer::singleShot(0, [] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_TRUE(menu);
            for (QAction* a : menu->actions())
                if (a->text().startsWith(QStringLiteral("&Paste")))
                    a->trigger();
            menu->close();
        });
        QContextMenuEvent ev(QContextMenuEvent::Mouse, QPoint(2, 2),
                             field.mapToGlobal(QPoint(2, 2)));
        QApplication::sendEvent(&field, &ev);
    } else {
        QMimeData mime;
        mime.setText(text);
        const QPoint at(field.width() - 2, 2);
        QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, {});
        QDropEvent drop(at, Qt::CopyAction, &mime, Qt::LeftButton, {});
        QApplication::sendEvent(&field, &enter);
        QApplication::sendEvent(&field, &drop);
    }
    return field.text();
}
} // namespace

TEST(KeyRules, TypedOrPastedAFieldTakesOnlyWhatItsRulesLetThrough) {
    QLineEdit digits, decimal, chars, rate;
    ui::digitsRule(&digits);
    ui::decimalRule(&decimal);
    ui::charsRule(&chars, QStringLiteral("-_"), true, false);
    // Two rules on one field, the second a screen's own: a rate of three characters at most.
    ui::decimalRule(&rate);
    new ui::KeyRule(&rate, [](QChar c, const QLineEdit& f) {
        return c == u'\b' || f.text().size() - f.selectedText().size() < 3;
    });
    const struct {
        QLineEdit* field;
        const char *typed, *afterTyping, *paste;
        bool taken;
    } cases[] = {
        {&digits, "12a.3-4 5", "12345", "12ab", false}, {&digits, "7", "7", "89", true},
        {&decimal, "12.5.6", "12.56", "1.5", false}, // a second point
        {&decimal, "-1,5e2", "152", ".25", true},       {&chars, "ab-_9 Z!", "ab-_Z", "x y", false},
        {&rate, "9..55", "9.5", "12.5", false},         {&rate, "", "", "2.5", true},
    };
    for (const char* how : {"ctrl+v", "shift+insert", "menu", "drop"}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(how) + " " + c.typed + " " + c.paste);
            c.field->show();
            c.field->clear();
            QTest::keyClicks(c.field, QString::fromLatin1(c.typed));
            const QString was = c.field->text();
            EXPECT_EQ(was, QString::fromLatin1(c.afterTyping));
            const QString paste = QString::fromLatin1(c.paste);
            EXPECT_EQ(pasted(*c.field, paste, how), c.taken ? was + paste : was);
        }
    }
    // A point typed over a selection that holds the first point is not a second point.
    decimal.setText(QStringLiteral("12.5"));
    decimal.selectAll();
    QTest::keyClicks(&decimal, QStringLiteral("."));
    EXPECT_EQ(decimal.text(), QStringLiteral("."));
    QTest::keyClick(&decimal, Qt::Key_Backspace); // backspace always works
    EXPECT_EQ(decimal.text(), QString());
}

TEST(KeyRules, ALengthLimitHoldsTypingNotTextTheProgramPutsIn) {
    QLineEdit name;
    ui::typingLimit(&name, 5);
    name.show();
    const QString stored(60, u'x');
    name.setText(stored); // a stored name longer than the limit is shown whole
    EXPECT_EQ(name.text(), stored);
    name.end(false);
    QTest::keyClicks(&name, QStringLiteral("y"));
    EXPECT_EQ(name.text(), stored);
    name.clear();
    QTest::keyClicks(&name, QStringLiteral("abcdefg"));
    EXPECT_EQ(name.text(), QStringLiteral("abcde"));
    for (const char* how : {"ctrl+v", "menu", "drop"}) {
        SCOPED_TRACE(how);
        name.setText(QStringLiteral("ab"));
        name.end(false);
        // A paste is cut to the room left; a dropped text that does not fit is refused.
        EXPECT_EQ(pasted(name, QStringLiteral("12345"), how),
                  std::string(how) == "drop" ? QStringLiteral("ab") : QStringLiteral("ab123"));
    }
}

TEST(DateEdit, TypedDatesAreTakenWholeOrRefused) {
    QWidget form;
    auto* date = new ui::DateEdit(&form);
    auto* next = new QLineEdit(&form);
    form.show();
    QApplication::setActiveWindow(&form);
    const struct {
        const char *before, *typed, *after; // one blank: empty
    } cases[] = {
        {" ", "15032024", "15-03-2024"},
        {" ", "15-03-2024", "15-03-2024"},
        {" ", "5-3-2024", "05-03-2024"},
        {"10-01-2024", "29022024", "29-02-2024"},
        {" ", "31022024", " "},
        {"10-01-2024", "31022024", "10-01-2024"},
        {"10-01-2024", "1503", "10-01-2024"},
        {"10-01-2024", "32ab1/3", "10-01-2024"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        date->setValueText(QString::fromLatin1(c.before));
        date->setFocus(Qt::TabFocusReason); // entering by Tab selects the whole date
        QTest::keyClicks(date, QString::fromLatin1(c.typed));
        QTest::keyClick(date, Qt::Key_Tab);
        EXPECT_EQ(date->valueText(), QString::fromLatin1(c.after));
        EXPECT_TRUE(next->hasFocus());
    }
    // Delete empties a date; one Tab then leaves the empty field.
    date->setValue(QDate(2024, 3, 15));
    date->setFocus(Qt::TabFocusReason);
    QTest::keyClick(date, Qt::Key_Delete);
    QTest::keyClick(date, Qt::Key_Tab);
    EXPECT_FALSE(date->value().isValid());
    EXPECT_TRUE(next->hasFocus());
    date->showCalendar(); // or a day picked in the calendar
    auto* calendar = form.findChild<QCalendarWidget*>();
    ASSERT_TRUE(calendar);
    emit calendar->activated(QDate(2024, 6, 1));
    EXPECT_EQ(date->valueText(), QStringLiteral("01-06-2024"));
}

TEST(MessageBoxes, TheRealBoxAnswersWithTheButtonClicked) {
    const struct {
        int flags;
        const char *title, *click;
        ui::Answer answer;
        const char* shown; // title|icon|text
    } cases[] = {
        {ui::Ok, "", "OK", ui::Answer::Ok, "Tallywright|0|m"},
        {ui::OkCancel | ui::Question, "Delete", "OK", ui::Answer::Ok, "Delete|4|m"},
        {ui::OkCancel | ui::Exclamation, "", "Cancel", ui::Answer::Cancel, "Tallywright|2|m"},
        {ui::YesNo | ui::Critical, "", "&Yes", ui::Answer::Yes, "Tallywright|3|m"},
        {ui::YesNo | ui::Information, "Freeze", "&No", ui::Answer::No, "Freeze|1|m"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shown);
        BoxSpy spy;
        ui::Answer answer{};
        twtest::withRealBoxes({QString::fromLatin1(c.click)}, [&] {
            answer = ui::MsgBox(QStringLiteral("m"), c.flags, QString::fromLatin1(c.title));
        });
        EXPECT_EQ(answer, c.answer);
        EXPECT_EQ(spy.seen, QStringList{QString::fromLatin1(c.shown)});
    }
}

// The title bar holds the window's icon and up to three buttons beside the title, which window
// managers draw in bold.
TEST(MessageBoxes, TheBoxIsWideEnoughForItsWholeTitle) {
    QFont bold = QFontDatabase::systemFont(QFontDatabase::TitleFont);
    bold.setBold(true);
    const int bar = QApplication::style()->pixelMetric(QStyle::PM_TitleBarHeight);
    for (const auto& [text, title] :
         {std::pair{"Please Select a Contract Number...!", "Select Contract Number"},
          {"3 Schedules Added Successfully.\n0 schedule items need checking",
           "New Schedules Added"}}) {
        SCOPED_TRACE(title);
        BoxSpy spy;
        twtest::withRealBoxes({"OK"}, [&] {
            ui::MsgBox(QString::fromLatin1(text), ui::Ok, QString::fromLatin1(title));
        });
        EXPECT_GE(spy.width,
                  QFontMetrics(bold).horizontalAdvance(QString::fromLatin1(title)) + 4 * bar);
    }
}

// Enter on a question whose second button is its default answers No; on any other, Yes.
TEST(MessageBoxes, EnterTakesTheDefaultButton) {
    for (const auto& [flags, expected] :
         {std::pair{int(ui::YesNo), ui::Answer::Yes},
          std::pair{ui::YesNo | ui::Question | ui::DefaultButton2, ui::Answer::No}}) {
        ui::setMessageHandler({});
        QTimer enter;
        QObject::connect(&enter, &QTimer::timeout, [] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
                QTest::keyClick(box, Qt::Key_Return);
        });
        enter.start(10);
        EXPECT_EQ(ui::MsgBox(QStringLiteral("Do you want to Exit without any Data ? "), flags),
                  expected);
        twtest::installScriptedMessages();
    }
}

TEST(SelectAll, EnteringAFieldSelectsItsText) {
    QWidget w;
    auto* a = new QLineEdit(QStringLiteral("first"), &w);
    auto* keep = new QLineEdit(QStringLiteral("kept"), &w);
    ui::selectAllOnFocusBelow(&w, {keep});
    w.show();
    QApplication::setActiveWindow(&w);
    a->setFocus();
    keep->setFocus();
    QCoreApplication::processEvents();
    EXPECT_EQ(a->selectedText(), QStringLiteral("first"));
    EXPECT_TRUE(keep->selectedText().isEmpty());
}

TEST(ListView, ColumnsWidenToTheirContents) {
    QTreeWidget list;
    ui::setupListView(&list,
                      {QStringLiteral("No"), QStringLiteral("Narration"), QStringLiteral("Qty")});
    const QString longest = QStringLiteral("Brickwork in cement mortar 1:6 in superstructure");
    ui::addListRow(&list, {QStringLiteral("1"), longest, QStringLiteral("12.50")});
    list.show();
    QCoreApplication::processEvents();
    EXPECT_GT(list.columnWidth(1), list.fontMetrics().horizontalAdvance(longest));
}
