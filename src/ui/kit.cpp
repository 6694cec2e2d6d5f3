#include "ui/kit.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QClipboard>
#include <QComboBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionSpinBox>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

namespace ui {

// ---- message boxes ------------------------------------------------------------------------

namespace {
MessageHandler& handler() {
    static MessageHandler h;
    return h;
}

// The window manager draws the title, often in bold, between the window's icon and up to three
// buttons; a box sized to its text alone cuts a longer title ("Select Co... t Number"). The box
// sizes itself to its layout's minimum, so a spacer across the layout holds it open.
void fitTitle(QMessageBox& box) {
    auto* grid = qobject_cast<QGridLayout*>(box.layout());
    if (!grid)
        return;
    QFont font = QFontDatabase::systemFont(QFontDatabase::TitleFont);
    font.setBold(true);
    const int bar = box.style()->pixelMetric(QStyle::PM_TitleBarHeight);
    const QMargins m = grid->contentsMargins();
    const int width =
        QFontMetrics(font).horizontalAdvance(box.windowTitle()) + 5 * bar - m.left() - m.right();
    grid->addItem(new QSpacerItem(width, 0), grid->rowCount(), 0, 1, grid->columnCount());
}

Answer showBox(const ShownMessage& m) {
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(m.title);
    box.setText(m.text);
    switch (tw::iconOf(m.flags)) {
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
    switch (tw::buttonsOf(m.flags)) {
    case OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    default:
        box.setStandardButtons(QMessageBox::Ok);
    }
    fitTitle(box);
    if (m.flags & DefaultButton2) {
        const auto buttons = box.buttons();
        for (auto* b : buttons)
            if (box.buttonRole(b) == QMessageBox::RejectRole ||
                box.buttonRole(b) == QMessageBox::NoRole)
                box.setDefaultButton(qobject_cast<QPushButton*>(b));
    }
    // Escape and the close box answer as the last button would (Cancel or No).
    switch (box.exec()) {
    case QMessageBox::Ok:
        return Answer::Ok;
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::No:
        return Answer::No;
    case QMessageBox::Cancel:
        return Answer::Cancel;
    default:
        return tw::buttonsOf(m.flags) == YesNo      ? Answer::No
               : tw::buttonsOf(m.flags) == OkCancel ? Answer::Cancel
                                                    : Answer::Ok;
    }
}
} // namespace

Answer MsgBox(const QString& text, int flags, const QString& title) {
    const ShownMessage m{text, flags, title.isEmpty() ? defaultTitle() : title};
    if (handler())
        return handler()(m);
    return showBox(m);
}

void setMessageHandler(MessageHandler h) {
    handler() = std::move(h);
}

void refuse(QWidget* field, const QString& text, int flags, const QString& title) {
    MsgBox(text, flags, title);
    if (auto* edit = qobject_cast<QLineEdit*>(field))
        edit->selectAll();
    else if (auto* combo = qobject_cast<QComboBox*>(field); combo && combo->lineEdit())
        combo->lineEdit()->selectAll();
    field->setFocus();
}

void refuse(QWidget* screen, const tw::Refusal& refusal) {
    auto* field = screen->findChild<QWidget*>(refusal.field);
    if (!field) // a refusal always names a control of the screen that asked
        throw tw::Error(QStringLiteral("No field named ") + refusal.field);
    refuse(field, refusal.text, refusal.flags, refusal.title);
}

bool refuseBadEmail(QLineEdit* field) {
    const QString email = field->text().trimmed();
    if (email.isEmpty())
        return false;
    const QString upper = email.toUpper();
    bool domain = false;
    for (const char* fragment : {"COM", "ORG", "NET", "GOV", "EDU", "MIL", "AC.", "CO."})
        domain = domain || upper.contains(QLatin1String(fragment));
    if (!email.contains(u'@')) {
        refuse(field, QObject::tr("Email id format is wrong, please retype the Email-id"),
               Information, QObject::tr("Retype email id"));
        return true;
    }
    if (!domain) {
        refuse(field, QObject::tr("Please enter the correct domain"), Information,
               QObject::tr("Enter correct domain"));
        return true;
    }
    return false;
}

void beep() {
    QApplication::beep();
}

namespace {
class Boxes : public tw::Messenger {
protected:
    Answer show(const ShownMessage& m) override { return MsgBox(m.text, m.flags, m.title); }
};
} // namespace

tw::Messenger& boxes() {
    static Boxes b;
    return b;
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

namespace {
// Whether every key rule of `field` takes each character of `text`, judged one after the other
// against a copy of the field that grows as they go in. With `overSelection` the text replaces
// the selection, as a paste does; a drop or a middle click inserts at a point.
bool rulesTake(const QLineEdit& field, const QString& text, bool overSelection) {
    std::vector<const KeyRule*> rules;
    for (const QObject* child : field.children())
        if (const auto* rule = dynamic_cast<const KeyRule*>(child))
            rules.push_back(rule);
    const bool replaces = overSelection && field.hasSelectedText();
    QLineEdit growing;
    growing.setObjectName(field.objectName());
    growing.setMaxLength(field.maxLength());
    growing.setText(field.text());
    if (replaces)
        growing.setSelection(field.selectionStart(), int(field.selectedText().size()));
    else
        growing.setCursorPosition(field.cursorPosition());
    // What passes the length limit is all the field would take in; the rest falls away unjudged.
    const qsizetype room =
        field.maxLength() - field.text().size() + (replaces ? field.selectedText().size() : 0);
    for (QChar c : text.left(qMax(room, qsizetype(0)))) {
        for (const KeyRule* rule : rules)
            if (!rule->takes(c, growing))
                return false;
        growing.insert(QString(c));
    }
    return true;
}

// The property that holds a field's typing limit (typingLimit), so a paste can be cut to it.
constexpr const char* kTypingLimit = "twTypingLimit";

// A paste of `text` over the selection, cut to what the field's typing limit leaves room for.
QString pastedText(const QLineEdit& field, const QString& text) {
    const QVariant limit = field.property(kTypingLimit);
    if (!limit.isValid())
        return text;
    const qsizetype kept = field.text().size() - field.selectedText().size();
    return text.left(qMax(qsizetype(limit.toInt()) - kept, qsizetype(0)));
}

// Pastes the clipboard into the field when its rules take it, cut to the typing limit.
void pasteJudged(QLineEdit* field) {
    const QString text = pastedText(*field, QGuiApplication::clipboard()->text());
    if (!text.isEmpty() && rulesTake(*field, text, true))
        field->insert(text);
}

// Judges text arriving by paste, middle click or drop by all the key rules of one field. Typed
// keys are judged by the rules themselves and pass here untouched.
class PasteRule : public QObject {
public:
    explicit PasteRule(QLineEdit* field) : QObject(field) { field->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* field = qobject_cast<QLineEdit*>(watched);
        if (!field || field->isReadOnly())
            return false;
        QClipboard* clip = QGuiApplication::clipboard();
        switch (event->type()) {
        case QEvent::KeyPress:
            if (!static_cast<QKeyEvent*>(event)->matches(QKeySequence::Paste))
                return false;
            pasteJudged(field);
            return true;
        case QEvent::MouseButtonRelease:
            return static_cast<QMouseEvent*>(event)->button() == Qt::MiddleButton &&
                   clip->supportsSelection() &&
                   !rulesTake(*field, clip->text(QClipboard::Selection), false);
        case QEvent::DragEnter:
        case QEvent::DragMove:
        case QEvent::Drop: {
            auto* drop = static_cast<QDropEvent*>(event);
            if (!drop->mimeData()->hasText() || rulesTake(*field, drop->mimeData()->text(), false))
                return false;
            drop->ignore();
            return true;
        }
        case QEvent::ContextMenu:
            if (field->contextMenuPolicy() != Qt::DefaultContextMenu)
                return false;
            showMenu(field, static_cast<QContextMenuEvent*>(event)->globalPos());
            return true;
        default:
            return false;
        }
    }

private:
    // The field's own menu, whose Paste goes through the rules first.
    static void showMenu(QLineEdit* field, const QPoint& at) {
        std::unique_ptr<QMenu> menu(field->createStandardContextMenu());
        // The entry is known by its caption, the line edit's own "&Paste" and its shortcut.
        const QString caption = QLineEdit::tr("&Paste");
        for (QAction* paste : menu->actions()) {
            if (paste->text() != caption && !paste->text().startsWith(caption + u'\t'))
                continue;
            QObject::disconnect(paste, &QAction::triggered, nullptr, nullptr);
            QObject::connect(paste, &QAction::triggered, field, [field] { pasteJudged(field); });
        }
        menu->exec(at);
    }
};
} // namespace

KeyRule::KeyRule(QLineEdit* field, Accept accept) : QObject(field), accept_(std::move(accept)) {
    // One paste judge a field, made with its first rule, asks every rule the field has.
    const auto& children = field->children();
    if (std::none_of(children.begin(), children.end(),
                     [](const QObject* c) { return dynamic_cast<const PasteRule*>(c); }))
        new PasteRule(field);
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
    default: {
        // Ctrl or Alt alone make a shortcut (Ctrl+V, Alt+S); both together (AltGr) type.
        const auto mods = key->modifiers();
        const bool shortcut = bool(mods & Qt::ControlModifier) != bool(mods & Qt::AltModifier) ||
                              (mods & Qt::MetaModifier);
        if (shortcut || key->text().size() != 1 || !key->text()[0].isPrint())
            return false; // cursor keys, Tab, shortcuts and the like move on as usual
        ch = key->text()[0];
    }
    }
    return !accept_(ch, *field);
}

KeyRule* digitsRule(QLineEdit* field) {
    return new KeyRule(field, [](QChar c, const QLineEdit&) { return c == u'\b' || c.isDigit(); });
}

KeyRule* decimalRule(QLineEdit* field, bool onePoint) {
    return new KeyRule(field, [onePoint](QChar c, const QLineEdit& f) {
        if (c == u'.') {
            // A point that replaces the selection, where the first one stood, is not a second.
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

KeyRule* typingLimit(QLineEdit* field, int limit) {
    field->setProperty(kTypingLimit, limit);
    return new KeyRule(field, [limit](QChar c, const QLineEdit& f) {
        if (c == u'\b' || c == u'\r')
            return true;
        return f.text().size() - f.selectedText().size() < limit;
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

// ---- buttons and access keys --------------------------------------------------------------

void enterPressesButtons(QWidget* root) {
    // Outside a dialog a push button answers Enter only when it is an "auto default" one.
    for (auto* b : root->findChildren<QPushButton*>())
        b->setAutoDefault(true);
}

QStringList duplicateAccessKeys(const QWidget* root) {
    std::map<QString, QStringList> captions; // by key, in the order met
    auto note = [&](const QString& caption) {
        const QKeySequence key = QKeySequence::mnemonic(caption);
        if (!key.isEmpty())
            captions[key.toString(QKeySequence::NativeText)] << caption;
    };
    for (const auto* b : root->findChildren<QAbstractButton*>())
        note(b->text());
    // A label's key reaches its buddy; without one the "&" is only shown.
    for (const auto* l : root->findChildren<QLabel*>())
        if (l->buddy())
            note(l->text());
    for (const auto* g : root->findChildren<QGroupBox*>())
        note(g->title());
    QStringList twice;
    for (const auto& [key, texts] : captions)
        if (texts.size() > 1)
            twice << key + QStringLiteral(": ") + texts.join(QStringLiteral(", "));
    return twice;
}

// ---- nullable date edit -------------------------------------------------------------------

namespace {
const QString dateFormat = QStringLiteral("dd-MM-yyyy");

// The day, month and year of a typed date, each as typed: "15-3-2024" or "15032024". Gives
// false when the text cannot be the start of a date in either form.
bool dateParts(const QString& text, QStringList& parts) {
    for (QChar c : text)
        if (!c.isDigit() && c != u'-')
            return false;
    if (text.contains(u'-')) {
        parts = text.split(u'-');
        const int widest[] = {2, 2, 4};
        if (parts.size() > 3)
            return false;
        for (qsizetype i = 0; i < parts.size(); ++i)
            if (parts[i].size() > widest[i] || (parts[i].isEmpty() && i + 1 < parts.size()))
                return false;
    } else {
        if (text.size() > 8)
            return false;
        parts = QStringList{text.left(2), text.mid(2, 2), text.mid(4)};
        while (!parts.isEmpty() && parts.last().isEmpty())
            parts.removeLast();
    }
    // A day past 31 or a month past 12 can never come right.
    auto fits = [&](qsizetype i, int most) {
        return parts.size() <= i || parts[i].size() < 2 ||
               (parts[i].toInt() >= 1 && parts[i].toInt() <= most);
    };
    return fits(0, 31) && fits(1, 12);
}

// The date a whole typed text stands for; null while the text is unfinished or no date.
QDate typedDate(const QString& text) {
    QStringList parts;
    if (!dateParts(text, parts) || parts.size() != 3 || parts[0].isEmpty() || parts[1].isEmpty() ||
        parts[2].size() != 4)
        return {};
    return QDate(parts[2].toInt(), parts[1].toInt(), parts[0].toInt());
}
} // namespace

DateEdit::DateEdit(QWidget* parent) : QAbstractSpinBox(parent) {
    setButtonSymbols(QAbstractSpinBox::NoButtons);
    QAction* calendar = lineEdit()->addAction(style()->standardIcon(QStyle::SP_ArrowDown),
                                              QLineEdit::TrailingPosition);
    calendar->setObjectName(QStringLiteral("calendar"));
    calendar->setToolTip(tr("Calendar (Alt+Down)"));
    connect(calendar, &QAction::triggered, this, [this] { showCalendar(); });
    // The value follows the text whenever the text is a whole date, or nothing.
    connect(lineEdit(), &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text.trimmed().isEmpty())
            value_ = QDate();
        else if (const QDate d = typedDate(text); d.isValid())
            value_ = d;
    });
    setValue(QDate::currentDate());
}

bool DateEdit::isEmpty() const {
    return !value_.isValid();
}
void DateEdit::clearDate() {
    setValue(QDate());
}
QDate DateEdit::value() const {
    return value_;
}
void DateEdit::setValue(const QDate& d) {
    value_ = d.isValid() ? d : QDate();
    lineEdit()->setText(value_.isValid() ? value_.toString(dateFormat) : QString());
}
QString DateEdit::valueText() const {
    return tw::dateText(value_);
}
void DateEdit::setValueText(const QString& text) {
    setValue(tw::dateFromText(text.trimmed()));
}

QValidator::State DateEdit::validate(QString& input, int&) const {
    if (input.trimmed().isEmpty())
        return QValidator::Acceptable;
    QStringList parts;
    if (!dateParts(input, parts))
        return QValidator::Invalid;
    if (parts.size() < 3 || parts[2].size() < 4)
        return QValidator::Intermediate;
    // A whole text that is no day of the calendar (31-02-2024) is refused, not moved to a day
    // that is.
    return typedDate(input).isValid() ? QValidator::Acceptable : QValidator::Invalid;
}

void DateEdit::fixup(QString& input) const {
    // An unfinished date gives way to the one the field held.
    input = value_.isValid() ? value_.toString(dateFormat) : QString();
}

void DateEdit::commit() {
    const QString text = lineEdit()->text();
    if (!text.trimmed().isEmpty() && !typedDate(text).isValid())
        beep();
    setValue(value_); // shows the date in full, dd-MM-yyyy
}

QSize DateEdit::sizeHint() const {
    ensurePolished();
    QStyleOptionSpinBox opt;
    initStyleOption(&opt);
    // Room for a whole date, the blinking cursor and the calendar button beside it.
    const int button = lineEdit()->sizeHint().height();
    const QSize contents(fontMetrics().horizontalAdvance(QStringLiteral("00-00-0000")) + 4 + button,
                         lineEdit()->sizeHint().height());
    return style()->sizeFromContents(QStyle::CT_SpinBox, &opt, contents, this);
}

QSize DateEdit::minimumSizeHint() const {
    return sizeHint();
}

QAbstractSpinBox::StepEnabled DateEdit::stepEnabled() const {
    return StepNone;
}

void DateEdit::keyPressEvent(QKeyEvent* e) {
    if (e->key() == Qt::Key_F4 ||
        (e->key() == Qt::Key_Down && (e->modifiers() & Qt::AltModifier))) {
        showCalendar();
        return;
    }
    if (e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter)
        commit();
    QAbstractSpinBox::keyPressEvent(e);
}

void DateEdit::focusOutEvent(QFocusEvent* e) {
    if (e->reason() != Qt::PopupFocusReason)
        commit();
    QAbstractSpinBox::focusOutEvent(e);
}

void DateEdit::showCalendar() {
    auto* popup = new QFrame(this, Qt::Popup);
    popup->setObjectName(QStringLiteral("calendarPopup"));
    popup->setAttribute(Qt::WA_DeleteOnClose);
    popup->setFrameShape(QFrame::StyledPanel);
    auto* calendar = new QCalendarWidget(popup);
    calendar->setGridVisible(true);
    calendar->setSelectedDate(isEmpty() ? QDate::currentDate() : value_);
    (new QVBoxLayout(popup))->addWidget(calendar);
    popup->layout()->setContentsMargins(0, 0, 0, 0);
    connect(calendar, &QCalendarWidget::activated, this, [this, popup](QDate d) {
        setValue(d);
        popup->close();
        setFocus();
    });
    connect(calendar, &QCalendarWidget::clicked, calendar, &QCalendarWidget::activated);
    popup->adjustSize();
    popup->move(mapToGlobal(QPoint(0, height())));
    popup->show();
    calendar->setFocus();
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
    fitColumns(list);
    // Rows come in one at a time while a list is filled: the columns are sized once, when the
    // filling is through.
    auto* refit = new QTimer(list);
    refit->setSingleShot(true);
    refit->setInterval(0);
    QObject::connect(refit, &QTimer::timeout, list, [list] { fitColumns(list); });
    QObject::connect(list->model(), &QAbstractItemModel::rowsInserted, refit,
                     qOverload<>(&QTimer::start));
}

QTreeWidgetItem* addListRow(QTreeWidget* list, const QStringList& cells) {
    return new QTreeWidgetItem(list, cells);
}

int selectedRow(const QTreeWidget* list) {
    const auto items = list->selectedItems();
    if (items.isEmpty())
        return -1;
    return list->indexOfTopLevelItem(items.first());
}

void tabOrder(const QList<QWidget*>& order) {
    for (qsizetype i = 0; i + 1 < order.size(); ++i)
        QWidget::setTabOrder(order[i], order[i + 1]);
}

void fitColumns(QTreeWidget* list) {
    for (int c = 0; c < list->columnCount(); ++c)
        list->resizeColumnToContents(c);
}

// ---- busy cursor --------------------------------------------------------------------------

BusyCursor::BusyCursor() {
    QApplication::setOverrideCursor(Qt::WaitCursor);
}
BusyCursor::~BusyCursor() {
    QApplication::restoreOverrideCursor();
}

} // namespace ui
