#include "cli.h"
#include "core/schedules/workbook.h"
#include "render/figures.h"
#include "render/paged.h"
#include "render/render.h"
#include "screens/reports/frm_reports.h"
#include "screens/reports/page_recorder.h"
#include "support/fixtures.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QGlyphRun>
#include <QPaintEngine>
#include <QPdfWriter>
#include <QProgressDialog>
#include <QTest>
#include <QTextLayout>
#include <QThread>
#include <QTimer>

using namespace tw;
using namespace tw::reports;

namespace {

// A rendered report as a reader sees it: its text, one trimmed line per paragraph or cell.
QString readable(const QString& html) {
    QStringList lines;
    for (const QString& l : makeDocument(html)->toPlainText().split(u'\n'))
        if (!l.simplified().isEmpty())
            lines << l.simplified();
    return lines.join(u'\n') + u'\n';
}

QString expected(const QString& name) {
    QFile f(QStringLiteral(TW_TEST_DATA "/reports/%1.txt").arg(name));
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << f.fileName().toStdString();
    return QString::fromUtf8(f.readAll());
}

class Render : public twtest::AppFolderTest {
protected:
    void SetUp() override {
        AppFolderTest::SetUp();
        run.ReportOrgName = "Shree Ganesh Constructions";
        run.projectName = "Hill View";
        run.contract_num = "HV-1";
        run.units_text = "Feet";
        run.bill = "RA-1";
    }
    // One measurement line of dummy_estimation as the fill leaves it; `net` is the net pass's
    // netqty, net_amt, ewp_amt, wws_amt (empty for the detailed family), the shares kept as the
    // "##.##" text they are printed as.
    void line(int group, const char* sch, const char* desc, double rate, const char* unit,
              const char* narration, QVariantList dims, double area, bool deduction,
              QVariantList net = {}) {
        Values v{{"tw_recordkey", group},
                 {"tw_sch_num", sch},
                 {"tw_item_desc", desc},
                 {"tw_itemrate", rate},
                 {"tw_unit", unit},
                 {"tw_quantity", 1},
                 {"tw_cal_Area", area},
                 {"tw_units", "Feet"},
                 {"Shape", "rectangle_area"},
                 {"units_label", "Sq"},
                 {"tw_deduction", deduction},
                 {"test", deduction ? "Deduction" : "NoDeduction"},
                 {deduction ? "Damt" : "ndamt", area},
                 {deduction ? "tw_item_narration_d" : "tw_item_narration", narration}};
        for (int i = 0; i < dims.size(); ++i)
            v.push_back({QString(i % 2 ? "tw_dim%1_inches" : "tw_dim%1").arg(i / 2 + 1), dims[i]});
        const char* figures[] = {"netqty", "net_amt", "ewp_amt", "wws_amt"};
        for (int i = 0; i < net.size(); ++i)
            v.push_back({figures[i], net[i]});
        db().insert("dummy_estimation", v);
    }
    void estimate(bool withNetPass) {
        const auto net = [&](QVariantList v) { return withNetPass ? v : QVariantList(); };
        line(7, "1.1", "Brick work in walls", 250, "10", "North wall", {10, 6, 9, 0}, 94.5, false,
             net({94.5, 2362.5, "354.38", "354.38"}));
        line(7, "1.1", "Brick work in walls", 250, "10", "Door D1", {3, 0, 7, 0}, 21, true,
             net({73.5, 1837.5, "275.63", "275.63"}));
        line(8, "2.1", "Ceiling plaster", 12.5, "1", "Hall ceiling", {12, 0, 10, 0}, 120, false,
             net({120, 1500, "225.", "225."}));
    }
    QString render(const char* caption) {
        return readable(renderHtml(*findByCaption(QString::fromLatin1(caption)), run, db()));
    }
    ReportRun run;
};

} // namespace

