#include "command.h"

#include "core/measurements/cal_values.h"
#include "core/reports/bulk_insert.h"
#include "store/store.h"
#include "values/values.h"

#include <QDir>

#include <array>
#include <cmath>
#include <map>
#include <random>

namespace cli {
namespace {

using tw::reports::BulkInsert;

// What a material costs and in which unit it is bought.
struct Material {
    const char* name;
    double rate;
    const char* unit;
};
const Material materials[] = {
    {"Cement OPC 53 grade", 390, "Bag"},
    {"River sand", 2300, "Cu Mt"},
    {"Coarse aggregate 20 mm", 1900, "Cu Mt"},
    {"TMT bars Fe 500", 68, "Kg"},
    {"Binding wire", 85, "Kg"},
    {"Bricks, first class", 9, "Nos"},
    {"Vitrified tiles 600x600", 820, "S Mt"},
    {"Acrylic emulsion paint", 320, "Litre"},
    {"Wall primer", 180, "Litre"},
    {"Flush door shutter 35 mm", 4600, "Nos"},
    {"Mason", 950, "Day"},
    {"Mazdoor", 650, "Day"},
};

enum class Measure { Area, Volume, Linear, Count };

// A standard item of work and what one cubic, square or running metre (or one piece) of it takes.
struct Category {
    const char* name;
    const char* description;
    Measure measure;
    std::vector<std::pair<const char*, double>> make; // material, quantity per metric unit
};
const std::vector<Category>& categories() {
    static const std::vector<Category> list{
        {"Earthwork excavation",
         "Excavation in ordinary soil, lift up to 1.5 m, with disposal within 50 m",
         Measure::Volume,
         {{"Mazdoor", 0.45}}},
        {"PCC 1:4:8",
         "Plain cement concrete 1:4:8 with 40 mm aggregate in foundations",
         Measure::Volume,
         {{"Cement OPC 53 grade", 3.4},
          {"River sand", 0.47},
          {"Coarse aggregate 20 mm", 0.94},
          {"Mason", 0.1},
          {"Mazdoor", 1.6}}},
        {"RCC M20",
         "Reinforced cement concrete M20 with shuttering, excluding steel",
         Measure::Volume,
         {{"Cement OPC 53 grade", 8.0},
          {"River sand", 0.42},
          {"Coarse aggregate 20 mm", 0.84},
          {"Mason", 0.35},
          {"Mazdoor", 2.2}}},
        {"Brick masonry 1:6",
         "Brick work in cement mortar 1:6 in superstructure",
         Measure::Volume,
         {{"Bricks, first class", 500},
          {"Cement OPC 53 grade", 1.3},
          {"River sand", 0.28},
          {"Mason", 1.0},
          {"Mazdoor", 1.5}}},
        {"Plaster 12 mm 1:4",
         "12 mm cement plaster 1:4 on walls, finished smooth",
         Measure::Area,
         {{"Cement OPC 53 grade", 0.1}, {"River sand", 0.014}, {"Mason", 0.08}, {"Mazdoor", 0.1}}},
        {"Vitrified tile flooring",
         "Vitrified tiles 600x600 laid on 20 mm cement mortar bed",
         Measure::Area,
         {{"Vitrified tiles 600x600", 1.05},
          {"Cement OPC 53 grade", 0.15},
          {"River sand", 0.02},
          {"Mason", 0.1},
          {"Mazdoor", 0.1}}},
        {"Emulsion painting",
         "Two coats of acrylic emulsion over one coat of primer",
         Measure::Area,
         {{"Acrylic emulsion paint", 0.2}, {"Wall primer", 0.1}, {"Mason", 0.03}}},
        {"Tile skirting",
         "Skirting 100 mm high in vitrified tiles",
         Measure::Linear,
         {{"Vitrified tiles 600x600", 0.11}, {"Cement OPC 53 grade", 0.02}, {"Mason", 0.03}}},
        {"Flush door",
         "Flush door shutter 35 mm with fittings, fixed in frame",
         Measure::Count,
         {{"Flush door shutter 35 mm", 1}, {"Mason", 0.5}, {"Mazdoor", 0.5}}},
    };
    return list;
}

// One item of a schedule: what is done, under which category, and per how many units the rate
// is quoted.
struct ItemKind {
    const char* description;
    int category;
    int per;
};
const ItemKind itemKinds[] = {
    {"Site clearance and excavation for footings", 0, 10},
    {"Excavation for plinth beams and sump", 0, 10},
    {"Trench excavation for drains", 0, 10},
    {"PCC bed under footings", 1, 1},
    {"PCC under floors, 100 mm thick", 1, 1},
    {"PCC coping over compound wall", 1, 1},
    {"RCC isolated footings", 2, 1},
    {"RCC columns up to plinth", 2, 1},
    {"RCC plinth beams", 2, 1},
    {"RCC columns, ground floor", 2, 1},
    {"RCC roof slab, ground floor", 2, 1},
    {"RCC lintels and sunshades", 2, 1},
    {"RCC staircase waist slab", 2, 1},
    {"RCC columns, first floor", 2, 1},
    {"RCC roof slab, first floor", 2, 1},
    {"RCC overhead tank walls", 2, 1},
    {"Brick work in foundations", 3, 1},
    {"Brick work, ground floor walls", 3, 1},
    {"Brick work, first floor walls", 3, 1},
    {"Brick work in parapet", 3, 1},
    {"Brick work in compound wall", 3, 1},
    {"Internal plaster, ground floor", 4, 10},
    {"Internal plaster, first floor", 4, 10},
    {"External plaster", 4, 10},
    {"Ceiling plaster", 4, 10},
    {"Plaster to compound wall", 4, 10},
    {"Flooring in halls and bedrooms", 5, 10},
    {"Flooring in kitchen and dining", 5, 10},
    {"Flooring in verandah and porch", 5, 10},
    {"Flooring in staircase landings", 5, 10},
    {"Painting internal walls", 6, 10},
    {"Painting ceilings", 6, 10},
    {"Painting external walls", 6, 10},
    {"Painting compound wall", 6, 10},
    {"Skirting in halls and bedrooms", 7, 10},
    {"Skirting in kitchen and dining", 7, 10},
    {"Skirting along staircase", 7, 10},
    {"Main entrance door", 8, 1},
    {"Bedroom doors", 8, 1},
    {"Toilet doors", 8, 1},
};
constexpr int itemKindCount = int(std::size(itemKinds));

// The shapes a line of each kind of measure is taken in.
const std::array<std::vector<const char*>, 4> shapesFor{{
    {"rectangle_area", "rectangle_area", "triangle_area", "trapezium_area", "parallelogram_area",
     "CIRCLE_AREA", "ellipse_area", "hexagon_area", "rhombus_ (diamond)_area"},
    {"rectangle_volume", "rectangle_volume", "cuboid_volume", "cylinder_volume", "trapezium_volume",
     "parallelogram_volume", "cone_volume", "octagon_volume"},
    {"linear"},
    {"Count"},
}};

const char* const floors[] = {"Ground floor", "First floor", "Terrace",
                              "Staircase",    "Sump",        "Compound"};
const char* const places[] = {"hall",       "bedroom 1",  "bedroom 2", "kitchen",
                              "dining",     "toilet",     "verandah",  "porch",
                              "north side", "south side", "grid A-B",  "grid C-D"};
const char* const openings[] = {"door opening D1", "window opening W1", "window opening W2",
                                "ventilator V1", "cut-out for duct"};

// A project of the sample, column by column as ContractMaster holds it after its key.
const char* const projectColumns[] = {
    "tw_contract_num",  "tw_contract_name",  "tw_client_ref",     "tw_client_ref_date",
    "tw_start_date",    "tw_end_date",       "tw_tax_rate",       "tw_units",
    "tw_Client_Name",   "tw_client_contact", "tw_Client_adline1", "tw_Client_adline2",
    "tw_Client_city",   "tw_Client_Pin",     "tw_Client_phone1",  "tw_Client_phone2",
    "tw_Client_Mobile", "tw_Client_email",   "tw_Client_url"};
using ProjectRecord = std::array<const char*, std::size(projectColumns)>;
const ProjectRecord greenfield{"TW/2024/017",
                               "Greenfield Residency, Block A",
                               "GD/WO/112",
                               "12-02-2024",
                               "01-03-2024",
                               "30-11-2024",
                               "2",
                               "Metre",
                               "Greenfield Developers",
                               "R. Menon",
                               "14, Industrial Estate Road",
                               "Guindy",
                               "Chennai",
                               "600032",
                               "04422501234",
                               "0",
                               "9840012345",
                               "projects@greenfield.example",
                               " "};
const ProjectRecord lakeview{"TW/2024/021",
                             "Lakeview School, New Wing",
                             "LET/2024/07",
                             "03-04-2024",
                             "02-05-2024",
                             "31-03-2025",
                             "1",
                             "Feet",
                             "Lakeview Education Trust",
                             "A. Fernandes",
                             "2, Lake Road",
                             "Kadri",
                             "Mangaluru",
                             "575002",
                             "08242211223",
                             "08242211224",
                             "9845098450",
                             "office@lakeview.example",
                             "www.lakeview.example"};
const ProjectRecord riverside{"TW/BENCH/001",
                              "Riverside Township, Phase II",
                              "RHB/WO/2023/88",
                              "12-06-2023",
                              "01-07-2023",
                              "30-06-2025",
                              "2",
                              "Metre",
                              "Riverside Housing Board",
                              "S. Natarajan",
                              "Housing Board Road",
                              "Sector 4",
                              "Tiruchirappalli",
                              "620001",
                              "04312404455",
                              "0",
                              "9443012345",
                              "works@rhb.example",
                              " "};

// One project to make: whose it is and how big.
struct ProjectPlan {
    const ProjectRecord& record;
    int items, bills, lines, steelPerBill;
    QString number() const { return QString::fromUtf8(record[0]); }
    QString name() const { return QString::fromUtf8(record[1]); }
    QString units() const { return QString::fromUtf8(record[7]); }
};

struct Made {
    int items = 0, bills = 0, lines = 0, deductions = 0, steel = 0;
};

class Maker {
public:
    explicit Maker(const tw::ConClass& con) : con_(con), random_(20240301) {}

