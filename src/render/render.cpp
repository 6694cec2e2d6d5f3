#include "render/render.h"

#include "core/reports/fill_support.h"
#include "render/figures.h"
#include "store/history.h"
#include "store/server.h"
#include "values/values.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMetaType>
#include <QRegularExpression>
#include <QSqlField>
#include <QStringDecoder>
#include <QUuid>

#include <kainjow/mustache.hpp>

#include <algorithm>
#include <cctype>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <functional>
#include <optional>

namespace tw::reports {
namespace {

namespace mu = kainjow::mustache;

std::string str(const QString& s) {
    return s.toStdString();
}

// A text for the layout. An empty one is false, so that {{#name}}...{{/name}} stands only
// where there is something to show.
mu::data val(const QString& s) {
    if (s.isEmpty())
        return mu::data(false);
    return mu::data(s.toStdString());
}

QString layoutsIn(const QString& dir) {
    return QDir(dir).filePath(QStringLiteral("layouts"));
}

QString readLayout(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw Error(QStringLiteral("The report layout %1 cannot be read: %2")
                        .arg(QDir::toNativeSeparators(path), f.errorString()));
    return QString::fromUtf8(f.readAll());
}

// A stored value as text: numbers printed with no format, texts as they stand.
QString plainText(const QVariant& v) {
    if (v.isNull())
        return {};
    if (v.typeId() == QMetaType::QString)
        return v.toString();
    return numberText(v);
}

bool isNumericColumn(const QSqlField& f) {
    switch (f.metaType().id()) {
    case QMetaType::Double:
    case QMetaType::Int:
    case QMetaType::LongLong:
        return true;
    default:
        return false;
    }
}

// The figure in a value: a number as stored, or the leading number of a text (shares are kept
// as formatted text such as "75.").
double figure(const QVariant& v) {
    // Read straight from the value: the rows of a long bill hold millions of figures.
    switch (v.typeId()) {
    case QMetaType::Double:
        return *static_cast<const double*>(v.constData());
    case QMetaType::LongLong:
        return double(*static_cast<const qlonglong*>(v.constData()));
    case QMetaType::QString:
        return leadingNumber(*static_cast<const QString*>(v.constData()));
    default:
        return v.toDouble();
    }
}

// Whether a value is a Null; a number read from the store never is.
bool isNullValue(const QVariant& v) {
    const int type = v.typeId();
    return type != QMetaType::Double && type != QMetaType::LongLong && v.isNull();
}

// A text that holds a figure: a number, or a share printed as "##.##" ("75.", "." for 0).
bool isFigureText(const QString& t) {
    return t == QLatin1String(".") || strictNumber(t).has_value();
}

// The columns of a table as the layout names them, read once for all its rows. A column is a
// figure column when its declared type is numeric, or when every value in it is a figure
// (columns without a declared type keep shares as printed text). Only the columns `named` finds
// in the layout go into the rows: a value per column and row in three forms would hold over a
// hundred megabytes on a bill of thousands of lines, nearly all of it never printed.
struct Columns {
    explicit Columns(const Rows& rows, const std::function<bool(const QString&)>& named = nullptr) {
        if (rows.empty())
            return;
        const QSqlRecord rec = rows.front().record();
        const size_t count = size_t(rec.count());
        // Row by row, every column at once: a long bill's rows take more room than any cache.
        std::vector<char> figures(count, 1), any(count, 0);
        std::vector<const QChar*> checked(count); // a text held once is looked at once
        for (const Row& r : rows) {
            for (size_t i = 0; i < count; ++i) {
                const QVariant& v = r.value(int(i));
                if (!figures[i] || isNullValue(v))
                    continue;
                any[i] = 1;
                if (v.typeId() != QMetaType::QString)
                    continue;
                const QString& text = *static_cast<const QString*>(v.constData());
                if (text.constData() != checked[i]) {
                    figures[i] = isFigureText(text);
                    checked[i] = text.constData();
                }
            }
        }
        for (size_t i = 0; i < count; ++i) {
            const QString name = rec.fieldName(int(i));
            names.push_back(str(name));
            qtNames.push_back(name);
            numeric.push_back(any[i] ? bool(figures[i]) : isNumericColumn(rec.field(int(i))));
            wanted.push_back(!named || named(name));
        }
    }
    std::vector<std::string> names;
    std::vector<QString> qtNames;
    std::vector<bool> numeric;
    std::vector<bool> wanted;
};

// A figure with its two printed forms, for name, name_q and name_m.
void putFigure(mu::data& o, const std::string& name, double v) {
    o[name] = val(doubleText(v));
    o[name + "_q"] = val(quantity(v));
    o[name + "_m"] = val(money(v));
}

// Sums of the numeric columns of some rows, or of those named; a Null adds nothing.
class Sums {
public:
    explicit Sums(const Columns& c, const QStringList& only = {})
        : columns_(c), sums_(c.names.size(), 0.0) {
        for (size_t i = 0; i < sums_.size(); ++i)
            if (c.numeric[i] &&
                (only.isEmpty() || only.contains(c.qtNames[i], Qt::CaseInsensitive)))
                added_.push_back(i);
    }
    void add(const Row& r) {
        for (const size_t i : added_)
            if (const QVariant& v = r.value(int(i)); !isNullValue(v))
                sums_[i] += figure(v);
    }
    double operator[](const QString& column) const {
        for (size_t i = 0; i < sums_.size(); ++i)
            if (columns_.qtNames[i].compare(column, Qt::CaseInsensitive) == 0)
                return sums_[i];
        return 0.0;
    }
    mu::data object() const {
        mu::data o;
        for (size_t i = 0; i < sums_.size(); ++i)
            if (columns_.numeric[i])
                putFigure(o, columns_.names[i], sums_[i]);
        return o;
    }

private:
    const Columns& columns_;
    std::vector<double> sums_;
    std::vector<size_t> added_;
};

// Every column of a row by its name, numeric ones also formatted.
mu::data rowObject(const Row& r, const Columns& c) {
    mu::data o;
    for (size_t i = 0; i < c.names.size(); ++i) {
        if (!c.wanted[i])
            continue;
        const QVariant v = r.value(int(i));
        o[c.names[i]] = val(plainText(v));
        if (!c.numeric[i])
            continue;
        if (v.isNull()) {
            o[c.names[i] + "_q"] = mu::data(false);
            o[c.names[i] + "_m"] = mu::data(false);
        } else {
            const double x = figure(v);
            o[c.names[i] + "_q"] = val(quantity(x));
            o[c.names[i] + "_m"] = val(money(x));
        }
    }
    return o;
}

// A project's record: a text field left empty is stored as one blank, a digits field as "0";
// both show as nothing.
mu::data recordObject(const Row& r) {
    mu::data o = rowObject(r, Columns(Rows{r}));
    const QSqlRecord rec = r.record();
    for (int i = 0; i < rec.count(); ++i) {
        const QString t = rec.value(i).toString().trimmed();
        if (!isNumericColumn(rec.field(i)) && (t.isEmpty() || t == QLatin1String("0")))
            o[str(rec.fieldName(i))] = mu::data(false);
    }
    return o;
}

void putMoney(mu::data& o, const char* name, double v) {
    putFigure(o, name, v);
    o[std::string(name) + "_words"] = val(amountInWords(v));
}

// ---- the detailed estimate rows ----------------------------------------------------------------

bool isDeduction(const Row& r) {
    return r.text(QStringLiteral("test")) == QLatin1String("Deduction");
}

// One measurement line: its narration, dimensions as the project measures, and its quantity
// with the sign it carries in the item's total.
void addEstimationLine(mu::data& o, const Row& r, bool feet, int line) {
    const bool ded = isDeduction(r);
    o["is_deduction"] = mu::data(ded);
    o["line"] = mu::data(std::to_string(line));
    o["narration"] = val(
        r.text(ded ? QStringLiteral("tw_item_narration_d") : QStringLiteral("tw_item_narration")));
    QStringList dims;
    for (int i = 1; i <= 4; ++i) {
        const double whole = r.number(QStringLiteral("tw_dim%1").arg(i));
        const auto fraction =
            qint64(r.value(QStringLiteral("tw_dim%1_inches").arg(i)).toLongLong());
        const QString d = dimensionText(whole, fraction, feet);
        o["dim" + std::to_string(i)] = val(d);
        if (!d.isEmpty())
            dims << d;
    }
    o["dims"] = val(dims.join(QStringLiteral(" \u00d7 ")));
    // "cuboid_volume" reads as "cuboid volume" and wraps like words in a narrow column.
    o["shape_name"] = val(r.text(QStringLiteral("Shape")).replace(u'_', u' ').simplified());
    const double qty = r.number(QStringLiteral("tw_cal_Area"));
    o["signed_qty_q"] = val(quantity(ded ? -qty : qty));
}

// Each row's context in turn, made as the layout writes it: a source asks the sink whether it
// wants a row (by its place among the rows) before it makes the row's context.
struct RowSink {
    std::function<bool(size_t)> wants;
    std::function<void(const mu::data&)> put;
};
using RowSource = std::function<void(const RowSink&)>;

bool allBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return std::isspace(uchar(c)); });
}