TEST(Figures, MoneyQuantitiesLengthsAndWords) {
    const struct {
        QString got, want;
    } cases[] = {
        {money(12345678), "1,23,45,678.00"},
        {money(100000), "1,00,000.00"},
        {money(-1234.5), "-1,234.50"},
        {money(999.994), "999.99"},
        {money(0), "0.00"},
        {quantity(12.5), "12.50"},
        {quantity(-2), "-2.00"},
        {dimensionText(10, 6, true), "10' 6\""},
        {dimensionText(10, 5, false), "10.50"},
        {dimensionText(10, 125, false), "10.125"},
        {dimensionText(0, 0, true), ""},
        {barLengthText(10, 50, false), "10.50"},
        {amountInWords(12345678.5),
         "Rupees One Crore Twenty-Three Lakh Forty-Five Thousand Six Hundred Seventy-Eight and "
         "Paise Fifty Only"},
        {amountInWords(123456.78), "Rupees One Lakh Twenty-Three Thousand Four Hundred Fifty-Six "
                                   "and Paise Seventy-Eight Only"},
        {amountInWords(1000000000), "Rupees One Hundred Crore Only"},
        {amountInWords(0.07), "Rupees Zero and Paise Seven Only"},
        {amountInWords(-15), "Rupees Minus Fifteen Only"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want);
}

// Each family of layouts on a small working table, as a reader would read the page.
TEST_F(Render, LayoutsShowTheWorkingTable) {
    estimate(false);
    EXPECT_EQ(render("Detailed Estimate"), expected("detailed"));
    db().exec("delete from dummy_estimation");
    estimate(true);
    run.ewp = "15";
    run.wws = "15";
    EXPECT_EQ(render("Abstract Estimate"), expected("abstract"));
    // The final bill closes on the gross value of every line, with nothing taken off.
    EXPECT_TRUE(render("Final Bill - Detailed")
                    .contains("Value of work measured: Rs. 3,337.50 (Rupees Three Thousand Three "
                              "Hundred Thirty-Seven and Paise Fifty Only)"));

    const auto bar = [&](const char* narration, const char* dia, int bars, double ft, double in,
                         double total, double weight) {
        db().insert("dummy_reinforcement_report", {{"tw_narration", narration},
                                                   {"tw_diameter", dia},
                                                   {"tw_length_qty", bars},
                                                   {"tw_length_ft", ft},
                                                   {"tw_length_inches", in},
                                                   {"tw_total_length", total},
                                                   {"tw_units", "Feet"},
                                                   {"tw_weight_per_unit", weight}});
    };
    bar("Footing bars", "12", 10, 10, 0, 100, 0.271);
    bar("Column ties", "8", 40, 4, 0, 160, 0.12);
    bar("Lintel bars", "12", 6, 10, 0, 60, 0.271);
    EXPECT_EQ(render("Reinforcement Report"), expected("reinforcement"));
    // Bars that print 33.88, 19.24 and 7.80 weigh 60.92 in all (60.914999999999999 as added).
    db().exec("delete from dummy_reinforcement_report");
    bar("Footing bars", "12", 10, 12, 6, 125, 0.271);
    bar("Column bars", "10", 4, 10, 0, 40, 0.481);
    bar("Column ties", "8", 65, 1, 0, 65, 0.12);
    const QString steel = render("Reinforcement Report");
    for (const char* figure : {"\n33.88\n", "\n19.24\n", "\n7.80\n",
                               "Total weight of steel\n60.92\n", "\nTotal\n60.92\n"})
        EXPECT_TRUE(steel.contains(figure)) << figure;

    for (const auto& [sch, desc, rate, label] : {std::tuple{"1.1", "Brick work", 2925.0, "Cu ft"},
                                                 std::tuple{"2.1", "Plaster", 12345678.0, "Sq ft"}})
        db().insert("dummy_sch_report", {{"tw_contract_num", "HV-1"},
                                         {"tw_sch_num", sch},
                                         {"tw_item_desc", desc},
                                         {"tw_item_rate", rate},
                                         {"tw_units", "Feet"},
                                         {"tw_unit_lable", label}});
    EXPECT_EQ(render("Contract / Schedule"), expected("schedule"));
}

// Names in any script print: the font reports are set in, with those the system falls back on,
// has a glyph for every character of a name in Devanagari, Tamil or Arabic. A character no font
// holds is drawn as an empty box, by a stand-in font without a character map, or as glyph 0.
TEST(Paging, NamesInAnyScriptHaveTheirGlyphs) {
    const auto doc = makeDocument("<p>Project</p>");
    QPdfWriter pdf(QDir::temp().filePath("tw-scripts.pdf"));
    setUpPage(pdf);
    for (const QString name : {"विद्यालय भवन", "பள்ளி கட்டிடம்", "مبنى المدرسة"}) {
        QTextLayout layout(name, doc->defaultFont(), &pdf);
        layout.beginLayout();
        layout.createLine();
        layout.endLayout();
        const auto runs = layout.glyphRuns();
        EXPECT_FALSE(runs.isEmpty()) << name.toStdString();
        for (const QGlyphRun& glyphs : runs)
            EXPECT_TRUE(!glyphs.rawFont().fontTable("cmap").isEmpty() &&
                        !glyphs.glyphIndexes().contains(0))
                << name.toStdString();
    }
}

// The rows section is written a row at a time: a row still finds the report's own names, its
// tags on lines of their own leave no lines behind (with either line end, also after rows of
// megabytes), a nested section of an item keeps its own rows, and no rows at all is an empty
// list.
TEST_F(Render, RowsAreWrittenOneAtATime) {
    const QString dir = QDir(folder()).filePath("layouts");
    QDir().mkpath(dir);
    const struct {
        const char* layout;
        const char* text;
        bool lines;
        const char* want;
        int wide = 0; // letters of param1
    } cases[] = {
        {"Lf",
         "<p>\n{{#rows}}\n{{serial}}.{{line}} {{#feet}}{{whole_unit}}{{/feet}} {{project}}\n"
         "{{/rows}}\n</p>\n",
         true, "<p>\n1.1 ft Hill View\n1.2 ft Hill View\n2.1 ft Hill View\n</p>\n"},
        {"Crlf", "{{#rows}}\r\n{{narration}}\r\n{{/rows}}\r\nend", true,
         "North wall\r\nDoor D1\r\nHall ceiling\r\nend"},
        {"Inline", "[{{#rows}}{{line}}{{/rows}}]", true, "[121]"},
        {"Groups", "{{#groups}}{{serial}}:{{#rows}}{{line}}{{/rows}};{{/groups}}", true,
         "1:12;2:1;"},
        {"NoRows", "{{#rows}}{{line}}{{/rows}}{{^rows}}none{{/rows}}", false, "none"},
        {"Wide", "{{#rows}}\r\n{{param1}}{{line}}\r\n{{/rows}}\r\nend", true,
         "@1\r\n@2\r\n@1\r\nend", 700000},
    };
    for (const auto& c : cases) {
        QFile layout(dir + "/" + c.layout + ".html");
        ASSERT_TRUE(layout.open(QIODevice::WriteOnly));
        layout.write(c.text);
        layout.close();
        db().exec("delete from dummy_estimation");
        if (c.lines)
            estimate(false);
        const QString wide(c.wide, u'w');
        EXPECT_EQ(
            renderHtml({c.layout, "dummy_estimation", c.wide ? QVariantList{wide} : QVariantList{},
                        &run, Context::Estimate},
                       db()),
            QString::fromUtf8(c.want).replace(u'@', wide))
            << c.layout;
    }
}

// A long table's rows are read a slice at a time: each is written once, in its order.
TEST_F(Render, EveryRowOfALongTableIsWrittenOnceInItsOrder) {
    const QString dir = QDir(folder()).filePath("layouts");
    QDir().mkpath(dir);
    QFile layout(dir + "/Lines.html");
    ASSERT_TRUE(layout.open(QIODevice::WriteOnly));
    layout.write("{{#rows}}{{line}}:{{narration}};{{/rows}}");
    layout.close();
    constexpr int lines = 9000;
    db().exec(QStringLiteral(
                  "with recursive n(i) as (select 1 union all select i + 1 from n where i < %1) "
                  "insert into dummy_estimation (tw_recordkey, tw_sch_num, tw_item_desc, "
                  "tw_itemrate, tw_unit, tw_quantity, tw_cal_Area, tw_units, tw_deduction, "
                  "tw_item_narration) select 7, '1.1', 'Brick work', 250, '10', 1, i, 'Feet', 0, "
                  "'Wall ' || i from n")
                  .arg(lines));
    QString want;
    for (int i = 1; i <= lines; ++i)
        want += QStringLiteral("%1:Wall %1;").arg(i);
    EXPECT_EQ(renderHtml({"Lines", "dummy_estimation", {}, &run, Context::Estimate}, db()), want);
}

// A first look at a long report holds its first rows, and of the rest those with a column's
// widest figure or text, the highest serial and line number: its columns are as wide as the
// whole report's. Its sums and counts are of every row; a short report has none.
TEST_F(Render, AFirstLookHoldsTheFirstRowsAndTheWidestWithSumsOfAll) {
    const QString dir = QDir(folder()).filePath("layouts");
    QDir().mkpath(dir);
    QFile layout(dir + "/Look.html");
    ASSERT_TRUE(layout.open(QIODevice::WriteOnly));
    layout.write("{{#rows}}{{serial}}/{{line}} {{tw_item_narration}};{{/rows}}"
                 "|{{row_count}}|{{#totals}}{{tw_cal_Area}}{{/totals}}");
    layout.close();
    // Items of 10, 890 and 100 lines; the highest figure on line 500, the lowest on 700, the
    // longest narration on 800, the only deduction on 600 (its figure printed with a minus).
    db().exec("with recursive n(i) as (select 1 union all select i + 1 from n where i < 1000) "
              "insert into dummy_estimation (tw_recordkey, tw_sch_num, tw_item_desc, "
              "tw_itemrate, tw_unit, tw_quantity, tw_cal_Area, tw_units, tw_deduction, "
              "tw_item_narration, test, Damt) select case when i <= 10 then 1 when i <= 900 "
              "then 2 else 3 end, '1.1', 'Brick work', 250, '10', 1, case i when 500 then "
              "99999.5 when 700 then -5 else i end, 'Feet', 0, case i when 800 then 'Wall 800 "
              "by the long side' else 'Wall ' || i end, case i when 600 then 'Deduction' else "
              "'NoDeduction' end, case i when 600 then 600 end from n");
    const ReportInput in{"Look", "dummy_estimation", {}, &run, Context::Estimate};
    std::vector<QString> looks;
    FirstLook look{20, [&](const QString& html) { looks.push_back(html); }};
    const QString whole = renderHtml(in, db(), &look);
    ASSERT_EQ(looks.size(), 1u);
    const auto line = [](int i) {
        const int serial = i <= 10 ? 1 : i <= 900 ? 2 : 3;
        const int first = serial == 1 ? 1 : serial == 2 ? 11 : 901;
        return QString("%1/%2 Wall %3;").arg(serial).arg(i - first + 1).arg(i);
    };
    QString want, all;
    for (int i = 1; i <= 1000; ++i) {
        QString text = line(i);
        if (i == 800)
            text.replace("Wall 800", "Wall 800 by the long side");
        all += text;
        if (i <= 20 || i == 500 || i == 600 || i == 700 || i == 800 || i == 900 || i == 901 ||
            i == 1000)
            want += text;
    }
    const QString sums = "|1000|599294.5";
    EXPECT_EQ(looks.front(), want + sums);
    EXPECT_EQ(whole, all + sums);

    // No more rows than the look holds: the whole report alone.
    looks.clear();
    look.rows = 1000;
    EXPECT_EQ(renderHtml(in, db(), &look), all + sums);
    EXPECT_TRUE(looks.empty());

    // A run cancelled while the rows are written stops there; the next writes them all.
    int asked = 0;
    EXPECT_THROW(renderHtml(in, db(), nullptr, [&] { return ++asked < 2; }), Cancelled);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(renderHtml(in, db(), nullptr, [] { return true; }), all + sums);

    // Nor is there a look of a layout that writes no rows section.
    QFile grouped(dir + "/Grouped.html");
    ASSERT_TRUE(grouped.open(QIODevice::WriteOnly));
    grouped.write("{{#groups}}{{serial}};{{/groups}}|{{row_count}}");
    grouped.close();
    look.rows = 20;
    EXPECT_EQ(renderHtml({"Grouped", "dummy_estimation", {}, &run, Context::Estimate}, db(), &look),
              "1;2;3;|1000");
    EXPECT_TRUE(looks.empty());
}

TEST_F(Render, AMissingOrBrokenLayoutIsNamed) {
    const QString dir = QDir(folder()).filePath("layouts");
    QDir().mkpath(dir);
    for (const auto& [name, text] : {std::pair{"Broken", "<p>{{#rows}}never closed</p>"},
                                     std::pair{"UsesPartial", "{{> _nowhere}}"}}) {
        QFile layout(dir + "/" + name + ".html");
        ASSERT_TRUE(layout.open(QIODevice::WriteOnly));
        layout.write(text);
    }
    const struct {
        const char* layout;
        QString named;
    } cases[] = {{"NoSuchLayout", dir + "/NoSuchLayout.html"},
                 {"Broken", dir + "/Broken.html"},
                 {"UsesPartial", dir + "/_nowhere.html"}};
    for (const auto& c : cases) {
        try {
            renderHtml({c.layout, "dummy_estimation", {}, &run}, db());
            ADD_FAILURE() << c.layout;
        } catch (const Error& e) {
            EXPECT_TRUE(e.text().contains(QDir::toNativeSeparators(c.named))) << e.what();
        }
    }
}

namespace {

// A page as printed: each text with where its line starts and how wide it is.
struct Text {
    QString text;
    QPointF at;
    qreal width;
};

// A printer that keeps the texts painted on each page instead of writing them.
class TextPages : public QPdfWriter {
public:
    TextPages() : QPdfWriter(QString()) { setUpPage(*this); }
    bool newPage() override {
        pages.emplace_back();
        return true;
    }
    std::vector<std::vector<Text>> pages{1};
    std::vector<QSize> pictures; // as drawn, by their size

protected:
    QPaintEngine* paintEngine() const override { return &engine_; }

private:
    struct Engine : QPaintEngine {
        explicit Engine(TextPages& to) : QPaintEngine(AllFeatures), to(to) {}
        bool begin(QPaintDevice*) override { return true; }
        bool end() override { return true; }
        void updateState(const QPaintEngineState& s) override {
            if (s.state() & DirtyTransform)
                transform = s.transform();
        }
        void drawPixmap(const QRectF&, const QPixmap& pm, const QRectF&) override {
            to.pictures.push_back(pm.size());
        }
        void drawPolygon(const QPointF*, int, PolygonDrawMode) override {}
        void drawPath(const QPainterPath&) override {}
        void drawTextItem(const QPointF& p, const QTextItem& item) override {
            to.pages.back().push_back({item.text(), transform.map(p), item.width()});
        }
        Type type() const override { return User; }
        TextPages& to;
        QTransform transform;
    };
    mutable Engine engine_{*const_cast<TextPages*>(this)};
};

} // namespace

// A layout shows pictures from the layouts folders or written into it, of at most 10 MB; any
// other file it names is left out unread, and told once.
TEST_F(Render, ALayoutShowsOnlyItsOwnPictures) {
    const QDir layouts(QDir(folder()).filePath("layouts"));
    QDir().mkpath(layouts.path());
    QImage picture(4, 4, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(layouts.filePath("logo.png")));
    ASSERT_TRUE(picture.save(QDir(folder()).filePath("outside.png")));
    QFile::link(QDir(folder()).filePath("outside.png"), layouts.filePath("link.png"));
    QFile big(layouts.filePath("big.png"));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly) && big.resize(kLargestPicture + 1));
    QByteArray png;
    QBuffer buffer(&png);
    picture.save(&buffer, "PNG");
    const struct {
        QString src;
        bool shown;
    } cases[] = {{"logo.png", true},
                 {layouts.filePath("logo.png"), true},
                 {"data:image/png;base64," + png.toBase64(), true},
                 {QDir(folder()).filePath("outside.png"), false},
                 {"../outside.png", false},
                 {layouts.filePath("link.png"), false},
                 {layouts.filePath("big.png"), false}};
    QString html;
    for (const auto& c : cases)
        html += "<p><img src=\"" + c.src + "\"></p>";
    const auto doc = makeDocument(html, &twtest::scripted());
    TextPages printer;
    printDocument(*doc, printer);
    // The red square drawn from the layouts folder and from the layout; in place of the rest, a
    // pixel of nothing.
    const std::vector<QSize> drawn{{4, 4}, {4, 4}, {4, 4}, {1, 1}, {1, 1}, {1, 1}, {1, 1}};
    EXPECT_EQ(printer.pictures, drawn);
    ASSERT_EQ(twtest::messages().shown.size(), 1u);
    for (const auto& c : cases)
        EXPECT_EQ(twtest::messages().shown[0].text.contains(c.src), !c.shown);
}

