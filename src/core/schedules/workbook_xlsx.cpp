#include "core/schedules/workbook_xlsx.h"

#include <QHash>
#include <QStringList>
#include <QUrl>
#include <QXmlStreamReader>

#include <orcus/zip_archive.hpp>
#include <orcus/zip_archive_stream.hpp>

#include <algorithm>
#include <charconv>
#include <vector>

// Writers of .xlsx differ in what the format leaves open: strings in a shared table or inline in
// the cell (rich runs too), part paths relative to the part that names them or absolute from
// the package's root, names in any case. Sheet1 is therefore found by following the package's
// relationships from its root, and every kind of cell value is read, so that a workbook of any
// writer gives the same rows.

namespace tw::schedules {
namespace {

[[noreturn]] void badFormat(const QString& why) {
    throw ImportError(ImportFailure::BadFormat, why);
}

// The parts of a zip package by name. Part names compare without regard to ASCII case.
class Package {
public:
    explicit Package(const QByteArray& bytes)
        : stream_(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size())),
          zip_(&stream_) {
        zip_.load();
        for (size_t i = 0; i < zip_.get_file_entry_count(); ++i) {
            const std::string_view name = zip_.get_file_entry_name(i);
            QString key = QString::fromUtf8(name.data(), qsizetype(name.size()));
            key.replace(u'\\', u'/');
            entries_.insert(key.toLower(), std::string(name));
        }
    }
    bool has(const QString& part) const { return entries_.contains(part.toLower()); }
    // The bytes of the part, or nullopt when the package has none of that name.
    std::optional<QByteArray> part(const QString& name) const {
        const auto found = entries_.constFind(name.toLower());
        if (found == entries_.constEnd())
            return std::nullopt;
        std::vector<unsigned char> buf;
        if (!zip_.read_file_entry(*found, buf))
            badFormat(QStringLiteral("The part %1 of the workbook cannot be read.").arg(name));
        // The library ends what it reads with a nul of its own.
        if (!buf.empty() && buf.back() == 0)
            buf.pop_back();
        return QByteArray(reinterpret_cast<const char*>(buf.data()), qsizetype(buf.size()));
    }

private:
    orcus::zip_archive_stream_blob stream_;
    orcus::zip_archive zip_;
    QHash<QString, std::string> entries_;
};

// A relationship's target as a part name: an absolute target counts from the package's root,
// any other from the folder of the part that names it.
QString resolve(const QString& source, const QString& target) {
    const QString decoded = QUrl::fromPercentEncoding(target.toUtf8());
    QStringList path;
    if (!decoded.startsWith(u'/'))
        path = source.split(u'/').mid(0, source.count(u'/'));
    for (const QString& step : decoded.split(u'/', Qt::SkipEmptyParts)) {
        if (step == QLatin1String("..")) {
            if (!path.isEmpty())
                path.removeLast();
        } else if (step != QLatin1String(".")) {
            path << step;
        }
    }
    return path.join(u'/');
}

struct Relationship {
    QString type;
    QString target; // a part name
};

// The relationships of `source` ("" for the package itself), by id.
QHash<QString, Relationship> relationships(const Package& package, const QString& source) {
    const qsizetype slash = source.lastIndexOf(u'/');
    const QString rels = source.left(slash + 1) + QStringLiteral("_rels/") + source.mid(slash + 1) +
                         QStringLiteral(".rels");
    QHash<QString, Relationship> out;
    const auto bytes = package.part(rels);
    if (!bytes)
        return out;
    QXmlStreamReader x(*bytes);
    while (!x.atEnd()) {
        x.readNext();
        if (!x.isStartElement() || x.name() != QLatin1String("Relationship"))
            continue;
        const QXmlStreamAttributes a = x.attributes();
        if (a.value(QLatin1String("TargetMode")) == QLatin1String("External"))
            continue;
        out.insert(a.value(QLatin1String("Id")).toString(),
                   {a.value(QLatin1String("Type")).toString(),
                    resolve(source, a.value(QLatin1String("Target")).toString())});
    }
    if (x.hasError())
        badFormat(x.errorString());
    return out;
}

// The first target of a relationship of that kind (the last word of its type), or "".
QString targetOfType(const QHash<QString, Relationship>& rels, QLatin1String kind) {
    for (const Relationship& r : rels)
        if (r.type.endsWith(QLatin1Char('/') + kind))
            return r.target;
    return {};
}

// The text of a string item (<si> of the shared strings, <is> of a cell), the reader standing on
// its start: the <t> elements of the item and of its rich runs, without the phonetic runs.
QString itemText(QXmlStreamReader& x) {
    QString text;
    int phonetic = 0;
    for (int depth = 1; depth > 0 && !x.atEnd();) {
        x.readNext();
        if (x.isStartElement()) {
            if (x.name() == QLatin1String("rPh"))
                ++phonetic;
            if (x.name() == QLatin1String("t") && phonetic == 0)
                text += x.readElementText(QXmlStreamReader::IncludeChildElements);
            else
                ++depth;
        } else if (x.isEndElement()) {
            if (x.name() == QLatin1String("rPh"))
                --phonetic;
            --depth;
        }
    }
    return text;
}

std::vector<QString> sharedStrings(const Package& package, const QString& part) {
    std::vector<QString> out;
    const auto bytes = part.isEmpty() ? std::nullopt : package.part(part);
    if (!bytes)
        return out;
    QXmlStreamReader x(*bytes);
    while (!x.atEnd()) {
        x.readNext();
        if (x.isStartElement() && x.name() == QLatin1String("si"))
            out.push_back(itemText(x));
    }
    if (x.hasError())
        badFormat(x.errorString());
    return out;
}

// A cell typed without a type of its own: a number when the whole text is one.
Cell autoCell(const QString& s) {
    const QByteArray b = s.toUtf8();
    double v = 0;
    const auto [end, ec] = std::from_chars(b.constData(), b.constData() + b.size(), v);
    if (ec == std::errc() && end == b.constData() + b.size() && !b.isEmpty())
        return v;
    return s;
}

// The value of one <c> element from its type and what it held. An empty text is an empty cell.
Cell cellValue(QStringView type, const QString& value, const std::optional<QString>& inline_,
               const std::vector<QString>& shared) {
    if (type == QLatin1String("inlineStr"))
        return inline_ ? *inline_ : value;
    if (inline_) // an inline string under another type: its text stands
        return *inline_;
    if (value.isEmpty())
        return {};
    if (type == QLatin1String("s")) {
        bool ok = false;
        const qsizetype i = value.trimmed().toLongLong(&ok);
        return ok && i >= 0 && size_t(i) < shared.size() ? Cell(shared[size_t(i)]) : Cell();
    }
    if (type == QLatin1String("b"))
        return value.trimmed() != QLatin1String("0") && value.trimmed() != QLatin1String("false");
    if (type == QLatin1String("e"))
        return {}; // a formula's error has no value to take
    if (type == QLatin1String("str") || type == QLatin1String("d"))
        return value;
    return autoCell(value);
}

Sheet readSheet(const Package& package, const QString& part, const std::vector<QString>& shared) {
    const auto bytes = package.part(part);
    if (!bytes)
        badFormat(QStringLiteral("The workbook names Sheet1 but does not hold it."));
    QXmlStreamReader x(*bytes);
    if (!x.readNextStartElement() || x.name() != QLatin1String("worksheet"))
        badFormat(QStringLiteral("Sheet1 is no worksheet."));
    Sheet sheet;
    int row = -1;
    int col = -1;
    QString type;
    QString value;
    std::optional<QString> inline_;
    bool inData = false;
    while (!x.atEnd()) {
        x.readNext();
        const QStringView name = x.name();
        if (x.isStartElement()) {
            if (name == QLatin1String("sheetData")) {
                inData = true;
            } else if (!inData) {
                continue;
            } else if (name == QLatin1String("row")) {
                bool ok = false;
                const int r = x.attributes().value(QLatin1String("r")).toInt(&ok);
                row = ok && r > 0 ? r - 1 : row + 1;
                col = -1;
            } else if (name == QLatin1String("c")) {
                const auto at =
                    cellAddress(x.attributes().value(QLatin1String("r")).toString().toStdString());
                col = at ? at->second : col + 1;
                row = at ? at->first : std::max(row, 0);
                type = x.attributes().value(QLatin1String("t")).toString();
                value.clear();
                inline_.reset();
            } else if (name == QLatin1String("v")) {
                value = x.readElementText(QXmlStreamReader::IncludeChildElements);
            } else if (name == QLatin1String("is")) {
                inline_ = itemText(x);
            }
        } else if (x.isEndElement()) {
            if (name == QLatin1String("sheetData")) {
                inData = false;
            } else if (inData && name == QLatin1String("c")) {
                Cell v = cellValue(type, value, inline_, shared);
                const bool emptyText = v.typeId() == QMetaType::QString && v.toString().isEmpty();
                if (v.isValid() && !emptyText)
                    sheet.put(row, col, std::move(v));
            }
        }
    }
    if (x.hasError())
        badFormat(QStringLiteral("Sheet1 cannot be read: %1").arg(x.errorString()));
    return sheet;
}

// The value of an attribute in a namespace of its own, as r:id, whatever the prefix.
QString qualified(const QXmlStreamAttributes& attributes, QLatin1String name) {
    for (const QXmlStreamAttribute& a : attributes)
        if (a.name() == name && !a.namespaceUri().isEmpty())
            return a.value().toString();
    return {};
}

// The part of the first sheet named Sheet1 in the workbook part, or "" when there is none.
QString sheet1Part(const Package& package, const QString& workbook,
                   const QHash<QString, Relationship>& rels) {
    const auto bytes = package.part(workbook);
    if (!bytes)
        badFormat(QStringLiteral("The workbook part %1 is missing.").arg(workbook));
    QXmlStreamReader x(*bytes);
    while (!x.atEnd()) {
        x.readNext();
        if (x.isStartElement() && x.name() == QLatin1String("sheet") &&
            x.attributes().value(QLatin1String("name")) == QLatin1String("Sheet1"))
            return rels.value(qualified(x.attributes(), QLatin1String("id"))).target;
    }
    if (x.hasError())
        badFormat(x.errorString());
    return {};
}

} // namespace