// The text of a rows section as it is written: all but its last part packed, as a bill of
// 200,000 lines writes some 50 MB.
struct SectionText {
    std::vector<QByteArray> packed;
    std::string last;
    size_t size = 0;
    bool blank = true;

    void append(const std::string& text) {
        last += text;
        size += text.size();
        if (last.size() >= (1 << 20)) {
            // Its last two letters stay, for the end of the section to be looked at.
            const std::string_view part(last.data(), last.size() - 2);
            blank = blank && allBlank(part);
            packed.push_back(
                qCompress(reinterpret_cast<const uchar*>(part.data()), qsizetype(part.size()), 1));
            last.erase(0, part.size());
        }
    }
    // Each part in turn, unpacked.
    void forEach(const std::function<void(std::string_view)>& part) const {
        for (const QByteArray& p : packed) {
            const QByteArray text = qUncompress(p);
            part(std::string_view(text.constData(), size_t(text.size())));
        }
        part(last);
    }
};

// The text of the rows sections, kept aside: the template copies what a section gives into the
// line it stands on, and that line into its output, which a bill of 200,000 lines took 170 MB
// more for. A section gives a marker of its text instead, replaced as the report's text is made.
struct Aside {
    // The rows a rows section writes, by their place; none: every row.
    std::vector<bool> written;
    // Rows a first look shows besides a column's widest, for figures of their own that stand
    // out: the highest serial, the highest line number.
    std::vector<size_t> telling;
    bool cut = false;           // a rows section left a row out
    std::function<bool()> goOn; // asked every so many rows written: false stops the writing
    size_t rowsWritten = 0;
    std::string marker = "\x02rows-" + QUuid::createUuid().toString(QUuid::Id128).toStdString();
    std::vector<SectionText> texts;