    int materials() {
        int made = 0;
        for (const Material& m : cli::materials) {
            if (con_.first(QStringLiteral("select 1 from Materials where tw_mat_desc=?"),
                           {QString::fromUtf8(m.name)}))
                continue;
            con_.insert(QStringLiteral("Materials"),
                        {{QStringLiteral("tw_mat_desc"), QString::fromUtf8(m.name)},
                         {QStringLiteral("tw_rate"), m.rate},
                         {QStringLiteral("tw_unitlbl"), QString::fromUtf8(m.unit)}});
            ++made;
        }
        return made;
    }

    // The standard categories of both measure systems, priced from the materials.
    int categories() {
        int made = 0;
        for (const bool feet : {true, false}) {
            const QString table =
                feet ? QStringLiteral("CategoryList_Feet") : QStringLiteral("CategoryList_Meter");
            for (const Category& c : cli::categories()) {
                const QString name = QString::fromUtf8(c.name);
                if (con_.first(
                        QStringLiteral("select 1 from %1 where tw_category_name=?").arg(table),
                        {name}))
                    continue;
                tw::Values v{{QStringLiteral("tw_category_name"), name},
                             {QStringLiteral("tw_description"), QString::fromUtf8(c.description)},
                             {QStringLiteral("tw_measure_type"), measureName(c.measure)},
                             {QStringLiteral("tw_unit"), QStringLiteral("1")},
                             {QStringLiteral("tw_unit_lable"), label(c.measure, feet)}};
                double rate = 0;
                for (int slot = 0; slot < 10; ++slot) {
                    QVariant matl = QString(), qty = 0, price = 0;
                    if (slot < int(c.make.size())) {
                        const auto& [material, perMetric] = c.make[size_t(slot)];
                        const double q = tw::roundHalfEven(perMetric / perFoot(c.measure, feet), 4);
                        const double p = priceOf(material);
                        matl = QString::fromUtf8(material);
                        qty = q;
                        price = p;
                        rate += q * p;
                    }
                    v.emplace_back(QStringLiteral("tw_matl%1").arg(slot + 1), matl);
                    v.emplace_back(QStringLiteral("tw_matl%1_qty").arg(slot + 1), qty);
                    v.emplace_back(QStringLiteral("tw_matl%1_rate").arg(slot + 1), price);
                }
                v.emplace_back(QStringLiteral("tw_rate"), tw::round2(rate));
                v.emplace_back(QStringLiteral("tw_deductions"), 1);
                con_.insert(table, v);
                ++made;
            }
        }
        return made;
    }

