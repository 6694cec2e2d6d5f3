#include "support/fixtures.h"
#include "ui/kit.h"

#include <QLineEdit>
#include <QTest>

using twtest::messages;

namespace {
QString typed(QLineEdit& f, const QString& keys) {
    f.clear();
    QTest::keyClicks(&f, keys);
    return f.text();
}
} // namespace

TEST(KeyRules, EachKindOfFieldLetsThroughOnlyItsKeys) {
    QLineEdit digits, decimal, loose, chars;
    ui::digitsRule(&digits);
    ui::decimalRule(&decimal);
    ui::decimalRule(&loose, false);
    ui::charsRule(&chars, QStringLiteral("-_"), true, false);
    const struct {
        QLineEdit* field;
        const char* keys;
        const char* result;
    } cases[] = {
        {&digits, "12a.3-4 5", "12345"}, {&decimal, "12.5.6", "12.56"}, {&decimal, "-1,5e2", "152"},
        {&loose, "1.2.3", "1.2.3"},      {&chars, "ab-_9 Z!", "ab-_Z"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(typed(*c.field, QString::fromLatin1(c.keys)), QString::fromLatin1(c.result))
            << c.keys;
    // A point typed over a selection that holds the old point is not a second point.
    decimal.setText(QStringLiteral("12.5"));
    decimal.selectAll();
    QTest::keyClicks(&decimal, QStringLiteral("."));
    EXPECT_EQ(decimal.text(), QStringLiteral("."));
    // Backspace always works in these fields.
    digits.setText(QStringLiteral("123"));
    digits.end(false);
    QTest::keyClick(&digits, Qt::Key_Backspace);
    EXPECT_EQ(digits.text(), QStringLiteral("12"));
}

TEST(DateEdit, HoldsADateOrNothing) {
    ui::DateEdit d;
    d.setValueText(QStringLiteral("05-03-2024"));
    EXPECT_FALSE(d.isEmpty());
    EXPECT_EQ(d.valueText(), QStringLiteral("05-03-2024"));
    EXPECT_EQ(d.value(), QDate(2024, 3, 5));
    d.setValueText(QStringLiteral(" "));
    EXPECT_TRUE(d.isEmpty());
    EXPECT_EQ(d.valueText(), QStringLiteral(" "));
    EXPECT_FALSE(d.value().isValid());
    d.setValue(QDate(2023, 12, 31));
    d.show();
    d.setFocus();
    d.selectAll();
    QTest::keyClick(&d, Qt::Key_Delete);
    EXPECT_TRUE(d.isEmpty());
}

TEST(MessageBoxes, DefaultTitleAndTheErrorBoundary) {
    messages().clear();
    ui::MsgBox(QStringLiteral("Saved"));
    ui::MsgBox(QStringLiteral("Sure?"), ui::YesNo | ui::Question, QStringLiteral("Delete"));
    ASSERT_EQ(messages().shown.size(), 2u);
    EXPECT_EQ(messages().shown[0].title, QStringLiteral("Tallywright"));
    EXPECT_EQ(messages().shown[1].title, QStringLiteral("Delete"));

    messages().clear();
    bool after = false;
    EXPECT_FALSE(ui::guard([] { throw tw::Error(QStringLiteral("disk I/O error")); }));
    EXPECT_TRUE(ui::guard([&] { after = true; }));
    EXPECT_TRUE(after);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, QStringLiteral("disk I/O error"));
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);

    // A slot wrapped by guarded() swallows the failure after showing it.
    messages().clear();
    auto slot = ui::guarded([] { throw std::runtime_error("bad"); });
    slot(true);
    EXPECT_EQ(messages().texts(), std::vector<QString>{QStringLiteral("bad")});
}

TEST(SelectAll, EnteringAFieldSelectsItsText) {
    QWidget w;
    auto* a = new QLineEdit(QStringLiteral("first"), &w);
    auto* b = new QLineEdit(QStringLiteral("second"), &w);
    auto* keep = new QLineEdit(QStringLiteral("kept"), &w);
    ui::selectAllOnFocusBelow(&w, {keep});
    w.show();
    QApplication::setActiveWindow(&w);
    a->setFocus();
    b->setFocus();
    keep->setFocus();
    QCoreApplication::processEvents();
    EXPECT_EQ(a->selectedText(), QStringLiteral("first"));
    EXPECT_EQ(b->selectedText(), QStringLiteral("second"));
    EXPECT_TRUE(keep->selectedText().isEmpty());
}