    // The section's text, or its marker.
    std::string put(SectionText text) {
        if (text.blank && allBlank(text.last)) {
            // a line of nothing but blanks is left out as it would be
            std::string all;
            text.forEach([&](std::string_view part) { all += part; });
            return all;
        }
        texts.push_back(std::move(text));
        return marker + std::to_string(texts.size() - 1) + '\x03';
    }
    // The report's text from the template's output in parts, each text put in place of its
    // marker.
    QString html(std::vector<std::string>& parts) {
        size_t bytes = 0;
        for (const std::string& part : parts)
            bytes += part.size();
        for (const SectionText& text : texts)
            bytes += text.size;
        QString html(qsizetype(bytes), Qt::Uninitialized); // UTF-8 takes no fewer units
        QChar* out = html.data();
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        const auto add = [&](std::string_view text) {
            out = utf8.appendToBuffer(out, QByteArrayView(text.data(), qsizetype(text.size())));
        };
        for (std::string& part : parts) {
            const std::string_view all = part;
            size_t at = 0;
            for (size_t m = all.find(marker); m != std::string::npos; m = all.find(marker, at)) {
                add(all.substr(at, m - at));
                const size_t end = all.find('\x03', m);
                SectionText& text = texts[std::stoul(
                    std::string(all.substr(m + marker.size(), end - m - marker.size())))];
                text.forEach(add);
                text = SectionText();
                at = end + 1;
            }
            add(all.substr(at));
            std::string().swap(part);
        }
        html.truncate(out - html.constData());
        texts.clear();
        return html;
    }
};

// A list of rows the layout's {{#rows}} section walks as it is written: each row's context is
// made, written and let go. Held all at once they took some 9 KB a row, gigabytes on a bill of
// 200,000 lines. A row looks up what it does not hold in the report's own context.
mu::data rowsAsWritten(const Rows& rows, const mu::data& report, Aside& aside, RowSource source) {
    if (rows.empty())
        return mu::data{mu::data::type::list};
    return mu::data(mu::lambda2([&report, &aside, source = std::move(source)](
                                    const std::string& text, const mu::renderer&) {
        // The section's text starts after its opening tag; a tag on a line of its own
        // leaves no line behind, as in any other section.
        const size_t start = text.starts_with("\r\n") ? 2 : text.starts_with('\n') ? 1 : 0;
        mu::mustache section(text.substr(start));
        SectionText out;
        source({[&aside](size_t row) {
                    const bool wanted = aside.written.empty() || aside.written[row];
                    aside.cut = aside.cut || !wanted;
                    return wanted;
                },
                [&](const mu::data& row) {
                    if (aside.goOn && ++aside.rowsWritten % 256 == 0 && !aside.goOn())
                        throw Cancelled{};
                    mu::context<std::string> lookup(&report);
                    lookup.push(&row);
                    out.append(section.render(lookup));
                }});
        // ... and the line its closing tag stands on ends the last row's line.
        if (start > 0 && text.ends_with('\n') && out.last.ends_with('\n')) {
            const size_t cut = out.last.ends_with("\r\n") ? 2 : 1;
            out.last.resize(out.last.size() - cut);
            out.size -= cut;
        }
        return aside.put(std::move(out));
    }));
}

