#include "screens/shell/frm_customize.h"

#include "ui/kit.h"
#include "ui/lookfile.h"

#include <QAbstractItemView>
#include <QColorDialog>
#include <QComboBox>
#include <QFile>
#include <QFontDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QTabBar>
#include <QVBoxLayout>

namespace {
bool truth(const QString& flag) {
    return flag.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0;
}
QString flagText(bool on) {
    return on ? QStringLiteral("True") : QStringLiteral("False");
}
} // namespace

Frm_Customize::Frm_Customize(QWidget* parent) : ui::Screen(parent) {
    setWindowTitle(tr("Customize"));
    pickColour = [this](const QColor& current) -> std::optional<QColor> {
        const QColor c = QColorDialog::getColor(current, this);
        return c.isValid() ? std::optional<QColor>(c) : std::nullopt;
    };
    pickFont = [this](const QFont& current) -> std::optional<QFont> {
        bool ok = false;
        const QFont f = QFontDialog::getFont(&ok, current, this);
        return ok ? std::optional<QFont>(f) : std::nullopt;
    };

    auto* sample = new QGroupBox(tr("Sample"), this);
    lblDescription = ui::named(new QLabel(tr("Description"), sample), "lblDescription");
    lblAmount = ui::named(new QLabel(tr("Amount"), sample), "lblAmount");
    auto* sampleText =
        ui::named(new QLineEdit(tr("Earth work in excavation"), sample), "txtSample");
    auto* sampleAmount = ui::named(new QLineEdit(QStringLiteral("12,500.00"), sample), "txtAmount");
    auto* sg = new QGridLayout(sample);
    sg->addWidget(lblDescription, 0, 0);
    sg->addWidget(sampleText, 0, 1);
    sg->addWidget(lblAmount, 1, 0);
    sg->addWidget(sampleAmount, 1, 1);

    Cmd_Tabs_backcolor = ui::named(new QPushButton(tr("Back Color"), this), "Cmd_Tabs_backcolor");
    cmd_Tabs_ForeColor = ui::named(new QPushButton(tr("Fore Co&lor"), this), "cmd_Tabs_ForeColor");
    cmd_textbackcolor =
        ui::named(new QPushButton(tr(" &Textbox Background"), this), "cmd_textbackcolor");
    cmd_textforecolor =
        ui::named(new QPushButton(tr("Textbox &Foreground"), this), "cmd_textforecolor");
    cmd_commandbutton =
        ui::named(new QPushButton(tr("Command Button Colors"), this), "cmd_commandbutton");
    cmdFont = ui::named(new QPushButton(tr("&Font"), this), "cmdFont");
    cmd_apply = ui::named(new QPushButton(tr("Apply"), this), "cmd_apply");
    auto* buttons = new QGridLayout;
    buttons->addWidget(Cmd_Tabs_backcolor, 0, 0);
    buttons->addWidget(cmd_Tabs_ForeColor, 0, 1);
    buttons->addWidget(cmd_textbackcolor, 1, 0);
    buttons->addWidget(cmd_textforecolor, 1, 1);
    buttons->addWidget(cmd_commandbutton, 2, 0);
    buttons->addWidget(cmdFont, 2, 1);
    buttons->addWidget(cmd_apply, 3, 1);
    auto* box = new QVBoxLayout(this);
    box->addWidget(sample);
    box->addLayout(buttons);
    ui::tabOrder({sampleText, sampleAmount, Cmd_Tabs_backcolor, cmd_Tabs_ForeColor,
                  cmd_textbackcolor, cmd_textforecolor, cmd_commandbutton, cmdFont, cmd_apply});

    const struct {
        QPushButton* button;
        void (Frm_Customize::*handler)();
    } handlers[] = {
        {Cmd_Tabs_backcolor, &Frm_Customize::Cmd_Tabs_backcolor_clicked},
        {cmd_Tabs_ForeColor, &Frm_Customize::cmd_Tabs_ForeColor_clicked},
        {cmd_textbackcolor, &Frm_Customize::cmd_textbackcolor_clicked},
        {cmd_textforecolor, &Frm_Customize::cmd_textforecolor_clicked},
        {cmd_commandbutton, &Frm_Customize::cmd_commandbutton_clicked},
        {cmdFont, &Frm_Customize::cmdFont_clicked},
        {cmd_apply, &Frm_Customize::cmd_apply_clicked},
    };
    for (const auto& h : handlers)
        connect(h.button, &QPushButton::clicked, this,
                ui::guarded([this, f = h.handler] { (this->*f)(); }));

    keys_ = look::allKeys();
    ui::guard([this] { textboxvalues(); });
    applyColours();
    applyFont();
}