// A table of many pages, laid out by this printing (one heading row, or two with a cell over
// both) or by Qt (a table with borders): every line once and in order, the heading on every
// page the table runs onto, a figure that may not wrap widening its column instead of running
// into the next, and the text under the table after its last line. Its rows are read in runs,
// not held all at once, and stand on the pages as when read at once (as after a comment): also
// when a figure far down widens its column and the lines above wrap elsewhere, and when the
// table is long enough that its later runs are read again for each pass.
TEST(Paging, LongTablesRunOverPagesWithTheirHeading) {
    const char* oneHeading = "<tr><th width=\"8%\">Amount</th><th width=\"92%\">Item</th></tr>";
    const struct {
        const char *name, *table, *heading;
        int count = 1100, wideAt = 0;
    } cases[] = {
        {"plain", "border=\"0\"", oneHeading},
        {"two heading rows", "border=\"0\"",
         "<tr><th width=\"8%\" rowspan=\"2\">Amount</th><th width=\"92%\">Item</th></tr>"
         "<tr><th>of the bill</th></tr>"},
        {"left to Qt", "border=\"1\"", oneHeading},
        {"widened far down", "border=\"0\"", oneHeading, 1100, 450},
        {"read again", "border=\"0\"", oneHeading, 20500, 0},
    };
    for (const auto& c : cases) {
        const int count = c.count;
        QStringList lines;
        for (int i = 1; i <= count; ++i)
            lines << (c.wideAt
                          ? QString("Line %1%2")
                                .arg(i)
                                .arg(QString(" of the bill measured at the site").repeated(i % 9))
                          : QString("Line %1").arg(i));
        QString html = QString("<html><head><title>Long</title><style>td.n { white-space: nowrap; }"
                               "</style></head><body><p>Opening words</p>"
                               "<table width=\"100%\" cellspacing=\"0\" cellpadding=\"3\" %1>"
                               "<thead>%2</thead>")
                           .arg(c.table, c.heading);
        for (int i = 1; i <= count; ++i)
            html += QString("<tr><td class=\"n\">%1</td><td>%2</td></tr>")
                        .arg(money(i == c.wideAt ? 1e15 : i * 1234567.25), lines[i - 1]);
        html += "</table><p>Closing words</p></body></html>";
        EXPECT_FALSE(makeDocument(html)->toPlainText().contains(lines.last())) << c.name;
        TextPages printer, atOnce;
        const int pages = printDocument(*makeDocument(html), printer);
        printDocument(*makeDocument(QString(html).replace("<body>", "<body><!-- -->")), atOnce);
        ASSERT_EQ(atOnce.pages.size(), printer.pages.size()) << c.name;
        for (size_t p = 0; p < printer.pages.size(); ++p) {
            const auto& a = printer.pages[p];
            const auto& b = atOnce.pages[p];
            EXPECT_TRUE(std::equal(a.begin(), a.end(), b.begin(), b.end(),
                                   [](const Text& x, const Text& y) {
                                       return x.text == y.text && x.at == y.at &&
                                              x.width == y.width;
                                   }))
                << c.name << " page " << p + 1;
        }
        ASSERT_EQ(size_t(pages), printer.pages.size()) << c.name;
        EXPECT_GT(pages, 4) << c.name;
        QStringList all;
        for (int p = 0; p < pages; ++p) {
            const auto& texts = printer.pages[size_t(p)];
            QStringList onPage;
            for (const Text& t : texts)
                onPage << t.text;
            EXPECT_EQ(onPage.last(), QString("Page %1 of %2").arg(p + 1).arg(pages)) << c.name;
            if (!onPage.filter(QRegularExpression("^Line ")).isEmpty()) {
                EXPECT_TRUE(onPage.contains("Item")) << c.name << " page " << p + 1;
            }
            all += onPage;
            // Texts on one line of the page stand apart.
            for (const Text& a : texts) {
                for (const Text& b : texts) {
                    if (&a != &b && qAbs(a.at.y() - b.at.y()) < 1 && a.at.x() < b.at.x()) {
                        EXPECT_LE(a.at.x() + a.width, b.at.x() + 1)
                            << c.name << ": " << a.text.toStdString() << " runs into "
                            << b.text.toStdString();
                    }
                }
            }
        }
        if (!c.wideAt) {
            EXPECT_EQ(all.filter(QRegularExpression("^Line ")), lines) << c.name;
        }
        EXPECT_EQ(all.count("Closing words"), 1) << c.name;
        EXPECT_GT(all.indexOf("Closing words"), all.indexOf(lines.last())) << c.name;
    }
}