    Made project(const ProjectPlan& p) {
        const bool feet = p.units() == QLatin1String("Feet");
        tw::Values record;
        for (size_t i = 0; i < p.record.size(); ++i)
            record.emplace_back(QString::fromLatin1(projectColumns[i]),
                                QString::fromUtf8(p.record[i]));
        con_.insert(QStringLiteral("ContractMaster"), record);
        Made made;
        const std::vector<Item> items = schedule(p, feet);
        made.items = int(items.size());
        made.bills = p.bills;
        measure(p, feet, items, made);
        steel(p, feet, made);
        return made;
    }

private:
    struct Item {
        QString number, category;
        Measure measure;
    };

    static QString measureName(Measure m) {
        switch (m) {
        case Measure::Area:
            return QStringLiteral("Area");
        case Measure::Volume:
            return QStringLiteral("Volume");
        case Measure::Linear:
            return QStringLiteral("Linear");
        case Measure::Count:
            return QStringLiteral("Count");
        }
        return {};
    }
    // The unit label as the schedule entry forms it: the measure's word and the system's.
    static QString label(Measure m, bool feet) {
        const QString word = feet ? QStringLiteral("ft") : QStringLiteral("Mt");
        switch (m) {
        case Measure::Area:
            return QStringLiteral("S ") + word;
        case Measure::Volume:
            return QStringLiteral("Cu ") + word;
        case Measure::Linear:
            return QStringLiteral("R ") + word;
        case Measure::Count:
            return QStringLiteral("Nos");
        }
        return {};
    }
    // How many feet-units make the metric one, so a category in feet takes the material per
    // square, cubic or running foot.
    static double perFoot(Measure m, bool feet) {
        if (!feet)
            return 1;
        switch (m) {
        case Measure::Area:
            return 10.7639;
        case Measure::Volume:
            return 35.3147;
        case Measure::Linear:
            return 3.28084;
        case Measure::Count:
            return 1;
        }
        return 1;
    }
    static double priceOf(const char* material) {
        for (const Material& m : cli::materials)
            if (qstrcmp(m.name, material) == 0)
                return m.rate;
        return 0;
    }

