#include "guide.h"

#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace guide {

namespace {

// The text a reader sees: tags dropped, the entities the guide uses read, blanks folded.
QString plain(QString s) {
    s.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
    static const std::pair<const char*, const char16_t*> entities[] = {
        {"&times;", u"\u00d7"}, {"&nbsp;", u" "},  {"&lt;", u"<"},
        {"&gt;", u">"},         {"&quot;", u"\""}, {"&amp;", u"&"}};
    for (const auto& [entity, text] : entities)
        s.replace(QLatin1String(entity), QString::fromUtf16(text));
    return s.simplified();
}

// Capture `group` of each match of `pattern` in `html`, in order.
QStringList matches(const QString& html, const QString& pattern, int group) {
    const QRegularExpression re(pattern, QRegularExpression::DotMatchesEverythingOption);
    QStringList out;
    for (auto it = re.globalMatch(html); it.hasNext();)
        out << it.next().captured(group);
    return out;
}

// The inner HTML of each element whose opening tag matches `attribute` (a pattern inside the
// tag), up to the closing tag of the same name.
QStringList inner(const QString& html, const QString& attribute) {
    return matches(html, QStringLiteral("<(\\w+)\\b[^>]*\\b%1[^>]*>(.*?)</\\1>").arg(attribute), 2);
}

QString one(const QString& attribute, const QString& name) {
    const QStringList found =
        inner(html(), QStringLiteral("%1=\"%2\"").arg(attribute, QRegularExpression::escape(name)));
    EXPECT_EQ(found.size(), 1) << attribute.toStdString() << "=" << name.toStdString();
    return found.isEmpty() ? QString() : plain(found.first());
}

} // namespace

QString docsFile(const QString& relative) {
    return QStringLiteral(TW_DOCS "/") + relative;
}

const QString& html() {
    static const QString text = [] {
        QFile f(docsFile(QStringLiteral("user-guide.html")));
        EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << f.fileName().toStdString();
        return QString::fromUtf8(f.readAll());
    }();
    return text;
}

QStringList blocks(const QString& html, const QString& tag, const QString& cls) {
    return matches(html, QStringLiteral("<%1\\b[^>]*\\bclass=\"%2\"[^>]*>.*?</%1>").arg(tag, cls),
                   0);
}

QStringList texts(const QString& html, const QString& cls) {
    QStringList out;
    for (const QString& s : inner(html, QStringLiteral("class=\"%1\"").arg(cls)))
        out << plain(s);
    return out;
}

QString in(const QString& name) {
    return one(QStringLiteral("data-in"), name);
}

QString fig(const QString& name) {
    return one(QStringLiteral("data-fig"), name);
}

} // namespace guide