// The viewer shows the pages that Save as PDF writes, however long the report (text measured at
// another resolution wraps and stacks otherwise), upright or, for a layout that asks, across.
// A run cancelled while its long report is laid out stops there, before any page is made, and
// the document is laid out whole the next time.
TEST(Paging, ALayoutStopsWhenItsRunIsCancelled) {
    QString html = "<html><body><table width=\"100%\" border=\"0\"><thead><tr><th "
                   "width=\"100%\">Item</th></tr></thead>";
    for (int i = 1; i <= 700; ++i)
        html += QString("<tr><td>Line %1<br>of the bill</td></tr>").arg(i);
    html += "</table></body></html>";
    const auto doc = makeDocument(html);
    int asked = 0, pages = 0;
    EXPECT_FALSE(recordPages(
        *doc, false,
        [&](QPicture) {
            ++pages;
            return true;
        },
        [&] { return ++asked < 3; }));
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(pages, 0);
    EXPECT_TRUE(recordPages(*doc, false, [&](QPicture) {
        ++pages;
        return true;
    }));
    EXPECT_EQ(pages, writePdf(*makeDocument(html), QDir::temp().filePath("tw-stopped.pdf")));
    QFile::remove(QDir::temp().filePath("tw-stopped.pdf"));
}

TEST(Paging, TheViewerShowsThePagesOfTheSavedPdf) {
    for (const bool across : {false, true}) {
        QString html = QString("<html><head>%1</head><body><table width=\"100%\" border=\"0\">"
                               "<thead><tr><th width=\"100%\">Item</th></tr></thead>")
                           .arg(across ? "<meta name=\"orientation\" content=\"landscape\">" : "");
        for (int i = 1; i <= 700; ++i)
            html += QString("<tr><td>Line %1<br>of the bill<br>and its words</td></tr>").arg(i);
        html += "</table></body></html>";
        RptView view;
        view.show();
        view.setReport(makeDocument(html), "x.pdf");
        const QString path = QDir::temp().filePath("tw-pages.pdf");
        EXPECT_EQ(view.pageCount(), writePdf(*makeDocument(html), path)) << across;
        EXPECT_EQ(view.orientation(), across ? QPageLayout::Landscape : QPageLayout::Portrait);
        // Saved from the viewer, the report is laid out on a thread of its own: the window goes
        // on answering meanwhile, and has the report back for the next Print or Save.
        QFile::remove(path);
        RptView::setFileChooser([&](QWidget*, const QString&) { return path; });
        bool saving = true, answered = false;
        QTimer::singleShot(0, [&] { answered = saving; });
        view.cmdSavePdf->click();
        saving = false;
        RptView::setFileChooser({});
        EXPECT_TRUE(answered) << across;
        EXPECT_EQ(view.document()->thread(), QThread::currentThread());
        QFile saved(path);
        ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
        EXPECT_EQ(saved.readAll().count("/Type /Page\n"), view.pageCount());
        saved.close();
        QFile::remove(path);

        // Cancelled in the dialog that counts the pages of a long one, by its Cancel or by
        // Escape: nothing is written, and the report is back for the next Save.
        RptView::setFileChooser([&](QWidget*, const QString&) { return path; });
        for (const bool escape : {false, true}) {
            QTimer::singleShot(0, [&] {
                auto* counting = view.findChild<QProgressDialog*>();
                if (!counting)
                    return;
                if (escape)
                    QTest::keyClick(counting, Qt::Key_Escape);
                else if (auto* cancel = counting->findChild<QPushButton*>())
                    cancel->click();
            });
            view.cmdSavePdf->click();
            EXPECT_FALSE(QFile::exists(path)) << across << escape;
            EXPECT_EQ(view.document()->thread(), QThread::currentThread());
            EXPECT_TRUE(
                QDir(QFileInfo(path).absolutePath())
                    .entryList({QFileInfo(path).fileName() + "*"}, QDir::Files | QDir::Hidden)
                    .isEmpty());
        }
        view.cmdSavePdf->click();
        RptView::setFileChooser({});
        EXPECT_TRUE(QFile::exists(path)) << across;
        QFile::remove(path);
    }
}