std::optional<std::pair<int, int>> cellAddress(std::string_view ref) {
    size_t i = 0;
    long col = 0, row = 0;
    const auto dollar = [&] {
        if (i < ref.size() && ref[i] == '$')
            ++i;
    };
    const auto letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    dollar();
    for (; i < ref.size() && letter(ref[i]); ++i)
        col = std::min(col * 26 + ((ref[i] & ~0x20) - 'A' + 1), long(1) << 20);
    dollar();
    const size_t digits = i;
    for (; i < ref.size() && digit(ref[i]); ++i)
        row = std::min(row * 10 + (ref[i] - '0'), long(1) << 24);
    if (col == 0 || row == 0 || i == digits || i != ref.size())
        return std::nullopt;
    return std::pair{int(row - 1), int(col - 1)};
}

std::optional<Sheet> readOpenXml(const QByteArray& bytes) {
    const Package package(bytes);
    if (!package.has(QStringLiteral("[Content_Types].xml")))
        return std::nullopt;
    QString workbook = targetOfType(relationships(package, {}), QLatin1String("officeDocument"));
    if (workbook.isEmpty())
        workbook = QStringLiteral("xl/workbook.xml");
    const auto rels = relationships(package, workbook);
    const QString sheet = sheet1Part(package, workbook, rels);
    if (sheet.isEmpty())
        badFormat(QStringLiteral("The workbook has no sheet named Sheet1."));
    return readSheet(package, sheet,
                     sharedStrings(package, targetOfType(rels, QLatin1String("sharedStrings"))));
}

} // namespace tw::schedules
