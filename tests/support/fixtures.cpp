#include "fixtures.h"

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

namespace twtest {

QStringList rowCells(const QTreeWidget* list, int row) {
    QStringList cells;
    const auto* it = list->topLevelItem(row);
    for (int col = 0; it && col < list->columnCount(); ++col)
        cells << it->text(col);
    return cells;
}

void installScriptedMessages() {
    ui::setMessageHandler([](const ui::ShownMessage& m) { return messages().answer(m); });
}

bool hasFocus(const QWidget* w) {
    const QWidget* f = QApplication::focusWidget();
    return f && (f == w || w->isAncestorOf(f) || f->focusProxy() == w);
}

void pick(QComboBox* list, const QString& text) {
    const int i = list->findText(text);
    ASSERT_GE(i, 0) << text.toStdString();
    list->setCurrentIndex(i);
    emit list->activated(i);
}

QStringList withRealBoxes(const QStringList& buttons, const std::function<void()>& action) {
    QStringList shown;
    qsizetype next = 0;
    QTimer timer;
    timer.setInterval(10);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible() || next >= buttons.size())
            return;
        for (auto* b : box->buttons()) {
            if (b->text() == buttons[next]) {
                shown << box->text();
                ++next;
                b->click();
                return;
            }
        }
    });
    ui::setMessageHandler({});
    timer.start();
    action();
    timer.stop();
    installScriptedMessages();
    return shown;
}

bool waitUntil(const std::function<bool()>& done) {
    return QTest::qWaitFor(done, 60'000);
}

} // namespace twtest