namespace {

// The report screen on a project with one measured bill and one of steel.
class Screen : public twtest::ScreenTest<Frm_Reports> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().insert(
            "ContractMaster",
            {{"tw_contract_num", "HV-1"}, {"tw_contract_name", "Hill View"}, {"tw_units", "Feet"}});
        db().insert("ContractMaster", {{"tw_contract_num", "EM-2"},
                                       {"tw_contract_name", "Empty Plot"},
                                       {"tw_units", "Metre"}});
        db().insert("Sch_master", {{"tw_contract_num", "HV-1"},
                                   {"tw_sch_num", "1.1"},
                                   {"tw_item_desc", "Brick work"},
                                   {"tw_item_rate", 250},
                                   {"tw_unit", "10"},
                                   {"tw_category_name", "Brick"}});
        db().insert("CategoryList_Feet",
                    {{"tw_category_name", "Brick"}, {"tw_unit_lable", "Cu ft"}});
        db().insert("BillMaster", {{"tw_contract_num", "HV-1"},
                                   {"tw_bill_num", "RA-1"},
                                   {"tw_sch_num", "1.1"},
                                   {"tw_item_narration", "North wall"},
                                   {"tw_dim1", 10},
                                   {"tw_dim2", 9},
                                   {"tw_cal_Area", 90},
                                   {"tw_Shape", "rectangle_area"},
                                   {"tw_deduction", 0},
                                   {"tw_quantity", 1}});
        open();
        screen->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(screen.get()));
    }
    void choose(const char* type, const char* project = nullptr, const char* bill = nullptr) {
        twtest::pick(screen->TypeofReport, type);
        if (project)
            twtest::pick(screen->CmbdetCnum, project);
        if (bill)
            twtest::pick(screen->CmbBillnum, bill);
    }
    bool shown(QWidget* w) const { return w->isVisibleTo(screen.get()); }
    void generate() {
        click("Command4");
        EXPECT_TRUE(twtest::waitUntil([&] { return !screen->running(); }));
    }
};

} // namespace