// An item of an estimate: a run of rows of one group number, as the fill numbered them.
struct Item {
    size_t begin = 0, end = 0; // its first and past-the-last row
    int serial = 0;
    double netQty = 0; // its additions less its deductions
};

const QStringList netColumns = {QStringLiteral("ndamt"), QStringLiteral("Damt")};

double netQuantity(const Sums& sums) {
    return sums[netColumns[0]] - sums[netColumns[1]];
}

// The items in order, each with its net quantity: found once for the report, as a look at a bill
// of a million lines and its whole both walk them.
std::vector<Item> itemsOf(const Rows& rows, const Columns& c) {
    std::vector<Item> items;
    const int keyColumn = rows.empty() ? -1 : rows.front().indexOf(QStringLiteral("tw_recordkey"));
    for (size_t begin = 0; begin < rows.size();) {
        const QVariant& key = rows[begin].value(keyColumn);
        size_t end = begin;
        Sums net(c, netColumns);
        while (end < rows.size() && rows[end].value(keyColumn) == key)
            net.add(rows[end++]);
        items.push_back({begin, end, int(items.size()) + 1, netQuantity(net)});
        begin = end;
    }
    return items;
}

// Every line of an item, as `rows` and a group's `rows` show it.
void estimationLines(const Rows& rows, const Columns& c, bool feet, const Item& item,
                     const RowSink& sink) {
    for (size_t i = item.begin; i < item.end; ++i) {
        if (!sink.wants(i))
            continue;
        mu::data line = rowObject(rows[i], c);
        addEstimationLine(line, rows[i], feet, int(i - item.begin + 1));
        line["serial"] = mu::data(std::to_string(item.serial));
        line["is_first"] = mu::data(i == item.begin);
        line["is_last"] = mu::data(i + 1 == item.end);
        if (i + 1 == item.end)
            putFigure(line, "net_qty", item.netQty);
        sink.put(line);
    }
}

// Every line knows its item's serial, whether it opens or closes its item, and the line that
// closes an item also carries the net quantity of the item's lines, so a layout can print a long
// bill from `rows` alone. `groups` (built only for a layout that names it) holds each item once:
// its first row's columns (item number, description, unit, rate), its lines, its last row as
// `last` (where the net pass leaves the item's figures), the sums of its rows as `total` and its
// net quantity.
void addEstimation(mu::data& ctx, Aside& aside, const Rows& rows, const Columns& c, bool feet,
                   bool wantGroups) {
    auto items = std::make_shared<const std::vector<Item>>(itemsOf(rows, c));
    mu::data groups{mu::data::type::list};
    double amount = 0, electrical = 0, plumbing = 0;
    size_t longest = 0, longestEnd = 0;
    for (const Item& item : *items) {
        const Row& last = rows[item.end - 1];
        if (item.end - item.begin > longest) {
            longest = item.end - item.begin;
            longestEnd = item.end - 1;
        }
        if (wantGroups) {
            mu::data lines{mu::data::type::list};
            estimationLines(rows, c, feet, item,
                            {[](size_t) { return true; },
                             [&](const mu::data& line) { lines.push_back(line); }});
            Sums sums(c);
            for (size_t i = item.begin; i < item.end; ++i)
                sums.add(rows[i]);
            mu::data group = rowObject(rows[item.begin], c);
            group["serial"] = mu::data(std::to_string(item.serial));
            group["rows"] = std::move(lines);
            group["last"] = rowObject(last, c);
            group["total"] = sums.object();
            putFigure(group, "net_qty", item.netQty);
            groups.push_back(group);
        }
        amount += figure(last.value(QStringLiteral("net_amt")));
        electrical += figure(last.value(QStringLiteral("ewp_amt")));
        plumbing += figure(last.value(QStringLiteral("wws_amt")));
    }
    if (!items->empty()) // the highest serial, the highest line number
        aside.telling = {items->back().begin, longestEnd};
    ctx["rows"] = rowsAsWritten(rows, ctx, aside, [&rows, &c, feet, items](const RowSink& sink) {
        for (const Item& item : *items)
            estimationLines(rows, c, feet, item, sink);
    });
    ctx["groups"] = std::move(groups);
    ctx["item_count"] = mu::data(std::to_string(items->size()));
    // The items' own figures, from the last row of each group: the bottom lines of an abstract
    // estimate and a final bill.
    mu::data itemFigures;
    putMoney(itemFigures, "amount", amount);
    putMoney(itemFigures, "electrical", electrical);
    putMoney(itemFigures, "plumbing", plumbing);
    putMoney(itemFigures, "grand", amount + electrical + plumbing);
    ctx["items"] = std::move(itemFigures);
}

// ---- the steel schedule ---------------------------------------------------------------------

// Each bar line with its length as entered and its weight (total length x weight per unit), and
// the weight by diameter, thinnest bar first.
double barWeight(const Row& r) {
    return r.number(QStringLiteral("tw_total_length")) *
           r.number(QStringLiteral("tw_weight_per_unit"));
}

