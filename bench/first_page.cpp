// Times how long after its fill a report's first page is in the viewer's hands, as the report
// screen makes it: first from the report's first rows alone, then (for comparison) from the
// whole report, as it was made before. Also says whether both first pages hold the same text
// above their foot (TW_SHOW_TEXTS=1 lists both pages' texts side by side). Exits 1 when the first
// page takes over a second.
//
//   first_page FOLDER PROJECT [CAPTION [BILL]]
//
// CAPTION is the report type as the report screen lists it (default: "Final Bill - Detailed");
// BILL the bill of a type that takes one. With TW_FIRST_ONLY=1 it ends once the first page is
// shown: the whole of a million-line bill takes minutes more.

#include "core/reports/report_run.h"
#include "core/reports/running_bill.h"
#include "render/paged.h"
#include "render/render.h"
#include "screens/reports/page_recorder.h"
#include "store/store.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPaintEngine>
#include <QPainter>
#include <QPdfWriter>
#include <QTextStream>

using namespace tw;

namespace {

constexpr double goalSeconds = 1;
// As the report screen takes them.
constexpr qsizetype firstRows = 300;

// The texts painted on a page's picture, in order.
QStringList textsOf(const QPicture& page) {
    struct Engine : QPaintEngine {
        Engine() : QPaintEngine(AllFeatures) {}
        bool begin(QPaintDevice*) override { return true; }
        bool end() override { return true; }
        void updateState(const QPaintEngineState&) override {}
        void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}
        void drawPolygon(const QPointF*, int, PolygonDrawMode) override {}
        void drawPath(const QPainterPath&) override {}
        void drawTextItem(const QPointF&, const QTextItem& item) override { texts << item.text(); }
        Type type() const override { return User; }
        QStringList texts;
    };
    struct Device : QPdfWriter {
        Device() : QPdfWriter(QString()) { reports::setUpPage(*this); }
        QPaintEngine* paintEngine() const override { return &engine; }
        mutable Engine engine;
    } device;
    QPainter painter(&device);
    QPicture(page).play(&painter);
    painter.end();
    return device.engine.texts;
}

double seconds(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e9;
}

} // namespace

int main(int argc, char** argv) {
    ConsoleMessenger console;
    QApplication app(argc, argv);
    QTextStream out(stdout);
    if (argc < 3 || argc > 5) {
        QTextStream(stderr) << "usage: first_page FOLDER PROJECT [CAPTION [BILL]]" << Qt::endl;
        return 2;
    }
    AppFolder::set(QString::fromLocal8Bit(argv[1]));
    if (const auto server = Store::configured()) // the folder's twk.cfg names a server
        Store::use(Store::withRole(*server));
    const QString caption =
        argc > 3 ? QString::fromLocal8Bit(argv[3]) : QStringLiteral("Final Bill - Detailed");
    const reports::ReportType* type = reports::findByCaption(caption);
    if (!type) {
        QTextStream(stderr) << "no report type " << caption << Qt::endl;
        return 2;
    }
    reports::RunTables rows(*type, console);
    if (!rows.isOpen())
        return 1;
    reports::ReportRun run;
    run.projectName = QString::fromLocal8Bit(argv[2]);
    if (argc > 4)
        run.bill = QString::fromLocal8Bit(argv[4]);
    reports::readProject(run, rows.con());
    if (type->runningBill)
        reports::LoadDeductions(run, rows.con()); // the bill opening, as on the screen
    QElapsedTimer timer;
    timer.start();
    if (!reports::fill(*type, run, rows.con(), console))
        return 1;
    const double fill = seconds(timer);

    // The report screen's steps: the first look shown, then the whole made; and, as before the
    // first look, the first page of the whole.
    timer.restart();
    std::optional<QPicture> early;
    double first = 0;
    reports::FirstLook look;
    look.rows = firstRows;
    look.show = [&](const QString& html) {
        const auto doc = reports::makeFirstLook(html);
        early = recordFirstPage(*doc, reports::isLandscape(*doc));
        first = seconds(timer);
        if (qEnvironmentVariableIsSet("TW_FIRST_ONLY")) {
            QTextStream(stdout) << "first page " << QString::number(first, 'f', 2)
                                << " s after the fill\n";
            std::exit(first > goalSeconds ? 1 : 0);
        }
    };
    const auto doc = reports::makeDocument(reports::renderHtml(*type, run, rows.con(), &look));
    std::optional<QPicture> whole;
    recordPages(*doc, reports::isLandscape(*doc), [&](QPicture page) {
        whole = std::move(page);
        return false;
    });
    const double before = seconds(timer);
    if (!whole)
        return 1;

    out << caption << ", " << run.projectName << ": fill " << QString::number(fill, 'f', 2)
        << " s; ";
    if (!early) {
        // No first look: the whole report's first page is the first shown.
        first = before;
        out << "first page (of the whole report, made without a first look) "
            << QString::number(first, 'f', 2) << " s after it (goal " << goalSeconds << " s)";
    } else {
        QStringList a = textsOf(*early), b = textsOf(*whole);
        a.removeLast(); // the feet: "Page 1 of ..." against "Page 1 of N"
        b.removeLast();
        if (qEnvironmentVariableIsSet("TW_SHOW_TEXTS"))
            for (qsizetype i = 0; i < std::max(a.size(), b.size()); ++i)
                out << a.value(i) << " | " << b.value(i) << "\n";
        out << "first page " << QString::number(first, 'f', 2) << " s after it (goal "
            << goalSeconds << " s); from the whole report " << QString::number(before, 'f', 2)
            << " s; the same page: " << (a == b ? "yes" : "NO");
    }
    out << Qt::endl;
    return first > goalSeconds ? 1 : 0;
}