TEST_F(Screen, EachTypeAsksForWhatItNeeds) {
    choose("Project Info.", "Hill View");
    EXPECT_FALSE(shown(screen->CmbBillnum));
    EXPECT_TRUE(screen->Command4->isEnabled());

    choose("Bills Raised Report");
    EXPECT_TRUE(shown(screen->Frame14));
    screen->Todate->setValue(QDate(2020, 1, 31));
    click("Command15");
    EXPECT_FALSE(shown(screen->Frame14));
    EXPECT_EQ(screen->Todate->value(), QDate::currentDate());

    choose("Abstract Estimate", "Hill View", "RA-1");
    EXPECT_FALSE(shown(screen->Frame14));
    EXPECT_TRUE(shown(screen->Frame10));
    EXPECT_EQ(screen->txtEWP->text(), "15");
    EXPECT_EQ(screen->txtWWS->text(), "15");
    EXPECT_TRUE(twtest::hasFocus(screen->txtEWP));
    screen->txtWWS->clear();
    click("Command3");
    EXPECT_FALSE(shown(screen->Frame10));
    EXPECT_EQ(screen->txtWWS->text(), "0");

    // A project without bills keeps the bills of the one before, through the real box.
    choose("Detailed Estimate");
    const QStringList boxes =
        twtest::withRealBoxes({"OK"}, [&] { twtest::pick(screen->CmbdetCnum, "Empty Plot"); });
    EXPECT_EQ(boxes, QStringList{"No bills in this contract. Select another Contract"});
    EXPECT_EQ(screen->CmbBillnum->count(), 1);
}

