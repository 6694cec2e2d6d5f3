#pragma once
// What every child screen of the frame shares: its own connection, opened when it loads, and
// the keyboard habits of its buttons.

#include "store/store.h"
#include "ui/kit.h"

#include <QString>
#include <QWidget>

#include <functional>

namespace ui {

class Screen : public QWidget {
public:
    explicit Screen(QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* e) override;

    tw::ConClass con{boxes()};
};

// Opens a screen by its class name as a child of the frame (bringing forward the one instance
// when it is open already). The frame installs the opener. Gives false when there is no opener
// or no such screen in this version.
using ScreenOpener = std::function<bool(const QString& className)>;
void setScreenOpener(ScreenOpener opener);
bool openScreen(const QString& className);

} // namespace ui
