#pragma once
// What every child screen of the frame shares: its own connection, opened when it loads.

#include "store/store.h"

#include <QString>
#include <QWidget>

#include <functional>

namespace ui {

class Screen : public QWidget {
public:
    explicit Screen(QWidget* parent = nullptr);

protected:
    tw::ConClass con;
};

// Opens a screen by its class name as a child of the frame (bringing forward the one instance
// when it is open already). The frame installs the opener; without one nothing happens.
using ScreenOpener = std::function<void(const QString& className)>;
void setScreenOpener(ScreenOpener opener);
void openScreen(const QString& className);

} // namespace ui