// The checks before a report warn and go on: the report is made from what the last choice left.
TEST_F(Screen, MissingChoicesWarnAndTheReportIsMadeAnyway) {
    choose("Contract / Schedule", "Hill View");
    generate();
    EXPECT_EQ(twtest::messages().texts(), std::vector<QString>{});
    ASSERT_TRUE(shown(screen->RptView));
    click("Cmdrepexit");
    EXPECT_TRUE(shown(screen->Frame5));
    EXPECT_FALSE(shown(screen->RptView));
    EXPECT_EQ(screen->TypeofReport->currentIndex(), 0);

    choose("Contract / Schedule");
    generate();
    EXPECT_EQ(twtest::messages().texts(), std::vector<QString>{"Select Contract Name"});
    ASSERT_TRUE(shown(screen->RptView));
    EXPECT_TRUE(screen->RptView->document()->toPlainText().contains("Brick work"));
    click("Cmdrepexit");

    // A bill chosen, then the project again: its bills are listed anew with none chosen.
    choose("Detailed Estimate", "Hill View", "RA-1");
    twtest::pick(screen->CmbdetCnum, "Hill View");
    twtest::messages().clear();
    generate();
    const auto texts = twtest::messages().texts();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.front(), "Select Bill Number");
    // The run went on to its fill, which found no lines for an empty bill.
    EXPECT_GT(texts.size(), 1u);
}

// The first page shows while the rest are made; Cancel then leaves the screen choosing again.
TEST_F(Screen, TheFirstPageShowsWhileTheRestAreMade) {
    {
        tw::Transaction tx(db());
        for (int i = 0; i < 3000; ++i)
            db().insert("BillMaster", {{"tw_contract_num", "HV-1"},
                                       {"tw_bill_num", "RA-1"},
                                       {"tw_sch_num", "1.1"},
                                       {"tw_item_narration", QString("Wall %1").arg(i)},
                                       {"tw_dim1", 3},
                                       {"tw_dim2", 3},
                                       {"tw_cal_Area", 9},
                                       {"tw_Shape", "rectangle_area"},
                                       {"tw_deduction", 0},
                                       {"tw_quantity", 1}});
        tx.commit();
    }
    RptView* view = screen->RptView;
    const auto firstPage = [&] {
        choose("Detailed Estimate", "Hill View", "RA-1");
        click("Command4");
        EXPECT_TRUE(twtest::waitUntil([&] { return view->pageCount() > 0 || !screen->running(); }));
    };
    // The texts of page 1 as the viewer holds it, and the words at its foot.
    const auto pageOne = [&] {
        TextPages texts;
        QPainter painter(&texts);
        QPicture(view->pages->page(0)).play(&painter);
        painter.end();
        std::vector<QString> out;
        for (const Text& t : texts.pages.front())
            out.push_back(t.text);
        return out;
    };
    firstPage();
    EXPECT_TRUE(screen->running());
    EXPECT_TRUE(shown(view));
    EXPECT_FALSE(view->cmdSavePdf->isEnabled());
    // Shown from the first rows alone, before the whole was laid out: how many pages there are
    // is not yet known.
    std::vector<QString> early = pageOne();
    ASSERT_FALSE(early.empty());
    EXPECT_EQ(early.back(), "Page 1 of \u2026");
    EXPECT_TRUE(twtest::waitUntil([&] { return !screen->running(); }));
    EXPECT_GT(view->pageCount(), 20);
    EXPECT_TRUE(view->cmdSavePdf->isEnabled());
    // The whole report's first page took its place: the same page, counted.
    std::vector<QString> whole = pageOne();
    ASSERT_FALSE(whole.empty());
    EXPECT_EQ(whole.back(), QString("Page 1 of %1").arg(view->pageCount()));
    early.pop_back();
    whole.pop_back();
    EXPECT_EQ(early, whole);
    EXPECT_GT(early.size(), 30u);
    click("Cmdrepexit");

    firstPage();
    QTest::mouseClick(screen->cmdCancel, Qt::LeftButton);
    EXPECT_TRUE(twtest::waitUntil([&] { return !screen->running(); }));
    EXPECT_FALSE(shown(view));
    EXPECT_TRUE(shown(screen->Frame5));
    EXPECT_EQ(view->pageCount(), 0);
}

