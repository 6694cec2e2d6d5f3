#include "screens/shell/tallyframe.h"

#include "screens/schedules/frm_import.h"
#include "screens/shell/frm_abtus.h"
#include "screens/shell/frm_contractinfo.h"
#include "screens/shell/screens.h"
#include "ui/kit.h"
#include "ui/screen.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPointer>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QTextBrowser>
#include <QTimer>
#include <QUrl>

namespace {
// The size a child screen asked for, kept on its window until the window can be placed.
const char* const wantedSize = "wantedSize";
// Set once the window has been given that size; a window born maximized gets it when restored.
const char* const placed = "placed";
} // namespace

std::map<QString, TallyFrame::Factory>& TallyFrame::factories() {
    static std::map<QString, Factory> all;
    return all;
}

TallyFrame::TallyFrame(QWidget* parent) : QMainWindow(parent) {
    registerScreens();
    setObjectName(QStringLiteral("TallyFrame"));
    setWindowTitle(tr(" Tallywright Main Screen"));
    mdi = new QMdiArea(this);
    mdi->setObjectName(QStringLiteral("mdi"));
    mdi->setBackground(QColor(0x5b, 0x6e, 0x80));
    mdi->viewport()->installEventFilter(this);
    // On a small display a screen may be larger than the work area: it can then be scrolled.
    mdi->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    mdi->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setCentralWidget(mdi);
    // Several seats may work on one set of books, and one person on several: the status line
    // says which books this window works on.
    lblstore = new QLabel(tr("Books: %1").arg(tw::Store::shown()), this);
    lblstore->setObjectName(QStringLiteral("lblstore"));
    statusBar()->addPermanentWidget(lblstore, 1);

    auto* bar = menuBar();
    mnufile = bar->addMenu(tr("&File"));
    mnufile->setObjectName(QStringLiteral("mnufile"));
    entry(mnufile, "msnuprojs", tr("Define / Modify projects"), QStringLiteral("frm_proj"));
    mnuschmanage = mnufile->addMenu(tr("Manage Schedule of Works"));
    mnuschmanage->setObjectName(QStringLiteral("mnuschmanage"));
    mnuschmanage->menuAction()->setObjectName(QStringLiteral("mnuschmanage"));
    entry(mnuschmanage, "schenter", tr("Enter Schedule Items"), QStringLiteral("frm_schentry"));
    entry(mnuschmanage, "copysch", tr("Copy Schedule Items from One Project to Another"),
          QStringLiteral("Frm_Schdls"));
    entry(mnufile, "dimentry", tr("Measurements Entry"), QStringLiteral("frm_dims"));
    entry(mnufile, "mnurnfrc", tr("Re&inforcement"), QStringLiteral("Frm_Reinforcement"));
    entry(mnufile, "Report_Generation", tr("&Reports"), QStringLiteral("Frm_Reports"));
    auto* exit = entry(mnufile, "mnuexit", tr("E&xit"));
    connect(exit, &QAction::triggered, this, [this] { mnuexit_triggered(); });

    tools = bar->addMenu(tr("&Tools"));
    tools->setObjectName(QStringLiteral("tools"));
    entry(tools, "mnupayment", tr("Payments"), QStringLiteral("frm_payment"));
    entry(tools, "rtanal", tr("Rate Analysis for a Project"), QStringLiteral("Frm_RateAnalysis"));
    entry(tools, "analcats", tr("Rate Analysis for standard Categories"),
          QStringLiteral("catrateanal"));
    entry(tools, "materials", tr("Maintain Materials"), QStringLiteral("matls"));
    tools->addSeparator()->setObjectName(QStringLiteral("mnubar12"));
    auto* import = entry(tools, "import", tr("Import"));
    import->setEnabled(factories().count(QStringLiteral("Frm_Import")) > 0);
    connect(import, &QAction::triggered, this, ui::guarded([this] { openImport(false); }));
    tools->addSeparator()->setObjectName(QStringLiteral("mnubar14"));
    entry(tools, "setup", tr("Set Up"), QStringLiteral("frm_setup"));

    mnuwindow = bar->addMenu(tr("&Window"));
    mnuwindow->setObjectName(QStringLiteral("mnuwindow"));
    connect(mnuwindow, &QMenu::aboutToShow, this, &TallyFrame::mnuwindow_aboutToShow);

    mnuhlp = bar->addMenu(tr("Help"));
    mnuhlp->setObjectName(QStringLiteral("mnuhlp"));
    connect(entry(mnuhlp, "mnuUsrGd", tr("User Guide")), &QAction::triggered, this,
            ui::guarded([this] { mnuUsrGd_triggered(); }));
    connect(entry(mnuhlp, "mnuAbtUs", tr("About Us")), &QAction::triggered, this,
            ui::guarded([this] { mnuAbtUs_triggered(); }));

    // Not on the menu bar: the rate analysis list pops it up.
    mnurtanl = new QMenu(tr("RateAnalysis"), this);
    mnurtanl->setObjectName(QStringLiteral("mnurtanl"));
    mnurtedt = mnurtanl->addAction(tr("Edit"));
    mnurtedt->setObjectName(QStringLiteral("mnurtedt"));

    ui::setScreenOpener([this](const QString& name) { return openChild(name) != nullptr; });

    // The frame opens at a comfortable size in the middle of the free area of its display (what
    // a taskbar leaves), with room for the window's own title bar and border; a display too
    // small for that gets all its free area.
    const QRect free = screen()->availableGeometry();
    const QSize comfortable(1100, 760);
    const QSize border(16, 48);
    if (free.width() >= comfortable.width() + border.width() &&
        free.height() >= comfortable.height() + border.height()) {
        setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, comfortable, free));
    } else {
        setGeometry(free.adjusted(0, 0, -border.width(), -border.height()));
        setWindowState(Qt::WindowMaximized);
    }

    con.conopen();
    openBoard();
}

