#include "ui/kit.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMessageBox>
#include <QTimer>

namespace ui {

// ---- message boxes ------------------------------------------------------------------------

namespace {
MessageHandler& handler() {
    static MessageHandler h;
    return h;
}

Answer showBox(const ShownMessage& m) {
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(m.title);
    box.setText(m.text);
    switch (m.flags & 0x70) {
    case Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    case Question:
        box.setIcon(QMessageBox::Question);
        break;
    case Exclamation:
        box.setIcon(QMessageBox::Warning);
        break;
    case Information:
        box.setIcon(QMessageBox::Information);
        break;
    default:
        box.setIcon(QMessageBox::NoIcon);
    }
    switch (m.flags & 0x7) {
    case OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    default:
        box.setStandardButtons(QMessageBox::Ok);
    }
    switch (box.exec()) {
    case QMessageBox::Cancel:
        return Answer::Cancel;
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::No:
        return Answer::No;
    default:
        // Closing the box by Escape answers as its last button would.
        return (m.flags & 0x7) == OkCancel ? Answer::Cancel : Answer::Ok;
    }
}
} // namespace

const QString& defaultTitle() {
    static const QString title = QStringLiteral("Tallywright");
    return title;
}

Answer MsgBox(const QString& text, int flags, const QString& title) {
    const ShownMessage m{text, flags, title.isEmpty() ? defaultTitle() : title};
    if (handler())
        return handler()(m);
    return showBox(m);
}

void setMessageHandler(MessageHandler h) {
    handler() = std::move(h);
}

void beep() {
    QApplication::beep();
}

void installMessageSink() {
    tw::setMessageSink([](const QString& text, const QString& title) { MsgBox(text, Ok, title); });
}

bool guard(const std::function<void()>& f) {
    try {
        f();
        return true;
    } catch (const tw::Error& e) {
        MsgBox(e.text(), Critical);
    } catch (const std::exception& e) {
        MsgBox(QString::fromLocal8Bit(e.what()), Critical);
    }
    return false;
}

// ---- key rules ----------------------------------------------------------------------------

KeyRule::KeyRule(QLineEdit* field, Accept accept) : QObject(field), accept_(std::move(accept)) {
    field->installEventFilter(this);
}

bool KeyRule::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress)
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    auto* field = qobject_cast<QLineEdit*>(watched);
    if (!field)
        return false;
    QChar ch;
    switch (key->key()) {
    case Qt::Key_Backspace:
        ch = u'\b';
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        ch = u'\r';
        break;
    default:
        if (key->text().size() != 1 || !key->text()[0].isPrint())
            return false; // cursor keys, Tab, shortcuts and the like move on as usual
        ch = key->text()[0];
    }
    return !accept_(ch, *field);
}

KeyRule* digitsRule(QLineEdit* field) {
    return new KeyRule(field, [](QChar c, const QLineEdit&) { return c == u'\b' || c.isDigit(); });
}

KeyRule* decimalRule(QLineEdit* field, bool onePoint) {
    return new KeyRule(field, [onePoint](QChar c, const QLineEdit& f) {
        if (c == u'.') {
            // A point that replaces the selection, where the old one stood, is not a second.
            QString rest = f.text();
            if (f.hasSelectedText())
                rest.remove(f.selectionStart(), f.selectedText().size());
            return !onePoint || !rest.contains(u'.');
        }
        return c == u'\b' || (c >= u'0' && c <= u'9');
    });
}

KeyRule* charsRule(QLineEdit* field, const QString& allowed, bool letters, bool digits) {
    return new KeyRule(field, [allowed, letters, digits](QChar c, const QLineEdit&) {
        if (c == u'\b' || allowed.contains(c))
            return true;
        if (letters && ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z')))
            return true;
        return digits && c >= u'0' && c <= u'9';
    });
}

// ---- select all on focus ------------------------------------------------------------------

namespace {
class SelectAll : public QObject {
public:
    explicit SelectAll(QLineEdit* f) : QObject(f) { f->installEventFilter(this); }
    bool eventFilter(QObject* w, QEvent* e) override {
        if (e->type() == QEvent::FocusIn) {
            auto* f = static_cast<QLineEdit*>(w);
            // The click that brought the focus would place the cursor after us; select once
            // the event is through.
            QTimer::singleShot(0, f, [f] { f->selectAll(); });
        }
        return false;
    }
};
} // namespace

void selectAllOnFocus(QLineEdit* field) {
    new SelectAll(field);
}

void selectAllOnFocusBelow(QWidget* root, const QList<QLineEdit*>& except) {
    for (auto* f : root->findChildren<QLineEdit*>()) {
        // Line edits inside spin and date boxes belong to those.
        if (except.contains(f) || qobject_cast<QAbstractSpinBox*>(f->parentWidget()))
            continue;
        selectAllOnFocus(f);
    }
}

// ---- nullable date edit -------------------------------------------------------------------

namespace {
// The minimum date stands for "no date"; it is shown as one blank.
const QDate emptyDate(1752, 9, 14);
} // namespace

DateEdit::DateEdit(QWidget* parent) : QDateEdit(parent) {
    setDisplayFormat(QStringLiteral("dd-MM-yyyy"));
    setCalendarPopup(true);
    setMinimumDate(emptyDate);
    setSpecialValueText(QStringLiteral(" "));
    setDate(QDate::currentDate());
}

bool DateEdit::isEmpty() const {
    return date() == emptyDate;
}
void DateEdit::clearDate() {
    setDate(emptyDate);
}
QDate DateEdit::value() const {
    return isEmpty() ? QDate() : date();
}
void DateEdit::setValue(const QDate& d) {
    setDate(d.isValid() ? d : emptyDate);
}
QString DateEdit::valueText() const {
    return tw::dateText(value());
}
void DateEdit::setValueText(const QString& text) {
    setValue(tw::dateFromText(text.trimmed()));
}

void DateEdit::keyPressEvent(QKeyEvent* e) {
    if ((e->key() == Qt::Key_Delete || e->key() == Qt::Key_Backspace) &&
        (lineEdit()->selectedText() == lineEdit()->text() || isEmpty())) {
        clearDate();
        return;
    }
    if (isEmpty() && !e->text().isEmpty() && e->text()[0].isDigit())
        setDate(QDate::currentDate()); // typing into an empty date starts from today
    QDateEdit::keyPressEvent(e);
}

// ---- list views ---------------------------------------------------------------------------

void setupListView(QTreeWidget* list, const QStringList& captions) {
    list->setColumnCount(int(captions.size()));
    list->setHeaderLabels(captions);
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setAlternatingRowColors(true);
    list->header()->setStretchLastSection(true);
}

QTreeWidgetItem* addListRow(QTreeWidget* list, const QStringList& cells) {
    auto* item = new QTreeWidgetItem(list, cells);
    return item;
}

int selectedRow(const QTreeWidget* list) {
    const auto items = list->selectedItems();
    if (items.isEmpty())
        return -1;
    return list->indexOfTopLevelItem(items.first());
}

// ---- busy cursor --------------------------------------------------------------------------

BusyCursor::BusyCursor() {
    QApplication::setOverrideCursor(Qt::WaitCursor);
}
BusyCursor::~BusyCursor() {
    QApplication::restoreOverrideCursor();
}

} // namespace ui