    int pick(int n) { return int(random_() % unsigned(n)); }

    std::vector<Item> schedule(const ProjectPlan& p, bool feet) {
        const QString table =
            feet ? QStringLiteral("CategoryList_Feet") : QStringLiteral("CategoryList_Meter");
        const int width = p.items >= 1000 ? 4 : 2;
        BulkInsert insert(con_, QStringLiteral("Sch_master"),
                          {QStringLiteral("tw_contract_num"), QStringLiteral("tw_sch_num"),
                           QStringLiteral("tw_item_desc"), QStringLiteral("tw_item_rate"),
                           QStringLiteral("tw_unit"), QStringLiteral("tw_category_name"),
                           QStringLiteral("tw_unit_lable"), QStringLiteral("tw_volarea"),
                           QStringLiteral("tw_deduction")});
        std::map<QString, double> rates;
        for (const tw::Row& r :
             con_.rows(QStringLiteral("select tw_category_name, tw_rate from %1").arg(table)))
            rates.try_emplace(r.text(0), r.number(1));
        std::vector<Item> items;
        for (int i = 0; i < p.items; ++i) {
            const ItemKind& kind = itemKinds[i % itemKindCount];
            const Category& cat = cli::categories()[size_t(kind.category)];
            const QString category = QString::fromUtf8(cat.name);
            QString description = QString::fromUtf8(kind.description);
            if (i >= itemKindCount)
                description += QStringLiteral(", block %1").arg(i / itemKindCount + 1);
            const QString number = QStringLiteral("%1").arg(i + 1, width, 10, QLatin1Char('0'));
            insert.add({p.number(), number, description, tw::round2(rates[category] * kind.per),
                        QString::number(kind.per), category, label(cat.measure, feet),
                        measureName(cat.measure), 0});
            items.push_back({number, category, cat.measure});
        }
        return items;
    }