void addReinforcement(mu::data& ctx, Aside& aside, const Rows& rows, const Columns& c, bool feet) {
    struct Diameter {
        QString name;
        double bars = 0, length = 0, weight = 0;
    };
    std::vector<Diameter> byDiameter;
    double totalWeight = 0;
    for (const Row& r : rows) {
        const double weight = barWeight(r);
        const QString dia = r.text(QStringLiteral("tw_diameter"));
        auto it = std::find_if(byDiameter.begin(), byDiameter.end(),
                               [&](const Diameter& d) { return d.name == dia; });
        if (it == byDiameter.end())
            it = byDiameter.insert(byDiameter.end(), Diameter{dia});
        it->bars += r.number(QStringLiteral("tw_length_qty"));
        it->length += r.number(QStringLiteral("tw_total_length"));
        it->weight += weight;
        totalWeight += weight;
    }
    std::stable_sort(byDiameter.begin(), byDiameter.end(),
                     [](const Diameter& a, const Diameter& b) {
                         return leadingNumber(a.name) < leadingNumber(b.name);
                     });
    mu::data diameters{mu::data::type::list};
    for (const Diameter& d : byDiameter) {
        mu::data o;
        o["diameter"] = val(d.name);
        o["bars"] = val(doubleText(d.bars));
        putFigure(o, "length", d.length);
        putFigure(o, "weight", d.weight);
        diameters.push_back(o);
    }
    ctx["rows"] = rowsAsWritten(rows, ctx, aside, [&rows, &c, feet](const RowSink& sink) {
        for (size_t i = 0; i < rows.size(); ++i) {
            if (!sink.wants(i))
                continue;
            const Row& r = rows[i];
            mu::data o = rowObject(r, c);
            o["serial"] = mu::data(std::to_string(i + 1));
            o["length"] = val(barLengthText(r.number(QStringLiteral("tw_length_ft")),
                                            r.number(QStringLiteral("tw_length_inches")), feet));
            putFigure(o, "weight", barWeight(r));
            sink.put(o);
        }
    });
    ctx["diameters"] = std::move(diameters);
    putFigure(ctx, "total_weight", totalWeight);
}

// Rows as they stand, numbered from 1.
void addPlainRows(mu::data& ctx, Aside& aside, const Rows& rows, const Columns& c) {
    ctx["rows"] = rowsAsWritten(rows, ctx, aside, [&rows, &c](const RowSink& sink) {
        for (size_t i = 0; i < rows.size(); ++i) {
            if (!sink.wants(i))
                continue;
            mu::data o = rowObject(rows[i], c);
            o["serial"] = mu::data(std::to_string(i + 1));
            sink.put(o);
        }
    });
}

// ---- the running bill --------------------------------------------------------------------

// The abstract bill's lines in three lists: the items, the deductions and the tax line (the one
// deduction line without a unit), and the figures a client pays by: this bill's gross amount,
// less its deductions, less the tax, the net payable and its words. The bill is dated as its row
// in billsraised: a run dates an open bill today, and a frozen bill keeps the day it was last
// computed, however often it is reprinted.
void addAbstractBill(mu::data& ctx, const Rows& rows, const Columns& c, const ReportRun& run,
                     const ConClass& con) {
    const auto raised =
        con.first(QStringLiteral("select tw_bill_dt from billsraised where tw_contract_num=? and "
                                 "tw_bill_num=?"),
                  {run.contract_num, run.bill});
    ctx["bill_date"] = val(raised ? raised->text(0) : dateText(QDate::currentDate()));
    mu::data items{mu::data::type::list}, deductions{mu::data::type::list};
    mu::data tds{mu::data::type::list};
    double gross = 0, deducted = 0, tax = 0;
    int item = 0, deduction = 0;
    for (const Row& r : rows) {
        mu::data o = rowObject(r, c);
        const double now = figure(r.value(QStringLiteral("tw_now_amt")));
        if (r.text(QStringLiteral("tw_dedn")) != QLatin1String("YES")) {
            o["serial"] = mu::data(std::to_string(++item));
            gross += now;
            items.push_back(o);
        } else if (r.isNull(QStringLiteral("tw_unit"))) {
            tax += now;
            tds.push_back(o);
        } else {
            o["serial"] = mu::data(std::to_string(++deduction));
            deducted += now;
            deductions.push_back(o);
        }
    }
    ctx["items"] = std::move(items);
    ctx["deductions"] = std::move(deductions);
    ctx["has_deductions"] = mu::data(deduction > 0);
    ctx["tds"] = std::move(tds);
    mu::data bill;
    putMoney(bill, "gross", gross);
    putMoney(bill, "deductions", deducted);
    putMoney(bill, "tax", tax);
    putMoney(bill, "net", gross - deducted - tax);
    ctx["figures"] = std::move(bill);
    ctx["frozen"] = mu::data(run.frozen_flag);
    // The frozen copy stays as it was; its first page tells what changed beneath it since.
    if (run.frozen_flag) {
        const auto changed = history::frozenChanges(con, run.contract_num, run.bill);
        ctx["frozen_changes"] =
            val(changed.lines == 0
                    ? QStringLiteral("No line of this bill has changed since it was frozen.")
                    : QStringLiteral("%1 of this bill changed since it was frozen; the last change "
                                     "was made on %2 UTC.")
                          .arg(changed.lines == 1 ? QStringLiteral("1 line")
                                                  : QStringLiteral("%1 lines").arg(changed.lines),
                               changed.last.toString(QStringLiteral("dd-MM-yyyy HH:mm"))));
    }
}

