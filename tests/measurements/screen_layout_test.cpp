// What both measurement screens owe a user on a small display: every field and button in view
// at full size, list columns no narrower than their headings, and no access key on two buttons.

#include "measurements/frm_dims.h"
#include "measurements/frm_reinforcement.h"

#include "screen_texts.h"

#include <QAbstractButton>
#include <QSet>

namespace {

// The room a child screen has on a 1366x768 display: the frame maximised above a task bar of
// 40, less the frame's title and menu bar (about 55) and the child's title bar and borders
// (about 45).
const QSize kRoom(1340, 620);

template <class S> class ScreenLayoutTest : public twtest::ScreenTest<S> {};
using Screens = ::testing::Types<frm_dims, Frm_Reinforcement>;
TYPED_TEST_SUITE(ScreenLayoutTest, Screens);

TYPED_TEST(ScreenLayoutTest, FitsASmallDisplayWithEverythingInView) {
    auto& s = this->open();
    EXPECT_LE(s.width(), kRoom.width());
    EXPECT_LE(s.height(), kRoom.height());
    for (QWidget* w : s.template findChildren<QWidget*>()) {
        const bool control =
            qobject_cast<QAbstractButton*>(w) || qobject_cast<QComboBox*>(w) ||
            qobject_cast<QTreeWidget*>(w) || qobject_cast<QPlainTextEdit*>(w) ||
            (qobject_cast<QLineEdit*>(w) && !qobject_cast<QComboBox*>(w->parent()));
        if (!control || !w->isVisibleTo(&s))
            continue;
        SCOPED_TRACE(w->objectName().toStdString());
        EXPECT_TRUE(s.rect().contains(QRect(w->mapTo(&s, QPoint()), w->size())));
        EXPECT_GE(w->width(), w->minimumSizeHint().width());
        EXPECT_GE(w->height(), w->minimumSizeHint().height());
    }
    for (const QTreeWidget* list : s.template findChildren<QTreeWidget*>())
        meastest::expectColumnsFit(list);
}

TYPED_TEST(ScreenLayoutTest, NoTwoButtonsShareAnAccessKey) {
    auto& s = this->open();
    QSet<QChar> keys;
    for (const QAbstractButton* b : s.template findChildren<QAbstractButton*>()) {
        const QString text = QString(b->text()).remove(QStringLiteral("&&"));
        const qsizetype amp = text.indexOf(u'&');
        if (amp < 0 || amp + 1 >= text.size())
            continue;
        const QChar key = text[amp + 1].toLower();
        EXPECT_FALSE(keys.contains(key))
            << b->objectName().toStdString() << " Alt+" << key.toLatin1();
        keys.insert(key);
    }
}

} // namespace