    // Dimensions of one object in a shape, in whole and fractional parts of the system.
    tw::Dims dimensions(const QString& shape, Measure measure, bool feet) {
        tw::Dims d;
        const auto whole = [&](int lo, int hi) { return double(lo + pick(hi - lo + 1)); };
        const auto frac = [&]() {
            static const qint16 cm[] = {0, 10, 15, 20, 25, 30, 45, 50, 60, 75, 80, 90};
            return feet ? qint16(pick(12)) : cm[pick(int(std::size(cm)))];
        };
        const int big = feet ? 40 : 12, small = feet ? 3 : 1;
        if (measure == Measure::Count) {
            d.whole[0] = whole(1, 6);
            return d;
        }
        if (measure == Measure::Linear) {
            d.whole[0] = whole(small * 2, big);
            d.frac[0] = frac();
            return d;
        }
        if (shape == QLatin1String("triangle_area")) {
            // Sides that close: two shorter sides longer together than the third.
            const double a = whole(small * 4, big);
            d.whole = {a, std::floor(a * 0.8), std::floor(a * 0.6), 0};
            return d;
        }
        const bool volume = measure == Measure::Volume;
        const int dims =
            shape.startsWith(QLatin1String("trapezium")) ? (volume ? 4 : 3)
            : shape.contains(QLatin1String("CIRCLE")) || shape == QLatin1String("hexagon_area") ? 1
            : shape.startsWith(QLatin1String("cylinder")) ||
                    shape.startsWith(QLatin1String("cone")) ||
                    shape.startsWith(QLatin1String("octagon"))
                ? 2
                : (volume ? 3 : 2);
        for (int i = 0; i < dims; ++i) {
            // Depths and thicknesses are small beside lengths and breadths.
            const bool thin = volume && i == dims - 1;
            d.whole[size_t(i)] = thin ? whole(0, small) : whole(small, big);
            d.frac[size_t(i)] = frac();
            if (d.whole[size_t(i)] == 0 && d.frac[size_t(i)] == 0)
                d.frac[size_t(i)] = feet ? 6 : 15;
        }
        return d;
    }

