#pragma once
// The kit every screen is built from: message boxes, key rules (typed and pasted),
// select-all-on-focus, Enter on buttons, access keys, the nullable date edit, list views, the
// busy cursor and the error boundary around handlers.

#include "store/store.h"

#include <QAbstractSpinBox>
#include <QDate>
#include <QLineEdit>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTreeWidget>
#include <QValidator>
#include <QWidget>

#include <exception>
#include <functional>

namespace ui {

// Buttons, icons and answers of a message box are the core's (store/messages.h), so that code
// without widgets asks the same questions.
using tw::Answer;
using enum tw::MsgFlag;
using ShownMessage = tw::Message;

// The one way the program shows a message box. A message with no title of its own takes
// "Tallywright". Modal; gives the button chosen.
Answer MsgBox(const QString& text, int flags = Ok, const QString& title = {});
// Tests replace the box with a scripted answerer; an empty handler restores the real box.
using MessageHandler = std::function<Answer(const ShownMessage&)>;
void setMessageHandler(MessageHandler handler);
using tw::defaultTitle;
// The messenger that shows through MsgBox: hand it to core code run from a screen.
tw::Messenger& boxes();

// The first failing check of an action: shows the message, selects the whole text of the field
// (a line edit, or the editor of a combo box) and puts the focus there. The caller then ends
// the action.
void refuse(QWidget* field, const QString& text, int flags = Information,
            const QString& title = {});

// The same for a refusal of the core: the field is the control of that name below `screen`.
void refuse(QWidget* screen, const tw::Refusal& refusal);

// The e-mail check of the organisation and project screens: a filled address must hold "@" and
// one of the domain words (COM, ORG, NET, GOV, EDU, MIL, AC., CO.). Refuses the field and gives
// true when the address fails.
bool refuseBadEmail(QLineEdit* field);

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
// move the cursor or carry no text always pass. Text that comes in by a paste, a middle click
// or a drop is held to the same rules: every character of it is judged against the text as it
// grows, and one refused character refuses the whole of it, since a digits field holding
// letters would be wrong whichever way they came in.
class KeyRule : public QObject {
public:
    using Accept = std::function<bool(QChar key, const QLineEdit& field)>;
    KeyRule(QLineEdit* field, Accept accept);
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool takes(QChar key, const QLineEdit& field) const { return accept_(key, field); }

private:
    Accept accept_;
};
// Backspace and 0 to 9.
KeyRule* digitsRule(QLineEdit* field);
// Backspace, 0 to 9 and a point; with `onePoint` a second point is refused.
KeyRule* decimalRule(QLineEdit* field, bool onePoint = true);
// Backspace and the characters in `allowed`, and with `letters` a to z and A to Z, with
// `digits` 0 to 9.
KeyRule* charsRule(QLineEdit* field, const QString& allowed, bool letters = false,
                   bool digits = false);

// A field's length limit, for typing only: keys, pastes and drops stop at `limit` characters (a
// paste is cut to the room left), while text the program puts in (a stored value, a line of a
// file) is shown and saved whole. QLineEdit's own maximum would cut such text on load, and the
// cut text would then be saved back.
KeyRule* typingLimit(QLineEdit* field, int limit);

// Entering the field selects its whole text.
void selectAllOnFocus(QLineEdit* field);
// The same for every QLineEdit below `root`, but for those listed.
void selectAllOnFocusBelow(QWidget* root, const QList<QLineEdit*>& except = {});

// Tab moves through `order` in the order given, as the fields stand on the screen.
void tabOrder(const QList<QWidget*>& order);

// Enter on a focused push button below `root` presses it, as the space bar does: a user who
// tabs to "Save" expects Enter to save.
void enterPressesButtons(QWidget* root);

// The access keys (the letter after "&" in a caption) that more than one button, label or group
// of `root` uses, each as "Alt+A: &Add, S&ave". Two controls with one key leave the user
// unable to reach the second from the keyboard.
QStringList duplicateAccessKeys(const QWidget* root);

// A date field in dd-MM-yyyy that can also be empty; empty shows nothing and reads as one blank.
// A date is typed as ddmmyyyy or dd-mm-yyyy (a day or month of one digit needs the dashes) and
// is taken when the field is left or Enter is pressed; a text that is no date of the calendar
// (31-02-2024) is refused and the field goes back to the date it held. Deleting the whole text
// empties it, and an empty field is left with Tab like any other. Alt+Down, F4 or the arrow
// button open a calendar.
class DateEdit : public QAbstractSpinBox {
public:
    explicit DateEdit(QWidget* parent = nullptr);
    bool isEmpty() const;
    void clearDate();
    QDate value() const;                    // null when empty
    void setValue(const QDate& d);          // a null date empties it
    QString valueText() const;              // dd-MM-yyyy, or one blank when empty
    void setValueText(const QString& text); // a text that is no date empties it
    void showCalendar();

    QValidator::State validate(QString& input, int& pos) const override;
    void fixup(QString& input) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    StepEnabled stepEnabled() const override;
    void keyPressEvent(QKeyEvent* e) override;
    void focusOutEvent(QFocusEvent* e) override;

private:
    void commit();
    QDate value_;
};

// A report list: columns with captions, whole-row selection, no editing, no sorting unless
// asked. Its columns widen to their contents whenever rows are added, so no figure is cut.
void setupListView(QTreeWidget* list, const QStringList& captions);
QTreeWidgetItem* addListRow(QTreeWidget* list, const QStringList& cells);
// Sizes every column of the list to its caption and contents now.
void fitColumns(QTreeWidget* list);
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

} // namespace ui