TallyFrame::~TallyFrame() {
    ui::setScreenOpener({});
    // Children go first, while the frame's pieces they may look at still stand.
    mdi->closeAllSubWindows();
    con.conclose();
}

QAction* TallyFrame::entry(QMenu* menu, const char* name, const QString& caption,
                           const QString& screen) {
    QAction* a = menu->addAction(caption);
    a->setObjectName(QString::fromLatin1(name));
    if (!screen.isEmpty()) {
        a->setEnabled(factories().count(screen) > 0);
        connect(a, &QAction::triggered, this, ui::guarded([this, screen] { openChild(screen); }));
    }
    return a;
}

QWidget* TallyFrame::addChild(QWidget* w) {
    // The size a screen gave itself, or else the one its layout asks for; never less than it
    // needs to show every field.
    const QSize wanted = (w->testAttribute(Qt::WA_Resized) ? w->size() : w->sizeHint())
                             .expandedTo(w->minimumSizeHint());
    QMdiSubWindow* sub = mdi->addSubWindow(w);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    sub->setProperty(wantedSize, wanted);
    // A screen that closes itself (its Cancel or Exit) takes its window along.
    w->installEventFilter(this);
    connect(sub, &QMdiSubWindow::windowStateChanged, this,
            [this, sub](Qt::WindowStates, Qt::WindowStates now) {
                if (!(now & (Qt::WindowMaximized | Qt::WindowMinimized)) &&
                    !sub->property(placed).toBool())
                    placeChild(sub);
            });
    sub->show();
    w->show();
    placeChild(sub);
    mdi->setActiveSubWindow(sub);
    return w;
}

// The window of a screen takes the screen's size plus its own title bar and border, as far as
// the work area allows, and stands wholly inside the work area.
void TallyFrame::placeChild(QMdiSubWindow* sub) {
    // Before the frame shows, its work area has no size yet: the frame places its first
    // children when it shows. A window opened while the others are maximized is maximized
    // too, and a size given now would draw its screen in the corner under a maximized title.
    if (!isVisible() || sub->isMaximized() || sub->isMinimized())
        return;
    sub->setProperty(placed, true);
    const QSize wanted = sub->property(wantedSize).toSize();
    const QMargins m = sub->contentsMargins();
    const QSize area = mdi->viewport()->size();
    const QSize size = (wanted + QSize(m.left() + m.right(), m.top() + m.bottom())).boundedTo(area);
    sub->resize(size);
    const QPoint at(qBound(0, sub->x(), qMax(0, area.width() - sub->width())),
                    qBound(0, sub->y(), qMax(0, area.height() - sub->height())));
    sub->move(at);
}

QWidget* TallyFrame::openChild(const QString& className) {
    for (QMdiSubWindow* sub : mdi->subWindowList()) {
        if (sub->widget() && sub->widget()->objectName() == className) {
            sub->showNormal();
            mdi->setActiveSubWindow(sub);
            return sub->widget();
        }
    }
    const auto it = factories().find(className);
    if (it == factories().end())
        return nullptr;
    QWidget* w = it->second();
    w->setObjectName(className);
    return addChild(w);
}

