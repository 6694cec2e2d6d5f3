#pragma once
// The kit every screen is built from: message boxes, key rules, select-all-on-focus, the
// nullable date edit, list views, the busy cursor and the error boundary around handlers.

#include "store/store.h"

#include <QDateEdit>
#include <QLineEdit>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTreeWidget>
#include <QWidget>

#include <exception>
#include <functional>

namespace ui {

// Buttons and icons of a message box; add one of each: ui::OkCancel | ui::Question.
enum MsgFlag : int {
    Ok = 0,
    OkCancel = 1,
    YesNo = 4,
    Critical = 16,
    Question = 32,
    Exclamation = 48,
    Information = 64,
};
enum class Answer { Ok, Cancel, Yes, No };

struct ShownMessage {
    QString text;
    int flags = Ok;
    QString title; // as shown: "Tallywright" when the caller gave none
};

// The one way the program shows a message box. A message with no title of its own takes
// "Tallywright". Modal; gives the button chosen.
Answer MsgBox(const QString& text, int flags = Ok, const QString& title = {});
// Tests replace the box with a scripted answerer; an empty handler restores the real box.
using MessageHandler = std::function<Answer(const ShownMessage&)>;
void setMessageHandler(MessageHandler handler);
const QString& defaultTitle();

// The system's beep before a warning.
void beep();

// Runs a handler; any failure inside it is shown in a critical box with its text and the
// program goes on. Gives false when the handler failed.
bool guard(const std::function<void()>& handler);
// A slot wrapper for connect(): connect(b, &QPushButton::clicked, this, ui::guarded([this] {...}))
template <class F> auto guarded(F f) {
    return [f = std::move(f)](auto&&...) { guard(f); };
}

// A key filter for a text field. `accept` sees the key's text (one character, or "\b" for
// backspace, "\r" for Enter) and the field; a key it refuses is turned into nothing. Keys that
// move the cursor or carry no text always pass.
class KeyRule : public QObject {
public:
    using Accept = std::function<bool(QChar key, const QLineEdit& field)>;
    KeyRule(QLineEdit* field, Accept accept);
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Accept accept_;
};
// Backspace and 0 to 9.
KeyRule* digitsRule(QLineEdit* field);
// Backspace, 0 to 9 and a point; with `onePoint` a second point is refused.
KeyRule* decimalRule(QLineEdit* field, bool onePoint = true);
// Backspace and the characters in `allowed` (letters and digits may be given as ranges by the
// caller through `extra`).
KeyRule* charsRule(QLineEdit* field, const QString& allowed, bool letters = false,
                   bool digits = false);

// Entering the field selects its whole text.
void selectAllOnFocus(QLineEdit* field);
// The same for every QLineEdit below `root`, but for those listed.
void selectAllOnFocusBelow(QWidget* root, const QList<QLineEdit*>& except = {});

// A date field in dd-MM-yyyy that can also be empty. The empty state shows one blank.
class DateEdit : public QDateEdit {
public:
    explicit DateEdit(QWidget* parent = nullptr);
    bool isEmpty() const;
    void clearDate();
    QDate value() const;                    // null when empty
    void setValue(const QDate& d);          // a null date empties it
    QString valueText() const;              // dd-MM-yyyy, or one blank when empty
    void setValueText(const QString& text); // a text that is no date empties it

protected:
    void keyPressEvent(QKeyEvent* e) override; // Delete and Backspace on a whole date empty it
};

// A report-style list (the old ListView): columns with captions, whole-row selection, no
// editing, no sorting unless asked.
void setupListView(QTreeWidget* list, const QStringList& captions);
QTreeWidgetItem* addListRow(QTreeWidget* list, const QStringList& cells);
// Position of the selected row, -1 when none.
int selectedRow(const QTreeWidget* list);

// The hourglass for a long action, put back when the guard goes.
class BusyCursor {
public:
    BusyCursor();
    ~BusyCursor();
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

// Gives a control its name, so screens can build and name it in one expression.
template <class W> W* named(W* w, const char* name) {
    w->setObjectName(QString::fromLatin1(name));
    return w;
}

// Makes the core's notices (a connection that could not open) show as plain message boxes.
void installMessageSink();

} // namespace ui
