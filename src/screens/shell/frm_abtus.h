#pragma once

#include <QDialog>

class frm_AbtUs : public QDialog {
    Q_OBJECT
public:
    explicit frm_AbtUs(QWidget* parent = nullptr);

    // True once the user followed the link to the user guide: the dialog has closed so the
    // frame can show the guide.
    bool guideWanted = false;
};
