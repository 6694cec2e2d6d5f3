#pragma once

#include <QDialog>

class frm_AbtUs : public QDialog {
    Q_OBJECT
public:
    explicit frm_AbtUs(QWidget* parent = nullptr);
};
