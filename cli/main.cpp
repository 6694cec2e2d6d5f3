#include "cli.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>

#include <unistd.h>

int main(int argc, char** argv) {
    // Reports are drawn with Qt Gui, which needs a platform; a terminal has no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // A terminal without a desktop session has no runtime folder; the toolkit then makes one in
    // the temporary folder and warns about it on every run. Making it here, owner-only as the
    // toolkit would, keeps the output to what the command says.
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        const QString dir = QDir::temp().filePath(QStringLiteral("runtime-%1").arg(::getuid()));
        if (QDir().mkpath(dir) &&
            QFile::setPermissions(dir, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                           QFileDevice::ExeOwner) &&
            QFileInfo(dir).ownerId() == ::getuid())
            qputenv("XDG_RUNTIME_DIR", QFile::encodeName(dir));
    }
    QGuiApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    return cli::run(args, out, err);
}
