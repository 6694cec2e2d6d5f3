#include "ui/lookfile.h"

#include "store/files.h"
#include "store/store.h"

#include <QFile>
#include <QTextStream>

namespace look {

QString cfgPath() {
    return tw::AppFolder::file(QStringLiteral("Tallywright.cfg"));
}

const QStringList& orgKeys() {
    static const QStringList keys{
        QStringLiteral("Company Name="), QStringLiteral("Address1="), QStringLiteral("Address2="),
        QStringLiteral("City="),         QStringLiteral("Pin="),      QStringLiteral("Email="),
        QStringLiteral("URL="),          QStringLiteral("Phone1="),   QStringLiteral("Phone2="),
        QStringLiteral("Mobile="),       QStringLiteral("Fax="),      QStringLiteral("CEOName=")};
    return keys;
}

const QStringList& lookKeys() {
    static const QStringList keys{
        QStringLiteral("BackColor="),     QStringLiteral("ForeColor="),
        QStringLiteral("TextColor="),     QStringLiteral("TextForeColor="),
        QStringLiteral("CommandButton="), QStringLiteral("Bold="),
        QStringLiteral("Italic="),        QStringLiteral("Underline="),
        QStringLiteral("Strike="),        QStringLiteral("Font="),
        QStringLiteral("Size=")};
    return keys;
}

QStringList allKeys() {
    return orgKeys() + lookKeys();
}

QString returnparameter(const QString& key, QString& field) {
    QFile file(cfgPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    QTextStream in(&file);
    QString line;
    while (in.readLineInto(&line)) {
        if (!line.contains(key, Qt::CaseInsensitive))
            continue;
        const qsizetype eq = line.indexOf(u'=');
        field = line.mid(eq + 1).trimmed();
        return field;
    }
    return {};
}

QStringList textboxvalues(const QStringList& keys) {
    QStringList values;
    for (const QString& key : keys) {
        QString field;
        values << returnparameter(key, field);
    }
    return values;
}

QString lookDefault(const QString& key) {
    // The first three stand for the system's colours of button faces, highlighted text and the
    // background of text fields.
    static const std::pair<const char*, const char*> defaults[] = {{"BackColor=", "2147483663"},
                                                                   {"ForeColor=", "2147483662"},
                                                                   {"TextColor=", "2147483653"},
                                                                   {"TextForeColor=", "0"},
                                                                   {"CommandButton=", "16711680"},
                                                                   {"Bold=", "False"},
                                                                   {"Italic=", "False"},
                                                                   {"Underline=", "False"},
                                                                   {"Strike=", "False"},
                                                                   {"Font=", "MS Sans Serif"},
                                                                   {"Size=", "8"}};
    for (const auto& [k, v] : defaults)
        if (key.compare(QLatin1String(k), Qt::CaseInsensitive) == 0)
            return QString::fromLatin1(v);
    return {};
}

void writeCfg(const QStringList& keys, const QStringList& values) {
    QString text;
    for (qsizetype i = 0; i < keys.size(); ++i)
        text += keys[i] + values.value(i).trimmed() + u'\n';
    // Written aside and put in place whole, never through a link: a full disk or a failure
    // midway leaves the file as it was.
    tw::writeFileAtomically(cfgPath(), text.toUtf8());
}

namespace {
constexpr qint64 systemBit = 0x80000000LL;

QPalette::ColorRole roleOf(qint64 index) {
    switch (index) {
    case 5: // window background
        return QPalette::Base;
    case 8: // window text
        return QPalette::Text;
    case 13: // highlight
        return QPalette::Highlight;
    case 14: // highlighted text
        return QPalette::HighlightedText;
    case 15: // button face
        return QPalette::Button;
    case 18: // button text
        return QPalette::ButtonText;
    default:
        return QPalette::Window;
    }
}
} // namespace

QColor toColor(qint64 number, const QPalette& palette) {
    if (number & systemBit)
        return palette.color(roleOf(number & 0xff));
    return QColor(int(number & 0xff), int((number >> 8) & 0xff), int((number >> 16) & 0xff));
}

qint64 toNumber(const QColor& colour) {
    return qint64(colour.red()) | (qint64(colour.green()) << 8) | (qint64(colour.blue()) << 16);
}

} // namespace look