    // The measurement lines of every bill. A bill measures a run of items, several lines each;
    // the next bill carries on with the items after, as work moves across a site. A bill of a
    // large project takes at most a few hundred items, so that the final bill's item groups
    // stay within what its group numbers can count.
    void measure(const ProjectPlan& p, bool feet, const std::vector<Item>& items, Made& made) {
        BulkInsert insert(con_, QStringLiteral("BillMaster"),
                          {QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num"),
                           QStringLiteral("tw_sch_num"), QStringLiteral("tw_item_narration"),
                           QStringLiteral("tw_dim1"), QStringLiteral("tw_dim2"),
                           QStringLiteral("tw_dim3"), QStringLiteral("tw_dim4"),
                           QStringLiteral("tw_dim1_inches"), QStringLiteral("tw_dim2_inches"),
                           QStringLiteral("tw_dim3_inches"), QStringLiteral("tw_dim4_inches"),
                           QStringLiteral("tw_cal_Area"), QStringLiteral("tw_Shape"),
                           QStringLiteral("tw_deduction"), QStringLiteral("tw_category_name"),
                           QStringLiteral("tw_quantity")});
        const int n = int(items.size());
        const int perBill = std::max(1, std::min({n, 30000 / p.bills, p.lines / p.bills}));
        int start = 0;
        for (int b = 0; b < p.bills; ++b) {
            const QString bill = billName(b, p.bills);
            const int lines = p.lines / p.bills + (b < p.lines % p.bills ? 1 : 0);
            const Item* measured = nullptr; // the item of the last line added, if any
            for (int k = 0; k < lines; ++k) {
                // Lines of one item stand together, as they are measured.
                const int slot = int(qint64(k) * perBill / std::max(lines, 1));
                const Item& item = items[size_t((start + slot) % n)];
                // An opening is taken off only what was measured just before it.
                const bool deduction =
                    measured == &item &&
                    (item.measure == Measure::Area || item.measure == Measure::Volume) &&
                    pick(5) == 0;
                measured = deduction ? nullptr : &item;
                const auto& shapes = shapesFor[size_t(item.measure)];
                const QString shape = QString::fromUtf8(
                    deduction
                        ? (item.measure == Measure::Area ? "rectangle_area" : "rectangle_volume")
                        : shapes[size_t(pick(int(shapes.size())))]);
                tw::Dims d = dimensions(shape, item.measure, feet);
                if (deduction) // a door or window is a fraction of the wall it stands in
                    for (double& w : d.whole)
                        w = std::floor(w / 3);
                const int quantity = item.measure == Measure::Count ? 1 : 1 + pick(4);
                const double area =
                    tw::lineTotal(tw::Cal_Values(p.units(), shape, d), QString::number(quantity));
                const QString narration =
                    QStringLiteral("%1 %2%3, line %4")
                        .arg(QString::fromUtf8(floors[pick(int(std::size(floors)))]),
                             QString::fromUtf8(places[pick(int(std::size(places)))]),
                             deduction
                                 ? QStringLiteral(", less ") +
                                       QString::fromUtf8(openings[pick(int(std::size(openings)))])
                                 : QString())
                        .arg(k + 1);
                insert.add({p.number(), bill, item.number, narration, d.whole[0], d.whole[1],
                            d.whole[2], d.whole[3], int(d.frac[0]), int(d.frac[1]), int(d.frac[2]),
                            int(d.frac[3]), area, shape, deduction ? 1 : 0, item.category,
                            quantity});
                ++made.lines;
                made.deductions += deduction ? 1 : 0;
            }
            start = (start + perBill) % n;
        }
    }

    // Steel of the bills: bars of the diameters stocked, with lengths and counts.
    void steel(const ProjectPlan& p, bool feet, Made& made) {
        QStringList diameters;
        for (const tw::Row& r : con_.rows(QStringLiteral("select tw_diameter from diameter")))
            diameters << r.text(0);
        if (diameters.isEmpty())
            return;
        static const char* const members[] = {"Footing F",    "Column C", "Plinth beam PB",
                                              "Roof beam RB", "Slab S",   "Lintel L"};
        static const char* const bars[] = {"main bars", "distribution bars", "stirrups",
                                           "top extra bars"};
        BulkInsert insert(con_, QStringLiteral("reinforcementmaster"),
                          {QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num"),
                           QStringLiteral("tw_narration"), QStringLiteral("tw_diameter"),
                           QStringLiteral("tw_length_qty"), QStringLiteral("tw_length_ft"),
                           QStringLiteral("tw_length_inches"), QStringLiteral("tw_remarks")});
        for (int b = 0; b < p.bills; ++b) {
            for (int k = 0; k < p.steelPerBill; ++k) {
                const QString narration =
                    QStringLiteral("%1%2 %3")
                        .arg(QString::fromUtf8(members[k % int(std::size(members))]))
                        .arg(k / int(std::size(members)) + 1)
                        .arg(QString::fromUtf8(bars[pick(int(std::size(bars)))]));
                // Small bars for stirrups and slabs, heavier ones for footings and columns.
                const QString diameter =
                    diameters[std::min<qsizetype>(diameters.size() - 1, 1 + pick(5))];
                insert.add({p.number(), billName(b, p.bills), narration, diameter, 4 + pick(40),
                            feet ? 3 + pick(30) : 1 + pick(9), feet ? pick(12) : 5 * pick(20),
                            k % 3 == 0 ? QStringLiteral("as per drawing") : QString()});
                ++made.steel;
            }
        }
    }

