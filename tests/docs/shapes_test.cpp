// The guide's table of shapes against the shapes the program seeds and their arithmetic, and
// the guide's links and pictures against what is there.

#include "core/measurements/cal_values.h"
#include "guide.h"
#include "support/core_fixtures.h"
#include "values/values.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace {

// One dimension of a worked example as the guide writes it: "10 ft 6 in", "4 ft", "2.50 m"
// (metres, and the CMs field's digits after the point), or a plain number for the shapes
// that take a count or an amount. Gives false for a text the guide should not hold.
bool readDimension(const QString& text, QString& units, double& whole, qint16& frac) {
    static const QRegularExpression feet(QStringLiteral("^(\\d+) ft(?: (\\d+) in)?$"));
    static const QRegularExpression metre(QStringLiteral("^(\\d+)(?:\\.(\\d+))? m$"));
    static const QRegularExpression plain(QStringLiteral("^(\\d+)$"));
    QRegularExpressionMatch m;
    QString system;
    if ((m = feet.match(text)).hasMatch())
        system = QStringLiteral("Feet");
    else if ((m = metre.match(text)).hasMatch())
        system = QStringLiteral("Metre");
    else if (!(m = plain.match(text)).hasMatch())
        return false;
    if (!system.isEmpty()) {
        if (!units.isEmpty() && units != system)
            return false; // one example, one measure system
        units = system;
    }
    whole = m.captured(1).toDouble();
    frac = qint16(m.captured(2).toInt());
    return true;
}

class ShapesTable : public twtest::AppFolderTest {};

// Each row names a shape of the list in the list's order, with the captions the screen shows
// for it and the unit the reports print; its example, typed on the measurement screen, stores
// the figure the guide gives.
TEST_F(ShapesTable, NamesCaptionsUnitsAndExamplesAreThePrograms) {
    const QStringList rows =
        guide::blocks(guide::html(), QStringLiteral("tr"), QStringLiteral("shape"));
    const tw::Rows shapes = db().keyed(QStringLiteral("shapes"));
    ASSERT_EQ(rows.size(), qsizetype(shapes.size()));
    for (size_t i = 0; i < shapes.size(); ++i) {
        const tw::Row& shape = shapes[i];
        const QString& row = rows[qsizetype(i)];
        const QString name = shape.text(0);
        SCOPED_TRACE(name.toStdString());
        EXPECT_EQ(guide::texts(row, QStringLiteral("name")), QStringList{name});
        EXPECT_EQ(guide::texts(row, QStringLiteral("unit")), QStringList{shape.text(5)});
        QStringList captions;
        for (int c = 1; c <= 4; ++c)
            if (!shape.text(c).isEmpty())
                captions << shape.text(c);
        EXPECT_EQ(guide::texts(row, QStringLiteral("cap")), captions);

        const QStringList dims = guide::texts(row, QStringLiteral("dim"));
        ASSERT_EQ(dims.size(), captions.size()) << "one figure for each dimension asked for";
        QString units;
        tw::Dims typed;
        for (int d = 0; d < dims.size(); ++d)
            ASSERT_TRUE(readDimension(dims[d], units, typed.whole[d], typed.frac[d]))
                << dims[d].toStdString();
        const QStringList qty = guide::texts(row, QStringLiteral("qty"));
        const QStringList figure = guide::texts(row, QStringLiteral("fig"));
        ASSERT_EQ(qty.size(), 1);
        ASSERT_EQ(figure.size(), 1);
        // Count, linear, lumpsum and the polygons use no divisor: either system gives the same.
        const double stored = tw::lineTotal(
            tw::Cal_Values(units.isEmpty() ? QStringLiteral("Feet") : units, name, typed), qty[0]);
        EXPECT_EQ(tw::strictNumber(figure[0]), stored) << figure[0].toStdString();
        EXPECT_EQ(figure[0], QString::number(stored, 'f', 2)) << "printed with two decimals";
    }
}

// Every entry of the contents list and every link reaches a section; every picture is there.
TEST(GuideLinks, ReachSectionsAndPictures) {
    const QString& html = guide::html();
    const QRegularExpression link(QStringLiteral("href=\"#([^\"]+)\""));
    int links = 0;
    for (auto it = link.globalMatch(html); it.hasNext(); ++links) {
        const QString id = it.next().captured(1);
        EXPECT_TRUE(html.contains(QStringLiteral("id=\"%1\"").arg(id))) << id.toStdString();
    }
    EXPECT_GE(links, 20);
    const QRegularExpression picture(QStringLiteral("<img\\b[^>]*\\bsrc=\"([^\"]+)\""));
    for (auto it = picture.globalMatch(html); it.hasNext();) {
        const QString file = it.next().captured(1);
        EXPECT_TRUE(QFileInfo::exists(guide::docsFile(file))) << file.toStdString();
    }
}

} // namespace