TEST_F(Screen, SaveAsPdfProposesProjectBillAndType) {
    choose("Detailed Estimate", "Hill View", "RA-1");
    generate();
    ASSERT_TRUE(shown(screen->RptView));
    const QString file = QDir(folder()).filePath("saved.pdf");
    QString proposed;
    RptView::setFileChooser([&](QWidget*, const QString& p) {
        proposed = p;
        return file;
    });
    screen->RptView->cmdSavePdf->click();
    RptView::setFileChooser({});
    EXPECT_EQ(QFileInfo(proposed).fileName(), "Hill View RA-1 Detailed Estimate.pdf");
    QFile pdf(file);
    ASSERT_TRUE(pdf.open(QIODevice::ReadOnly));
    EXPECT_TRUE(pdf.read(5).startsWith("%PDF"));
    EXPECT_EQ(reportFileName("A/B", "", "Contract / Schedule"), "A-B Contract - Schedule.pdf");
    // A type that takes no bill runs for the whole project, whatever bill was picked before.
    click("Cmdrepexit");
    choose("History of Changes", "Hill View");
    generate();
    ASSERT_TRUE(shown(screen->RptView));
    const QString history = screen->RptView->document()->toPlainText();
    EXPECT_TRUE(history.contains("added ContractMaster")) << history.toStdString();
    EXPECT_FALSE(history.contains("Bill RA-1")) << history.toStdString();
}

// The rows a layout reads, for a spreadsheet: the working table's column names, then a line a
// row, quoted as a sheet reads them back.
TEST_F(Screen, CommandLineWritesTheRowsForASpreadsheet) {
    const QString desc = "Brick work, \"first class\"\nin walls";
    db().exec("update Sch_master set tw_item_desc=?", {desc});
    for (const QString kind : {"csv", "xlsx"}) {
        const QString file = QDir(folder()).filePath("rows." + kind);
        QString out, err;
        QTextStream o(&out), e(&err);
        EXPECT_EQ(cli::run({"--folder", folder(), "report", "schedule", "--project", "Hill View",
                            "--out", file},
                           o, e),
                  0);
        o.flush();
        EXPECT_EQ(out, "Written: " + QDir::toNativeSeparators(file) + " (1 row)\n");
    }
    QFile csv(QDir(folder()).filePath("rows.csv"));
    ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
    EXPECT_EQ(csv.readAll(),
              "tw_contract_num,tw_sch_num,tw_item_desc,tw_item_rate,tw_units,tw_unit_lable\r\n"
              "HV-1,1.1,\"Brick work, \"\"first class\"\"\nin walls\",250,Feet,Cu ft\r\n");
    const auto sheet = tw::schedules::readSheet1(QDir(folder()).filePath("rows.xlsx"));
    ASSERT_EQ(sheet.rows.size(), 2u);
    EXPECT_EQ(sheet.rows.at(0).at(5), "tw_unit_lable");
    EXPECT_EQ(sheet.rows.at(1),
              (tw::schedules::SheetRow{"HV-1", "1.1", desc, 250.0, "Feet", "Cu ft"}));
}

TEST_F(Screen, CommandLineReportRunsTheSameFill) {
    const QString pdf = QDir(folder()).filePath("de.pdf");
    const struct {
        QStringList args;
        int code;
        QString says; // on failure the start of stderr, else all of stdout
    } cases[] = {
        {{}, 2, "tallywright-cli: report needs a TYPE: one of "},
        {{"estimate"}, 2, "tallywright-cli: unknown report type estimate (one of "},
        {{"detailed-estimate", "--project", "Hill View", "--out", pdf},
         2,
         "tallywright-cli: detailed-estimate needs --bill ID\n"},
        {{"schedule", "--project", "Hill View", "--out", "x.doc"},
         2,
         "tallywright-cli: report needs --out FILE.pdf, FILE.html, FILE.csv or FILE.xlsx\n"},
        {{"schedule", "--project", "Nowhere", "--out", pdf},
         1,
         "tallywright-cli: No project is named Nowhere.\n"},
        {{"detailed-estimate", "--project", "Hill View", "--bill", "RA-9", "--out", pdf},
         1,
         "tallywright-cli: Project Hill View has no bill RA-9.\n"},
        {{"detailed-estimate", "--project", "Hill View", "--bill", "RA-1", "--out", pdf},
         0,
         "Written: " + QDir::toNativeSeparators(pdf) + " (1 page)\n"},
    };
    for (const auto& c : cases) {
        QString out, err;
        QTextStream o(&out), e(&err);
        EXPECT_EQ(cli::run(QStringList{"--folder", folder(), "report"} + c.args, o, e), c.code)
            << c.args.join(' ').toStdString();
        o.flush();
        e.flush();
        EXPECT_TRUE(c.code ? out.isEmpty() && err.startsWith(c.says)
                           : out == c.says && err.isEmpty())
            << out.toStdString() << err.toStdString();
    }
    QFile file(pdf);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.read(5).startsWith("%PDF"));
    // The run's rows were its own: the file's working table stays empty.
    EXPECT_TRUE(db().keyed("dummy_estimation").empty());
}