// All 23 values as the file holds them; an empty look value takes its default, and so does a
// size of 0.
void Frm_Customize::textboxvalues() {
    values_ = QFile::exists(look::cfgPath()) ? look::textboxvalues(keys_) : QStringList();
    while (values_.size() < keys_.size())
        values_ << QString();
    for (qsizetype i = look::orgKeys().size(); i < keys_.size(); ++i)
        if (values_[i].isEmpty())
            values_[i] = look::lookDefault(keys_[i]);
    const qsizetype size = keys_.indexOf(QStringLiteral("Size="));
    if (tw::leadingNumber(values_[size]) == 0)
        values_[size] = look::lookDefault(keys_[size]);
}

QString Frm_Customize::value(const QString& key) const {
    const qsizetype i = keys_.indexOf(key);
    return i < 0 ? QString() : values_.value(i);
}

QColor Frm_Customize::colour(const QString& key) const {
    return look::toColor(qint64(tw::leadingNumber(value(key))), QPalette());
}

// Labels, frames and tab strips take the back and fore colours; text fields and lists the text
// colours; buttons the button colour.
void Frm_Customize::applyColours() {
    const QColor back = colour(QStringLiteral("BackColor="));
    const QColor fore = colour(QStringLiteral("ForeColor="));
    const QColor textBack = colour(QStringLiteral("TextColor="));
    const QColor textFore = colour(QStringLiteral("TextForeColor="));
    const QColor button = colour(QStringLiteral("CommandButton="));
    auto paint = [](QWidget* w, QPalette::ColorRole bg, const QColor& b, QPalette::ColorRole fg,
                    const QColor& f, bool withText) {
        QPalette p = w->palette();
        p.setColor(bg, b);
        if (withText)
            p.setColor(fg, f);
        w->setPalette(p);
        w->setAutoFillBackground(true);
    };
    for (QWidget* w : findChildren<QWidget*>()) {
        if (qobject_cast<QLabel*>(w) || qobject_cast<QGroupBox*>(w) || qobject_cast<QTabBar*>(w))
            paint(w, QPalette::Window, back, QPalette::WindowText, fore, true);
        else if (qobject_cast<QLineEdit*>(w) || qobject_cast<QComboBox*>(w) ||
                 qobject_cast<QAbstractItemView*>(w))
            paint(w, QPalette::Base, textBack, QPalette::Text, textFore, true);
        else if (qobject_cast<QPushButton*>(w))
            paint(w, QPalette::Button, button, QPalette::ButtonText, {}, false);
    }
}

QFont Frm_Customize::font() const {
    QFont f(value(QStringLiteral("Font=")));
    f.setPointSize(int(tw::leadingNumber(value(QStringLiteral("Size=")))));
    f.setBold(truth(value(QStringLiteral("Bold="))));
    f.setItalic(truth(value(QStringLiteral("Italic="))));
    f.setUnderline(truth(value(QStringLiteral("Underline="))));
    f.setStrikeOut(truth(value(QStringLiteral("Strike="))));
    return f;
}

void Frm_Customize::applyFont() {
    const QFont f = font();
    for (QWidget* w : findChildren<QWidget*>())
        w->setFont(f);
}

void Frm_Customize::chooseColour(const QString& key) {
    const auto chosen = pickColour(colour(key));
    if (!chosen)
        return;
    values_[keys_.indexOf(key)] = QString::number(look::toNumber(*chosen));
    applyColours();
}

void Frm_Customize::Cmd_Tabs_backcolor_clicked() {
    chooseColour(QStringLiteral("BackColor="));
}
void Frm_Customize::cmd_Tabs_ForeColor_clicked() {
    chooseColour(QStringLiteral("ForeColor="));
}
void Frm_Customize::cmd_textbackcolor_clicked() {
    chooseColour(QStringLiteral("TextColor="));
}
void Frm_Customize::cmd_textforecolor_clicked() {
    chooseColour(QStringLiteral("TextForeColor="));
}
void Frm_Customize::cmd_commandbutton_clicked() {
    chooseColour(QStringLiteral("CommandButton="));
}

// Screens larger than 11 points would not fit their fields, so the dialog's choice is refused
// and the font stays as it was. Strike-through is not the dialog's to change.
void Frm_Customize::cmdFont_clicked() {
    const auto chosen = pickFont(font());
    if (!chosen)
        return;
    if (chosen->pointSize() >= 12) {
        ui::MsgBox(tr("Maximum Font size selectable is 11"), ui::Information, tr("Information"));
        return;
    }
    auto set = [this](const char* key, const QString& v) {
        values_[keys_.indexOf(QString::fromLatin1(key))] = v;
    };
    set("Size=", QString::number(chosen->pointSize()));
    set("Bold=", flagText(chosen->bold()));
    set("Italic=", flagText(chosen->italic()));
    set("Underline=", flagText(chosen->underline()));
    set("Font=", chosen->family());
    applyFont();
}

// The whole file again: the organisation lines as they were read, then the look values.
void Frm_Customize::cmd_apply_clicked() {
    look::writeCfg(keys_, values_);
}
