#include "screens/rates/rateform.h"

#include "ui/kit.h"

namespace rates {

QComboBox* freeCombo(QWidget* parent, const char* name, int chars) {
    auto* c = ui::named(new QComboBox(parent), name);
    c->setEditable(true);
    c->setInsertPolicy(QComboBox::NoInsert);
    c->setCompleter(nullptr);
    c->setMinimumContentsLength(chars);
    return c;
}

QLabel* caption(const QString& text, QWidget* buddy) {
    auto* l = new QLabel(text, buddy->parentWidget());
    l->setBuddy(buddy);
    return l;
}

} // namespace rates