// What a bill stands at: billed, less its deductions and tax, is the net payable the abstract
// bill prints; less what was received, the balance. Tax and recoveries typed with a payment were
// withheld from that net figure already, so they are shown beside it and not taken off again.
struct Standing {
    double billed = 0, deductions = 0, tax = 0, received = 0, withheld = 0, recoveries = 0;
    void add(const Standing& s) {
        billed += s.billed;
        deductions += s.deductions;
        tax += s.tax;
        received += s.received;
        withheld += s.withheld;
        recoveries += s.recoveries;
    }
    void put(mu::data& o) const {
        const double net = billed - deductions - tax;
        putFigure(o, "billed", billed);
        putFigure(o, "deductions", deductions);
        putFigure(o, "tax", tax);
        putFigure(o, "net", net);
        putFigure(o, "received", received);
        putFigure(o, "withheld", withheld);
        putFigure(o, "recoveries", recoveries);
        putMoney(o, "balance", net - received);
    }
};

// Each bill row with the payment rows beneath it and its standing, and the standing of all. A
// bill's deductions come from its row in billsraised; the report's own rows do not carry them.
void addBillsRaised(mu::data& ctx, const Rows& rows, const Columns& c, const ConClass& con) {
    QHash<QString, double> deducted;
    for (const Row& b : con.rows(QStringLiteral("select tw_contract_num, tw_bill_num, "
                                                "tw_dedn_amount from billsraised"))) {
        const QString key = nocaseKey(b.text(0)) + QChar(0) + nocaseKey(b.text(1));
        if (!deducted.contains(key))
            deducted.insert(key, b.number(2));
    }
    mu::data bills{mu::data::type::list};
    Standing all;
    std::optional<mu::data> bill;
    mu::data payments{mu::data::type::list};
    Standing standing;
    int serial = 0;
    const auto close = [&] {
        if (!bill)
            return;
        (*bill)["payments"] = std::move(payments);
        payments = mu::data{mu::data::type::list};
        standing.put(*bill);
        all.add(standing);
        bills.push_back(*bill);
        bill.reset();
    };
    for (const Row& r : rows) {
        mu::data o = rowObject(r, c);
        if (r.number(QStringLiteral("tw_pmnt")) == 0) {
            close();
            o["serial"] = mu::data(std::to_string(++serial));
            standing = {};
            standing.billed = r.number(QStringLiteral("tw_netamt"));
            standing.tax = r.number(QStringLiteral("tw_tdsamt"));
            standing.deductions =
                deducted.value(nocaseKey(r.text(QStringLiteral("tw_contract_num"))) + QChar(0) +
                               nocaseKey(r.text(QStringLiteral("tw_bill_num"))));
            bill = std::move(o);
        } else {
            standing.received += r.number(QStringLiteral("tw_netamt"));
            standing.withheld += r.number(QStringLiteral("tw_tdsamt"));
            standing.recoveries += r.number(QStringLiteral("tw_recamt"));
            payments.push_back(o);
        }
    }
    close();
    ctx["bills"] = std::move(bills);
    mu::data total;
    all.put(total);
    ctx["all"] = std::move(total);
}

QString parameterText(const QVariant& v) {
    if (v.typeId() == QMetaType::QDate)
        return dateText(v.toDate());
    return plainText(v);
}

// Partials ({{> _heading}}) are files beside the layout: layouts/_heading.html. Gives their
// texts.
QString addPartials(mu::data& ctx, const QString& layout, const QString& text) {
    QString texts;
    static const QRegularExpression partial(QStringLiteral("\\{\\{>\\s*([A-Za-z0-9_]+)\\s*\\}\\}"));
    const QDir dir = QFileInfo(layout).dir();
    for (auto it = partial.globalMatch(text); it.hasNext();) {
        const QString name = it.next().captured(1);
        const QString path = dir.filePath(name + QStringLiteral(".html"));
        if (!QFileInfo::exists(path))
            throw Error(QStringLiteral("The report layout %1 is missing (used by %2).")
                            .arg(QDir::toNativeSeparators(path), QDir::toNativeSeparators(layout)));
        const QString partialText = readLayout(path);
        ctx[str(name)] = val(partialText);
        texts += partialText;
    }
    return texts;
}