    static QString billName(int b, int bills) {
        return QStringLiteral("RA-%1").arg(b + 1, bills >= 100 ? 3 : 2, 10, QLatin1Char('0'));
    }

    const tw::ConClass& con_;
    std::mt19937 random_;
};

// Fills an empty application folder with a sample to try every report on, or, for timing, with
// one large project.
class Demo : public Command {
public:
    QString name() const override { return QStringLiteral("demo"); }
    QString synopsis() const override { return QStringLiteral("[--items N --bills N --lines N]"); }
    QString summary() const override {
        return QStringLiteral("fill an empty database with a sample: two projects,\n"
                              "their schedules, three bills of measurements and steel;\n"
                              "--items, --bills, --lines: one large project instead\n"
                              "(2000 items, 100 bills, 200000 lines unless given)");
    }
    int run(const QStringList& args, Context& ctx) override {
        int items = 2000, bills = 100, lines = 200000;
        bool large = false;
        for (qsizetype i = 0; i < args.size(); ++i) {
            const QString& a = args[i];
            int* target = a == QLatin1String("--items")   ? &items
                          : a == QLatin1String("--bills") ? &bills
                          : a == QLatin1String("--lines") ? &lines
                                                          : nullptr;
            if (!target)
                throw UsageError(QStringLiteral("demo does not take %1").arg(a));
            bool ok = false;
            const int n = i + 1 < args.size() ? args[i + 1].toInt(&ok) : 0;
            if (!ok || n < 1)
                throw UsageError(QStringLiteral("%1 needs a whole number of at least 1").arg(a));
            *target = n;
            large = true;
            ++i;
        }
        tw::ConClass con(ctx.messages);
        con.conopen();
        if (!con.isOpen())
            return 1;
        const auto projects = con.first(QStringLiteral("select count(*) from ContractMaster"));
        if (projects && projects->number(0) > 0) {
            ctx.err << "tallywright-cli: the database already holds projects; demo fills only "
                       "one without any"
                    << Qt::endl;
            return 1;
        }
        std::vector<ProjectPlan> plans;
        if (large) {
            plans.push_back({riverside, items, bills, lines, 20});
        } else {
            plans.push_back({greenfield, itemKindCount, 3, 150, 12});
            plans.push_back({lakeview, itemKindCount, 3, 150, 12});
        }
        tw::Transaction tx(con);
        Maker maker(con);
        const int materialCount = maker.materials();
        const int categoryCount = maker.categories();
        std::vector<Made> made;
        for (const ProjectPlan& p : plans)
            made.push_back(maker.project(p));
        tx.commit();

        ctx.out << "Sample made in " << QDir::toNativeSeparators(tw::AppFolder::databasePath())
                << ":" << Qt::endl;
        for (size_t i = 0; i < plans.size(); ++i) {
            const Made& m = made[i];
            ctx.out << "  " << plans[i].number() << "  " << plans[i].name() << " ("
                    << plans[i].units() << "): " << m.items << " items, " << m.bills << " bills, "
                    << m.lines << " measurement lines (" << m.deductions << " deductions), "
                    << m.steel << " steel lines" << Qt::endl;
        }
        ctx.out << "  " << materialCount << " materials, " << categoryCount
                << " standard categories (Feet and Metre)" << Qt::endl;
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeDemo() {
    return std::make_unique<Demo>();
}

} // namespace cli
