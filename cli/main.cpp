#include "cli.h"

#include <QGuiApplication>

int main(int argc, char** argv) {
    // Reports are drawn with Qt Gui, which needs a platform; a terminal has no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    return cli::run(args, out, err);
}
