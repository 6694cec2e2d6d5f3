#include "shell/tallyframe.h"

#include "shell/frm_abtus.h"
#include "shell/frm_contractinfo.h"
#include "shell/screens.h"
#include "ui/kit.h"
#include "ui/screen.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMouseEvent>
#include <QTextBrowser>
#include <QUrl>

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
    setCentralWidget(mdi);

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
    connect(exit, &QAction::triggered, this, [this] { mnuexit_clicked(); });

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
    connect(import, &QAction::triggered, this, ui::guarded([this] {
                tw::Tallywrightmod::importmode = false;
                openChild(QStringLiteral("Frm_Import"));
            }));
    tools->addSeparator()->setObjectName(QStringLiteral("mnubar14"));
    entry(tools, "setup", tr("Set Up"), QStringLiteral("frm_setup"));

    mnuwindow = bar->addMenu(tr("&Window"));
    mnuwindow->setObjectName(QStringLiteral("mnuwindow"));
    connect(mnuwindow, &QMenu::aboutToShow, this, &TallyFrame::fillWindowMenu);

    mnuhlp = bar->addMenu(tr("Help"));
    mnuhlp->setObjectName(QStringLiteral("mnuhlp"));
    connect(entry(mnuhlp, "mnuUsrGd", tr("User Guide")), &QAction::triggered, this,
            ui::guarded([this] { mnuUsrGd_clicked(); }));
    connect(entry(mnuhlp, "mnuAbtUs", tr("About Us")), &QAction::triggered, this,
            ui::guarded([this] { mnuAbtUs_clicked(); }));

    // Not on the menu bar: the rate analysis list pops it up.
    mnurtanl = new QMenu(tr("RateAnalysis"), this);
    mnurtanl->setObjectName(QStringLiteral("mnurtanl"));
    mnurtedt = mnurtanl->addAction(tr("Edit"));
    mnurtedt->setObjectName(QStringLiteral("mnurtedt"));

    ui::setScreenOpener([this](const QString& name) { openChild(name); });
    resize(1100, 760);

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
    QMdiSubWindow* sub = mdi->addSubWindow(w);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    sub->setWindowIcon(QIcon());
    sub->show();
    w->show();
    mdi->setActiveSubWindow(sub);
    return w;
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
    if (tw::Tallywrightmod::boardopen)
        return;
    addChild(new frm_ContractInfo);
}

void TallyFrame::mnuexit_clicked() {
    QMdiSubWindow* sub = mdi->activeSubWindow();
    if (!sub)
        sub = mdi->currentSubWindow();
    if (sub)
        sub->close();
    else
        close();
}

void TallyFrame::mnuUsrGd_clicked() {
    const QString guide = tw::AppFolder::file(QStringLiteral("docs/user-guide.html"));
    if (!QFile::exists(guide))
        throw tw::Error(tr("Cannot find the user guide %1").arg(guide));
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
    addChild(view)->resize(760, 560);
}

void TallyFrame::mnuAbtUs_clicked() {
    frm_AbtUs about(this);
    about.exec();
}

void TallyFrame::fillWindowMenu() {
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
    return QMainWindow::eventFilter(watched, event);
}

void TallyFrame::closeEvent(QCloseEvent* e) {
    mdi->closeAllSubWindows();
    con.conclose();
    e->accept();
}
