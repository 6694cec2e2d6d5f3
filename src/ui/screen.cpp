#include "ui/screen.h"

namespace ui {

Screen::Screen(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_DeleteOnClose);
    con.conopen();
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

void openScreen(const QString& className) {
    if (opener())
        opener()(className);
}

} // namespace ui