// The rows a layout is rendered over. Of a working table only the columns the layout names and
// those the rows' own figures are made from are read: every column of a bill of 200,000 lines
// held some 400 MB, nearly all of it never printed.
Rows rowsOf(const ReportInput& in, const ReportRun& run, const ConClass& con,
            const std::function<bool(const QString&)>& named) {
    // What each context reads of a row besides what the layout names.
    QString own = QStringLiteral("tw_units");
    switch (in.context) {
    case Context::Estimate:
        own += QStringLiteral(" tw_recordkey test tw_item_narration tw_item_narration_d Shape "
                              "tw_cal_Area ndamt Damt net_amt ewp_amt wws_amt");
        for (int i = 1; i <= 4; ++i)
            own += QStringLiteral(" tw_dim%1 tw_dim%1_inches").arg(i);
        break;
    case Context::Reinforcement:
        own += QStringLiteral(" tw_diameter tw_length_qty tw_total_length tw_weight_per_unit "
                              "tw_length_ft tw_length_inches");
        break;
    case Context::RunningBill:
        own += QStringLiteral(" tw_now_amt tw_dedn tw_unit");
        break;
    case Context::BillsRaised:
        own += QStringLiteral(" tw_pmnt tw_netamt tw_tdsamt tw_recamt tw_contract_num tw_bill_num");
        break;
    case Context::Record:
    case Context::Plain:
        break;
    }
    const QStringList ownColumns = own.split(u' ');
    static const QRegularExpression plainName(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
    const auto allColumns = [&] {
        return layoutRows(in.workingTable, in.parameters, run, con).rows;
    };
    if (in.workingTable.isEmpty() || in.context == Context::Record)
        return allColumns();
    QStringList columns;
    for (const QString& c : con.columns(in.workingTable)) {
        if (!plainName.match(c).hasMatch())
            return allColumns();
        if (named(c) || ownColumns.contains(c, Qt::CaseInsensitive))
            columns << c;
    }
    if (columns.isEmpty())
        return allColumns();
    return con.compactColumns(in.workingTable, columns);
}

// The rows a first look writes: the first `first`, the last, those `telling`, and of each figure
// column the rows with its highest and its lowest figure, of each text the layout names the row
// with its longest. A column is as wide as its widest figure, and a figure is the wider the more
// digits it has.
std::vector<bool> firstLookRows(const Rows& rows, const Columns& c, size_t first,
                                const std::vector<size_t>& telling) {
    std::vector<bool> written(rows.size(), false);
    std::fill_n(written.begin(), std::min(first, rows.size()), true);
    written.back() = true;
    for (const size_t r : telling)
        written.at(r) = true;
    // Of each column: the rows of its highest and lowest figure, or of its longest text.
    struct Widest {
        size_t high = 0, low = 0;
        double highest = 0, lowest = 0;
        qsizetype longest = -1;
    };
    std::vector<Widest> widest(c.names.size());
    for (size_t r = 0; r < rows.size(); ++r) {
        for (size_t col = 0; col < widest.size(); ++col) {
            // A figure the layout does not name may still be printed as one made from it (a
            // deduction's quantity, with its sign, from its own column).
            if (!c.wanted[col] && !c.numeric[col])
                continue;
            const QVariant& v = rows[r].value(int(col));
            Widest& w = widest[col];
            if (c.numeric[col]) {
                const double f = figure(v);
                if (r == 0 || f > w.highest) {
                    w.highest = f;
                    w.high = r;
                }
                if (r == 0 || f < w.lowest) {
                    w.lowest = f;
                    w.low = r;
                }
            } else if (const qsizetype length =
                           v.typeId() == QMetaType::QString
                               ? static_cast<const QString*>(v.constData())->size()
                               : v.toString().size();
                       length > w.longest) {
                w.longest = length;
                w.high = w.low = r;
            }
        }
    }
    for (const Widest& w : widest)
        written[w.high] = written[w.low] = true;
    return written;
}

} // namespace

QString layoutFile(const QString& name) {
    const QString fileName = name + QStringLiteral(".html");
    const QString here = QDir(layoutsIn(AppFolder::path())).filePath(fileName);
    if (QFileInfo::exists(here))
        return here;
    // With --folder, or in an installed copy, the data lies elsewhere, but the layouts still
    // stand beside the program or in its shared folder.
    if (const QString shipped = AppFolder::resource(QStringLiteral("layouts/") + fileName);
        !shipped.isEmpty())
        return shipped;
    throw Error(
        QStringLiteral("The report layout %1 is missing.").arg(QDir::toNativeSeparators(here)));
}

