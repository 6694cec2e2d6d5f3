#include "ui/screen.h"

#include <QShowEvent>

namespace ui {

Screen::Screen(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_DeleteOnClose);
    con.conopen();
}

void Screen::showEvent(QShowEvent* e) {
    // On show, so buttons a screen adds after its constructor are caught as well.
    if (!e->spontaneous())
        enterPressesButtons(this);
    QWidget::showEvent(e);
}

namespace {
ScreenOpener& opener() {
    static ScreenOpener o;
    return o;
}
} // namespace

void setScreenOpener(ScreenOpener o) {
    opener() = std::move(o);
}

bool openScreen(const QString& className) {
    return opener() && opener()(className);
}

} // namespace ui
