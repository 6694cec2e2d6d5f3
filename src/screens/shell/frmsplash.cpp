#include "screens/shell/frmsplash.h"

#include "store/store.h"

#include <QDir>
#include <QGridLayout>

QIcon productIcon() {
    QIcon icon;
    for (int size : {16, 32, 48, 64, 128, 256})
        icon.addFile(QStringLiteral(":/icons/tallywright-%1.png").arg(size), QSize(size, size));
    return icon;
}

QPixmap productMark() {
    return productIcon().pixmap(96, 96);
}

frmSplash::frmSplash(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("frmSplash"));
    setWindowFlags(Qt::SplashScreen | Qt::FramelessWindowHint);
    setWindowTitle(QStringLiteral("Tallywright"));
    auto* mark = new QLabel(this);
    mark->setPixmap(productMark());
    auto* name = new QLabel(tr("Tallywright"), this);
    QFont f = name->font();
    f.setPointSize(f.pointSize() + 14);
    f.setBold(true);
    name->setFont(f);
    auto* motto = new QLabel(tr("The books of a building contractor, to the paisa."), this);
    File1 = new QListWidget(this);
    File1->setObjectName(QStringLiteral("File1"));
    File1->setMaximumHeight(90);
    Label1 = new QLabel(this);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setMinimumWidth(420);
    Timer1 = new QTimer(this);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    Timer1->setInterval(10);

    auto* grid = new QGridLayout(this);
    grid->addWidget(mark, 0, 0, 2, 1);
    grid->addWidget(name, 0, 1);
    grid->addWidget(motto, 1, 1);
    grid->addWidget(File1, 2, 0, 1, 2);
    grid->addWidget(new QLabel(tr("Loading :"), this), 3, 0);
    grid->addWidget(Label1, 3, 1);

    folder_ = tw::AppFolder::path();
    File1->addItems(QDir(folder_).entryList(QDir::Files, QDir::Name));
    connect(Timer1, &QTimer::timeout, this, &frmSplash::Timer1_timeout);
    Timer1->start();
}

void frmSplash::Timer1_timeout() {
    if (count_ >= File1->count()) {
        Timer1->stop();
        count_ = 0;
        emit finished();
        close();
        return;
    }
    File1->setCurrentRow(count_);
    Label1->setText(folder_ + QLatin1Char('/') + File1->item(count_)->text());
    ++count_;
}

void frmSplash::mouseDoubleClickEvent(QMouseEvent*) {
    Timer1->stop();
    emit cancelled();
}