QString renderHtml(const ReportInput& in, const ConClass& con, const FirstLook* look,
                   const std::function<bool()>& goOn) {
    const QString path = layoutFile(in.layout);
    const QString text = readLayout(path);
    mu::mustache tmpl(str(text));
    if (!tmpl.is_valid())
        throw Error(
            QStringLiteral("The report layout %1 cannot be used: %2")
                .arg(QDir::toNativeSeparators(path), QString::fromStdString(tmpl.error_message())));

    // What the layout and its partials name: parts of the context a layout does not use are
    // not built, which matters on a bill of thousands of lines.
    mu::data ctx;
    const QString allText = text + addPartials(ctx, path, text);
    const auto uses = [&](const QString& name) { return allText.contains(name); };

    const ReportRun empty;
    const ReportRun& run = in.run ? *in.run : empty;
    for (int i = 0; i < in.parameters.size(); ++i)
        ctx["param" + std::to_string(i + 1)] = val(parameterText(in.parameters[i]));
    ctx["org"] = val(run.ReportOrgName);
    ctx["project"] = val(run.projectName);
    ctx["number"] = val(run.contract_num);
    ctx["bill"] = val(run.bill);
    ctx["ewp"] = val(doubleText(leadingNumber(run.ewp)));
    ctx["wws"] = val(doubleText(leadingNumber(run.wws)));
    ctx["from"] = val(dateText(run.fromDate));
    ctx["to"] = val(dateText(run.toDate));
    ctx["today"] = val(dateText(QDate::currentDate()));

    Rows rows = rowsOf(in, run, con, uses);
    if (in.context == Context::Record && !rows.empty())
        ctx["record"] = recordObject(rows.front());

    // The measure system of the rows themselves where they carry one, else the project's.
    QString units = run.units_text;
    if (!rows.empty() && rows.front().record().contains(QStringLiteral("tw_units")))
        units = rows.front().text(QStringLiteral("tw_units"));
    const bool feet = units == QLatin1String("Feet");
    ctx["units"] = val(units);
    ctx["feet"] = mu::data(feet);
    ctx["metre"] = mu::data(!feet);
    ctx["whole_unit"] = mu::data(feet ? "ft" : "m");
    ctx["part_unit"] = mu::data(feet ? "in" : "cm");

    const Columns columns(rows, uses);
    Aside aside;
    aside.goOn = goOn;
    switch (in.context) {
    case Context::Estimate:
        addEstimation(ctx, aside, rows, columns, feet, uses(QStringLiteral("groups")));
        break;
    case Context::Reinforcement:
        addReinforcement(ctx, aside, rows, columns, feet);
        break;
    case Context::RunningBill:
        addAbstractBill(ctx, rows, columns, run, con);
        break;
    case Context::BillsRaised:
        addBillsRaised(ctx, rows, columns, con);
        break;
    case Context::Record:
    case Context::Plain:
        addPlainRows(ctx, aside, rows, columns);
        break;
    }
    Sums all(columns);
    for (const Row& r : rows)
        all.add(r);
    ctx["totals"] = all.object();
    ctx["row_count"] = mu::data(std::to_string(rows.size()));
    ctx["has_rows"] = mu::data(!rows.empty());

    const auto write = [&] {
        std::vector<std::string> parts;
        tmpl.render(ctx, [&parts](const std::string& part) {
            if (!part.empty())
                parts.push_back(part);
        });
        return parts;
    };
    const bool sections = in.context == Context::Estimate || in.context == Context::Reinforcement ||
                          in.context == Context::Plain;
    std::vector<std::string> parts;
    if (look && look->show && sections && qsizetype(rows.size()) > look->rows) {
        aside.written = firstLookRows(rows, columns, size_t(look->rows), aside.telling);
        parts = write();
        aside.written.clear();
        // A layout that writes its rows elsewhere than in a rows section has no shorter look.
        if (std::exchange(aside.cut, false)) {
            look->show(aside.html(parts));
            parts = write();
        }
    } else {
        parts = write();
    }
    Rows().swap(rows); // written: they make room for the text
#ifdef __GLIBC__
    // ... but the allocator keeps what they took for small pieces, and the text is one large
    // piece: without this, a bill of 200,000 lines held both.
    malloc_trim(0);
#endif
    return aside.html(parts);
}

QString renderHtml(const ReportType& type, const ReportRun& run, const ConClass& con,
                   const FirstLook* look, const std::function<bool()>& goOn) {
    return renderHtml(
        {type.formOf(run).layout, type.workingTable, parameters(type, run), &run, type.context},
        con, look, goOn);
}

} // namespace tw::reports