void TallyFrame::openBoard() {
    // One board at a time: a double click while it is up does nothing.
    if (board_)
        return;
    board_ = addChild(new frm_ContractInfo);
}

QWidget* TallyFrame::openBackup() {
    return openChild(QStringLiteral("frm_backup"));
}

QWidget* TallyFrame::openCustomize() {
    return openChild(QStringLiteral("Frm_Customize"));
}

QWidget* TallyFrame::openSetup() {
    return openChild(QStringLiteral("frm_setup"));
}

QWidget* TallyFrame::openRateAnalysis() {
    return openChild(QStringLiteral("Frm_RateAnalysis"));
}

QWidget* TallyFrame::openImport(bool exportOnly) {
    // The screen is told its mode whether it was just made or brought forward.
    auto* screen = qobject_cast<Frm_Import*>(openChild(QStringLiteral("Frm_Import")));
    if (screen)
        screen->setImportMode(exportOnly);
    return screen;
}

void TallyFrame::mnuexit_triggered() {
    QMdiSubWindow* sub = mdi->activeSubWindow();
    if (!sub)
        sub = mdi->currentSubWindow();
    if (sub)
        sub->close();
    else
        close();
}

void TallyFrame::mnuUsrGd_triggered() {
    const QString guide = tw::AppFolder::resource(QStringLiteral("docs/user-guide.html"));
    if (guide.isEmpty())
        throw tw::Error(tr("Cannot find the user guide docs/user-guide.html beside the program."));
    for (QMdiSubWindow* sub : mdi->subWindowList()) {
        if (sub->widget() && sub->widget()->objectName() == QLatin1String("UserGuide")) {
            mdi->setActiveSubWindow(sub);
            return;
        }
    }
    auto* view = new QTextBrowser;
    view->setObjectName(QStringLiteral("UserGuide"));
    view->setWindowTitle(tr("User Guide"));
    view->setOpenExternalLinks(false);
    view->setSource(QUrl::fromLocalFile(guide));
    view->setAttribute(Qt::WA_DeleteOnClose);
    view->resize(760, 560);
    addChild(view);
}

void TallyFrame::mnuAbtUs_triggered() {
    frm_AbtUs about(this);
    about.exec();
    if (about.guideWanted)
        mnuUsrGd_triggered();
}

void TallyFrame::mnuwindow_aboutToShow() {
    mnuwindow->clear();
    const auto subs = mdi->subWindowList();
    for (int i = 0; i < subs.size(); ++i) {
        QMdiSubWindow* sub = subs[i];
        QAction* a =
            mnuwindow->addAction(QStringLiteral("&%1 %2").arg(i + 1).arg(sub->windowTitle()));
        a->setCheckable(true);
        a->setChecked(sub == mdi->activeSubWindow());
        connect(a, &QAction::triggered, this, [this, sub] { mdi->setActiveSubWindow(sub); });
    }
}

bool TallyFrame::eventFilter(QObject* watched, QEvent* event) {
    if (watched == mdi->viewport() && event->type() == QEvent::MouseButtonDblClick) {
        ui::guard([this] { openBoard(); });
        return true;
    }
    if (event->type() == QEvent::Hide)
        closeEmptyWindow(qobject_cast<QWidget*>(watched));
    return QMainWindow::eventFilter(watched, event);
}

// A screen hidden by its own hand (closed, or hidden and then deleted) leaves its window
// standing empty; the window goes too. Its window hides it as well when minimized or rolled up,
// or while closing: that is looked at once the hiding is over.
void TallyFrame::closeEmptyWindow(QWidget* screen) {
    auto* sub = screen ? qobject_cast<QMdiSubWindow*>(screen->parentWidget()) : nullptr;
    if (!sub || sub->widget() != screen)
        return;
    QTimer::singleShot(0, sub, [sub, screen = QPointer<QWidget>(screen)] {
        if ((!screen || screen->isHidden()) && sub->isVisible() && !sub->isMinimized() &&
            !sub->isShaded())
            sub->close();
    });
}

void TallyFrame::showEvent(QShowEvent* e) {
    QMainWindow::showEvent(e);
    if (!e->spontaneous())
        for (QMdiSubWindow* sub : mdi->subWindowList())
            placeChild(sub);
}

void TallyFrame::closeEvent(QCloseEvent* e) {
    mdi->closeAllSubWindows();
    con.conclose();
    e->accept();
}
