#pragma once
// The frame that holds every screen: menus, the window list, and the board on a double click
// of its background.

#include "store/store.h"
#include "ui/kit.h"

#include <QAction>
#include <QLabel>
#include <QMainWindow>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPointer>

#include <functional>
#include <map>

class TallyFrame : public QMainWindow {
    Q_OBJECT
public:
    explicit TallyFrame(QWidget* parent = nullptr);
    ~TallyFrame() override;

    // Makes a new instance of a screen. Screens are known by their class names; an entry of
    // the menu whose screen has no factory stays disabled.
    using Factory = std::function<QWidget*()>;
    static std::map<QString, Factory>& factories();

    // Shows a screen as a child, or brings its one instance forward when it is open.
    QWidget* openChild(const QString& className);
    // The board, unless it is up already.
    void openBoard();

    // The screens no menu entry reaches (Set Up has its entry too): the frame still offers
    // their operations.
    QWidget* openBackup();
    QWidget* openCustomize();
    QWidget* openSetup();
    QWidget* openRateAnalysis();
    // The import screen, for an export only (the one way to export) or for an import.
    QWidget* openImport(bool exportOnly);

    void mnuexit_triggered();
    void mnuUsrGd_triggered();
    void mnuAbtUs_triggered();

    QMdiArea* mdi;
    QPointer<QWidget> board_; // the project information board while it is up
    QMenu* mnufile;
    QMenu* mnuschmanage;
    QMenu* tools;
    QMenu* mnuwindow;
    QMenu* mnuhlp;
    QMenu* mnurtanl; // hidden: the rate analysis screen's pop-up
    QAction* mnurtedt;
    QLabel* lblstore; // the status line: which books are open

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

private:
    QAction* entry(QMenu* menu, const char* name, const QString& caption,
                   const QString& screen = {});
    void mnuwindow_aboutToShow();
    QWidget* addChild(QWidget* w);
    void placeChild(QMdiSubWindow* sub);
    void closeEmptyWindow(QWidget* screen);

    tw::ConClass con{ui::boxes()};
};
