#include "fixtures.h"

#include <QFile>

namespace twtest {

Messages& messages() {
    static Messages m;
    return m;
}

std::vector<QString> Messages::texts() const {
    std::vector<QString> out;
    for (const auto& m : shown)
        out.push_back(m.text);
    return out;
}

QStringList rowCells(const QTreeWidget* list, int row) {
    QStringList cells;
    const auto* it = list->topLevelItem(row);
    for (int col = 0; it && col < list->columnCount(); ++col)
        cells << it->text(col);
    return cells;
}

void installScriptedMessages() {
    ui::setMessageHandler([](const ui::ShownMessage& m) {
        auto& s = messages();
        s.shown.push_back(m);
        if (!s.answers.empty()) {
            const ui::Answer a = s.answers.front();
            s.answers.pop_front();
            return a;
        }
        return (m.flags & 0x7) == ui::YesNo ? ui::Answer::Yes : ui::Answer::Ok;
    });
    ui::installMessageSink();
}

void AppFolderTest::SetUp() {
    ASSERT_TRUE(dir_.isValid());
    tw::AppFolder::set(dir_.path());
    messages().clear();
    tw::Tallywrightmod::boardopen = false;
    con_.conopen();
    ASSERT_TRUE(con_.isOpen());
}

void AppFolderTest::TearDown() {
    con_.conclose();
    tw::Tallywrightmod::con().conclose();
}

void AppFolderTest::writeConfig(const QString& user, const QString& password) {
    tw::writeLoginConfig(dir_.filePath(QStringLiteral("twk.cfg")),
                         {QStringLiteral("localhost"), user, password});
}

} // namespace twtest
