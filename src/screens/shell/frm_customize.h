#pragma once
// Look and feel: colours and font of this screen, kept as the look values of Tallywright.cfg.

#include "ui/screen.h"

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QPushButton>

#include <functional>
#include <optional>

class Frm_Customize : public ui::Screen {
    Q_OBJECT
public:
    explicit Frm_Customize(QWidget* parent = nullptr);

    void Cmd_Tabs_backcolor_clicked();
    void cmd_Tabs_ForeColor_clicked();
    void cmd_textbackcolor_clicked();
    void cmd_textforecolor_clicked();
    void cmd_commandbutton_clicked();
    void cmdFont_clicked();
    void cmd_apply_clicked();

    // The value the screen holds for a key of the file ("Size=" and so on).
    QString value(const QString& key) const;

    // The colour and font dialogs (tests put in their own); nullopt when the user cancels.
    std::function<std::optional<QColor>(const QColor& current)> pickColour;
    std::function<std::optional<QFont>(const QFont& current)> pickFont;

    QPushButton* Cmd_Tabs_backcolor;
    QPushButton* cmd_Tabs_ForeColor;
    QPushButton* cmd_textbackcolor;
    QPushButton* cmd_textforecolor;
    QPushButton* cmd_commandbutton;
    QPushButton* cmdFont;
    QPushButton* cmd_apply;
    QLabel* lblDescription;
    QLabel* lblAmount;

private:
    void textboxvalues();
    void chooseColour(const QString& key);
    void applyColours();
    void applyFont();
    QFont font() const;
    QColor colour(const QString& key) const;

    QStringList keys_;
    QStringList values_;
};
