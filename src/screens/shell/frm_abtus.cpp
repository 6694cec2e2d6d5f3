#include "screens/shell/frm_abtus.h"

#include "screens/shell/frmsplash.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

frm_AbtUs::frm_AbtUs(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frm_AbtUs"));
    setWindowTitle(tr("About Us"));
    auto* mark = new QLabel(this);
    mark->setObjectName(QStringLiteral("imgMark"));
    mark->setPixmap(productMark());
    auto* name = new QLabel(tr("<h2>Tallywright %1</h2>").arg(QStringLiteral(TW_VERSION)), this);
    auto* words =
        new QLabel(tr("Tallywright keeps the books of a building contractor: projects and clients, "
                      "schedules of work with unit rates, site measurements, steel, rate analysis, "
                      "estimates, running bills, deductions, tax deducted at source and payments."),
                   this);
    words->setWordWrap(true);
    auto* team = new QLabel(tr("<b>The team</b><br>The Tallywright founding engineers"), this);
    auto* link = new QLabel(
        tr("<a href=\"#guide\">User guide</a>: how to use every screen and report"), this);
    link->setObjectName(QStringLiteral("lnkSite"));
    link->setTextInteractionFlags(Qt::TextBrowserInteraction);
    connect(link, &QLabel::linkActivated, this, [this] {
        guideWanted = true;
        accept();
    });
    auto* ok = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(ok, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* box = new QVBoxLayout(this);
    for (QWidget* w :
         {static_cast<QWidget*>(mark), static_cast<QWidget*>(name), static_cast<QWidget*>(words),
          static_cast<QWidget*>(team), static_cast<QWidget*>(link), static_cast<QWidget*>(ok)})
        box->addWidget(w);
    setFixedWidth(420);
}
