#pragma once
// The splash: steps through the names of the files in the application folder while the
// program comes up.

#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QPixmap>
#include <QTimer>
#include <QWidget>

// The product's icon, from the same picture files the package installs, at every size they
// come in: the icon of every window.
QIcon productIcon();
// The icon at the size the splash and the about box show it.
QPixmap productMark();

class frmSplash : public QWidget {
    Q_OBJECT
public:
    explicit frmSplash(QWidget* parent = nullptr);

    QListWidget* File1; // the folder's files, stepped through one a tick
    QLabel* Label1;     // folder + "/" + the file being shown
    QTimer* Timer1;

    void Timer1_timeout();

signals:
    void finished();  // the frame comes next
    void cancelled(); // a double click ends the program

protected:
    void mouseDoubleClickEvent(QMouseEvent* e) override;

private:
    int count_ = 0;
    QString folder_;
};
